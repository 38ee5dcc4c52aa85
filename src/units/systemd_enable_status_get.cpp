#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/names.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"
#include "units/status_word.hpp"

using namespace VESK::Systemd;

namespace
{

using Status = VESK_SYSTEMD_ENABLE_STATUS;

constexpr std::array<StatusWord<Status>, 8> kWords{{
    {"disabled", VESK_SYSTEMD_ENABLE_STATUS_DISABLED},
    {"enabled", VESK_SYSTEMD_ENABLE_STATUS_ENABLED},
    {"enabled-runtime", VESK_SYSTEMD_ENABLE_STATUS_ENABLED},
    {"static", VESK_SYSTEMD_ENABLE_STATUS_STATIC},
    {"masked", VESK_SYSTEMD_ENABLE_STATUS_MASKED},
    {"masked-runtime", VESK_SYSTEMD_ENABLE_STATUS_MASKED},
    {"linked", VESK_SYSTEMD_ENABLE_STATUS_LINKED},
    {"linked-runtime", VESK_SYSTEMD_ENABLE_STATUS_LINKED},
}};

bool WordGet(const std::string& strUnit, const Texts& vecOptions, bool blForceSystem, std::string& strWord)
{
    const auto request = [&] { return Request{"is-enabled", vecOptions, {strUnit}, blForceSystem}; };
    return AskAndJudge(request, [&](const Answer& answer) {
        // The exit code does not count: it is not 0 for a unit that is disabled.
        if (answer.vecLines.empty()) {
            return false;
        }
        strWord = Trimmed(answer.vecLines.front());
        return true;
    });
}

Status StatusGet(const std::string& strUnit, const Texts& vecOptions, bool blForceSystem)
{
    std::string strWord;
    if (!VESK_ARGUMENT_NAME(strUnit) || !WordGet(strUnit, vecOptions, blForceSystem, strWord)) {
        return kUnknownStatus<Status>;
    }
    return StatusOf(kWords, strWord, VESK_HERE);
}

} // namespace

Status VESKSystemdEnableStatusGet(const std::string& strUnit)
{
    return StatusGet(strUnit, {}, false);
}

Status VESKSystemdEnableStatusGetWithOptions(const Texts& vecOptions, const std::string& strUnit)
{
    return StatusGet(strUnit, vecOptions, false);
}

Status VESKSystemdEnableStatusGetSystem(const std::string& strUnit)
{
    return StatusGet(strUnit, {}, true);
}

int VESKCSystemdEnableStatusGet(const char* szUnit)
{
    return CStatusForm(VESK_HERE, szUnit, VESKSystemdEnableStatusGet);
}

int VESKCSystemdEnableStatusGetSystem(const char* szUnit)
{
    return CStatusForm(VESK_HERE, szUnit, VESKSystemdEnableStatusGetSystem);
}
