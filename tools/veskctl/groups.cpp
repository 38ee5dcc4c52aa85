#include "command.hpp"

namespace Veskctl
{

const std::vector<Group>& Groups()
{
    static const std::vector<Group> vecGroups{
        UnitActionGroup(),
        UnitQueryGroup(),
        ReasonGroup(),
        TargetGroup(),
    };
    return vecGroups;
}

} // namespace Veskctl
