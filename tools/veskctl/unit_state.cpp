#include "unit_state.hpp"

#include <algorithm>

#include <vesksystemd.hpp>

#include "core/reason_folder.hpp"
#include "output.hpp"
#include "refusals.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

void PropertiesTake(const Texts& vecLines, Properties& mapProperties)
{
    for (const std::string& strLine : vecLines) {
        const size_t nEqual = strLine.find('=');
        if (nEqual != std::string::npos) {
            mapProperties[strLine.substr(0, nEqual)] = Trimmed(strLine.substr(nEqual + 1));
        }
    }
}

/** The text in 'org.freedesktop.systemd1.NoSuchUnit "Unit foo.service not found."'. */
std::string LoadErrorText(const std::string& strError)
{
    const size_t nQuote = strError.find('"');
    if (nQuote == std::string::npos) {
        return strError;
    }
    std::string strText;
    for (size_t i = nQuote + 1; i < strError.size() && strError[i] != '"'; ++i) {
        const bool blEscaped = strError[i] == '\\' && i + 1 < strError.size();
        strText += blEscaped ? strError[++i] : strError[i];
    }
    return strText;
}

std::string ReasonOf(const Properties& mapProperties)
{
    const auto value = [&](const char* szName) {
        const auto property = mapProperties.find(szName);
        return property == mapProperties.end() ? "" : property->second;
    };
    if (value("LoadState") != "loaded") {
        return LoadErrorText(value("LoadError"));
    }
    if (value("Result").empty() || value("Result") == "success") {
        return "";
    }
    const bool blStatus = value("Result") == "exit-code" || value("Result") == "signal";
    return value("Result") + (blStatus ? ", status " + value("ExecMainStatus") : "");
}

} // namespace

bool PropertiesGet(const std::string& strUnit, const Texts& vecNames, Properties& mapProperties)
{
    Texts vecOptions;
    for (const std::string& strName : vecNames) {
        vecOptions.push_back("--property=" + strName);
    }
    try {
        return VESKSystemdSystemctl("show", vecOptions, {NormalizedUnitNameGet(strUnit)},
                                    [&](int nExitCode, const Texts& vecLines) {
                                        PropertiesTake(vecLines, mapProperties);
                                        return nExitCode == 0;
                                    });
    } catch (const std::exception&) {
        return false;
    }
}

UnitState UnitStateGet(const std::string& strUnit)
{
    Properties mapProperties;
    const bool blTold = PropertiesGet(
        strUnit, {"LoadState", "LoadError", "ActiveState", "SubState", "Result", "ExecMainStatus"},
        mapProperties);
    return {NormalizedUnitNameGet(strUnit), mapProperties["LoadState"], mapProperties["ActiveState"],
            mapProperties["SubState"],      ReasonOf(mapProperties),    blTold};
}

std::string Described(const UnitState& state, const std::string& strRefusal)
{
    const bool blLoaded = state.strLoad == "loaded";
    if (!blLoaded && !strRefusal.empty()) {
        return strRefusal;
    }
    if (state.strLoad.empty()) {
        return "systemctl did not answer";
    }
    const std::string strState = (blLoaded ? state.strActive : state.strLoad) +
                                 (state.strReason.empty() ? "" : " (" + state.strReason + ")");
    return strRefusal.empty() ? strState : strState + ": " + strRefusal;
}

Texts ReasonsOf(const std::string& strUnit)
{
    Texts vecReasons;
    if (MayHaveReasons(strUnit) && CheckServiceHasReason(strUnit)) {
        VESKSystemdServiceReasonList(strUnit, vecReasons);
        std::sort(vecReasons.begin(), vecReasons.end());
    }
    return vecReasons;
}

Exit UnitsFailed(const std::string& strWhat, const Texts& vecFailed)
{
    bool blAllMissing = !vecFailed.empty();
    for (const std::string& strUnit : vecFailed) {
        const std::string strRefusal = RefusalOf(strUnit);
        const UnitState state = UnitStateGet(strUnit);
        Complain(strUnit, std::string(strWhat).append(" failed: ").append(Described(state, strRefusal)));
        blAllMissing = blAllMissing && state.strLoad == "not-found";
    }
    if (vecFailed.empty()) {
        Complain(strWhat + " failed" + WhyFrom(LastRefusal()));
    }
    return blAllMissing ? Exit::NotFound : Exit::Failed;
}

} // namespace Veskctl
