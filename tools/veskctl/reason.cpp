#include <algorithm>

#include <vesksystemd.hpp>

#include "command.hpp"
#include "core/reason_folder.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "unit_state.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

using Change = bool (*)(const std::string&, const Texts&, Texts&);

Exit ChangeRun(const char* szVerb, const std::string& strDone, Change change, const Call& call)
{
    const std::string& strReason = call.vecOperands[0];
    const Texts vecServices(call.vecOperands.begin() + 1, call.vecOperands.end());
    for (const std::string& strService : vecServices) {
        if (!MayHaveReasons(strService)) {
            Complain(strService + ": only services are held for reasons");
            return Exit::WrongUse;
        }
    }
    Texts vecFailed;
    const std::string strWhat = std::string(szVerb) + " " + Joined(vecServices, " ") + " for " + strReason;
    const bool blDone = WithProgress(strWhat, [&] { return change(strReason, vecServices, vecFailed); });
    for (const std::string& strService : vecServices) {
        if (std::count(vecFailed.begin(), vecFailed.end(), strService) == 0) {
            const Texts vecLeft = ReasonsOf(strService);
            const std::string strHeld = vecLeft.empty() ? "" : "; held for: " + Joined(vecLeft);
            Say(strService, strDone + strHeld);
        }
    }
    return blDone ? Exit::Done : UnitsFailed(szVerb, vecFailed);
}

Verb ChangeVerb(const char* szName, const char* szSummary, const char* szDone, Change change,
                const char* szDetails)
{
    const char* szVerb = szName + sizeof "reason " - 1;
    return {szName,
            szSummary,
            {{"REASON", Kind::Reason}, {"SERVICE", Kind::Service, false, true}},
            {},
            [=](const Call& call) { return ChangeRun(szVerb, szDone, change, call); },
            szDetails,
            Tail::None,
            For::Root};
}

/** The services to tell of: those named, or all that are held. */
bool ServicesGet(const Call& call, Texts& vecServices)
{
    vecServices = call.vecOperands;
    if (!vecServices.empty()) {
        return true;
    }
    const bool blRead = ListServicesWithReason(vecServices);
    std::sort(vecServices.begin(), vecServices.end());
    return blRead;
}

Exit ListRun(const Call& call)
{
    Texts vecServices;
    if (!ServicesGet(call, vecServices)) {
        Complain("the reasons cannot be read");
        return Exit::Failed;
    }
    Json::Value list(Json::arrayValue);
    Table table({"SERVICE", "HELD FOR"});
    for (const std::string& strService : vecServices) {
        const Texts vecReasons = ReasonsOf(strService);
        Json::Value value;
        value["service"] = NormalizedUnitNameGet(strService);
        value["heldBy"] = JsonList(vecReasons);
        list.append(value);
        table.Row({value["service"].asString(), {Joined(vecReasons), Colour::Notice}});
    }
    call.Has("json") ? PrintJson(list) : table.Print();
    return Exit::Done;
}

} // namespace

Group ReasonGroup()
{
    return {"reason",
            "Hold services stopped for named reasons",
            {
                ChangeVerb("reason stop", "stop services and record why", "stopped",
                           VESKSystemdServiceStopByReason,
                           "A service that is held for a reason stays stopped until 'veskctl reason start'; "
                           "'veskctl start' refuses it."),
                ChangeVerb("reason start", "clear a reason and start the services", "started",
                           VESKSystemdServiceStartByReason,
                           "The services are started also when other reasons remain, which are told."),
                ChangeVerb("reason remove", "clear a reason and start nothing", "removed",
                           VESKSystemdServiceReasonRemove, ""),
                {"reason list",
                 "show which services are held, and for what",
                 {{"SERVICE", Kind::Service, true, true}},
                 {JsonOption()},
                 ListRun},
            }};
}

} // namespace Veskctl
