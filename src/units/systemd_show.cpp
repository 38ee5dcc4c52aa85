#include "vesksystemd.hpp"

#include "core/names.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

namespace
{

/** The value in "Property=value"; the whole line when it has no "=". */
std::string ValueOf(const std::string& strLine)
{
    const size_t nEqual = strLine.find('=');
    return Trimmed(nEqual == std::string::npos ? strLine : strLine.substr(nEqual + 1));
}

bool PropertyGet(const std::string& strUnit, const std::string& strProperty, bool blForceSystem,
                 std::string& strValue)
{
    if (!VESK_ARGUMENT_NAME(strUnit) || !VESK_ARGUMENT_NAME(strProperty)) {
        return false;
    }
    const auto request = [&] {
        return Request{"show", {"--property", strProperty}, {strUnit}, blForceSystem};
    };
    return AskAndJudge(request, [&](const Answer& answer) {
        if (!answer.IsSuccess() || answer.vecLines.empty()) {
            return false;
        }
        strValue = ValueOf(answer.vecLines.front());
        return true;
    });
}

} // namespace

bool VESKSystemdShow(const std::string& strUnit, const std::string& strProperty, std::string& strValue)
{
    return PropertyGet(strUnit, strProperty, false, strValue);
}

bool VESKSystemdShowSystem(const std::string& strUnit, const std::string& strProperty, std::string& strValue)
{
    return PropertyGet(strUnit, strProperty, true, strValue);
}
