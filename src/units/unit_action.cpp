#include "units/unit_action.hpp"

#include "vesksystemd.hpp"

#include "core/log.hpp"
#include "core/names.hpp"
#include "core/systemctl.hpp"

namespace VESK::Systemd
{
namespace
{

/** Logs a text of a row, which was checked against its arguments when the row was compiled. */
template <typename... Arguments>
void LogRow(int nLevel, const LogLine& text, Arguments... arguments)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    Log(nLevel, text.szFormat, text.szFile, text.nLine, arguments...);
#pragma GCC diagnostic pop
}

void LogUnits(int nLevel, const LogLine& text, const Texts& vecUnits)
{
    if (LogEnabled(nLevel)) {
        LogRow(nLevel, text, Joined(vecUnits).c_str());
    }
}

/** Whether systemctl did it. The outcome of masks is told apart from that, at their end. */
bool IsMasked(const UnitAction& action, const Answer& answer)
{
    if (answer.blGiven && answer.nExitCode != 0 && LogEnabled(LOG_ERR)) {
        LogRow(LOG_ERR, action.refused, answer.nExitCode, Joined(answer.vecLines).c_str());
    }
    return answer.IsSuccess();
}

void MarkAsChanged(const Texts& vecUnits)
{
    for (const std::string& strUnit : vecUnits) {
        SetEnableStatusChanged(strUnit);
    }
}

void RefusedUnitsGet(const UnitAction& action, const Texts& vecLines, const Texts& vecUnits, Texts& vecFailed)
{
    if (action.kind == ActionKind::UnitFiles) {
        FailedUnitsCopy(vecUnits, vecFailed);
    } else {
        FailedUnitsGet(vecUnits, vecLines, vecFailed);
    }
}

bool Judge(const UnitAction& action, const Answer& answer, const Texts& vecUnits, Texts& vecFailed)
{
    if (!answer.blGiven) {
        FailedUnitsCopy(vecUnits, vecFailed);
        LogUnits(LOG_ERR, action.failed, vecFailed);
        return false;
    }
    if (action.kind == ActionKind::UnitFiles) {
        MarkAsChanged(vecUnits);
    }
    if (answer.nExitCode == 0) {
        LogUnits(LOG_INFO, action.done, vecUnits);
        return true;
    }
    RefusedUnitsGet(action, answer.vecLines, vecUnits, vecFailed);
    if (LogEnabled(LOG_ERR)) {
        LogRow(LOG_ERR, action.refused, Joined(vecFailed).c_str(), answer.nExitCode,
               Joined(answer.vecLines, "").c_str());
    }
    return false;
}

/** The end of a mask or unmask, which fails when the caller's list held units before. */
bool MasksEnd(const UnitAction& action, bool blMasked, const Texts& vecUnits, Texts& vecFailed)
{
    if (!blMasked) {
        FailedUnitsCopy(vecUnits, vecFailed);
    }
    if (!vecFailed.empty()) {
        LogUnits(LOG_ERR, action.failed, vecFailed);
        return false;
    }
    LogUnits(LOG_INFO, action.done, vecUnits);
    return true;
}

} // namespace

ActionEnd UnitActionTry(const UnitAction& action, const Texts& vecOptions, const Texts& vecGivenUnits,
                        Texts& vecFailed)
{
    const Texts vecUnits = NamesGet(vecGivenUnits);
    if (!VESK_ARGUMENT_AT(action.begin.szFile, action.begin.nLine, !vecUnits.empty())) {
        return ActionEnd::Failed;
    }
    LogUnits(LOG_INFO, action.begin, vecUnits);
    const bool blMasks = action.kind == ActionKind::Masks;
    const auto request = [&] {
        return Request{action.szVerb, vecOptions, vecUnits, false, action.kind != ActionKind::Units};
    };
    bool blRun = false;
    const bool blResult = AskAndJudge(request, [&](const Answer& answer) {
        // Memory that ends while an answer is judged does not undo it.
        blRun = blRun || answer.blGiven || answer.blRefused;
        return blMasks ? IsMasked(action, answer) : Judge(action, answer, vecUnits, vecFailed);
    });
    if (blMasks ? MasksEnd(action, blResult, vecUnits, vecFailed) : blResult) {
        return ActionEnd::Done;
    }
    return blRun ? ActionEnd::Failed : ActionEnd::NotRun;
}

bool UnitActionRun(const UnitAction& action, const Texts& vecOptions, const Texts& vecUnits, Texts& vecFailed)
{
    return UnitActionTry(action, vecOptions, vecUnits, vecFailed) == ActionEnd::Done;
}

} // namespace VESK::Systemd
