#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/names.hpp"
#include "units/status_word.hpp"

using namespace VESK::Systemd;

namespace
{

using Status = VESK_SYSTEMD_ACTIVE_STATUS;

constexpr std::array<StatusWord<Status>, 6> kWords{{
    {"inactive", VESK_SYSTEMD_ACTIVE_STATUS_INACTIVE},
    {"active", VESK_SYSTEMD_ACTIVE_STATUS_ACTIVE},
    {"deactivating", VESK_SYSTEMD_ACTIVE_STATUS_DEACTIVATING},
    {"activating", VESK_SYSTEMD_ACTIVE_STATUS_ACTIVATING},
    {"reloading", VESK_SYSTEMD_ACTIVE_STATUS_RELOADING},
    {"failed", VESK_SYSTEMD_ACTIVE_STATUS_FAILED},
}};

using Reader = bool(const std::string& strUnit, const std::string& strProperty, std::string& strValue);

Status StatusGet(const std::string& strUnit, Reader* propertyGet)
{
    std::string strWord;
    if (!VESK_ARGUMENT_NAME(strUnit) || !propertyGet(strUnit, "ActiveState", strWord)) {
        return kUnknownStatus<Status>;
    }
    return StatusOf(kWords, strWord, VESK_HERE);
}

} // namespace

Status VESKSystemdActiveStatusGet(const std::string& strUnit)
{
    return StatusGet(strUnit, VESKSystemdShow);
}

Status VESKSystemdActiveStatusGetSystem(const std::string& strUnit)
{
    return StatusGet(strUnit, VESKSystemdShowSystem);
}

int VESKCSystemdActiveStatusGet(const char* szUnit)
{
    return CStatusForm(VESK_HERE, szUnit, VESKSystemdActiveStatusGet);
}

int VESKCSystemdActiveStatusGetSystem(const char* szUnit)
{
    return CStatusForm(VESK_HERE, szUnit, VESKSystemdActiveStatusGetSystem);
}
