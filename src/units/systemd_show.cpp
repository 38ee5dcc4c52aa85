#include "vesksystemd.hpp"

#include "core/log.hpp"
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
    if (!VESK_ARGUMENT(!strUnit.empty()) || !VESK_ARGUMENT(!strProperty.empty())) {
        return false;
    }
    const auto readAnswer = [&](int nExitCode, const Texts& vecLines) {
        if (nExitCode != 0 || vecLines.empty()) {
            return false;
        }
        strValue = ValueOf(vecLines.front());
        return true;
    };
    try {
        const Texts vecOptions{"--property", strProperty};
        const auto opts =
            SystemctlOptsBuilder().SetCmdOpts(&vecOptions).SetForceSystem(blForceSystem).Build();
        return VESKSystemdSystemctlUltron("show", opts, {strUnit}, readAnswer);
    } catch (const std::exception&) {
        return false;
    }
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
