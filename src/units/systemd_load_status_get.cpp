#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/names.hpp"
#include "units/status_word.hpp"

using namespace VESK::Systemd;

namespace
{

using Status = VESK_SYSTEMD_LOAD_STATUS;

constexpr std::array<StatusWord<Status>, 6> kWords{{
    {"stub", VESK_SYSTEMD_LOAD_STATUS_STUB},
    {"loaded", VESK_SYSTEMD_LOAD_STATUS_LOADED},
    {"not-found", VESK_SYSTEMD_LOAD_STATUS_NOT_FOUND},
    {"error", VESK_SYSTEMD_LOAD_STATUS_ERROR},
    {"merged", VESK_SYSTEMD_LOAD_STATUS_MERGED},
    {"masked", VESK_SYSTEMD_LOAD_STATUS_MASKED},
}};

} // namespace

Status VESKSystemdLoadStatusGet(const std::string& strUnit)
{
    std::string strWord;
    if (!VESK_ARGUMENT_NAME(strUnit) || !VESKSystemdShow(strUnit, "LoadState", strWord)) {
        return kUnknownStatus<Status>;
    }
    return StatusOf(kWords, strWord, VESK_HERE);
}

int VESKCSystemdLoadStatusGet(const char* szUnit)
{
    return CStatusForm(VESK_HERE, szUnit, VESKSystemdLoadStatusGet);
}
