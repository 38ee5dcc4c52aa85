#include "command.hpp"

namespace Veskctl
{

const std::vector<Group>& Groups()
{
    static const std::vector<Group> vecGroups{
        UnitActionGroup(), UnitQueryGroup(), ReasonGroup(), VolumeGroup(), TargetGroup(), SliceGroup(),
    };
    return vecGroups;
}

} // namespace Veskctl
