#include "core/reason_folder.hpp"

#include "vesksystemd.hpp"

#include "core/names.hpp"
#include "core/paths.hpp"

namespace VESK::Systemd
{

bool MayHaveReasons(const std::string& strUnit)
{
    return IsEntryName(strUnit) && UnitTypeGet(NormalizedUnitNameGet(strUnit)) == "service";
}

std::string ReasonFolder(const std::string& strService)
{
    return kReasonsDirectory + NormalizedUnitNameGet(strService);
}

} // namespace VESK::Systemd
