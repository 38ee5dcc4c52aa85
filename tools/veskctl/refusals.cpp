#include "refusals.hpp"

#include <algorithm>
#include <vector>

#include <vesksystemd.hpp>

#include "core/systemctl.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

struct Refusal {
    Texts vecUnits; ///< with their types
    Texts vecLines;
};

// Of each thread its own: the line of progress asks for the jobs meanwhile.
thread_local std::vector<Refusal> vecRefusals;

/** The lines without those that only tell where to read on. */
Texts Sentences(const Texts& vecLines)
{
    Texts vecSentences;
    for (const std::string& strLine : vecLines) {
        const std::string strSentence = Trimmed(strLine);
        if (!strSentence.empty() && strSentence.compare(0, 5, "See \"") != 0) {
            vecSentences.push_back(strSentence);
        }
    }
    return vecSentences;
}

/** The first line that names the unit; the first of all if none does, as systemctl then speaks of another in the same
 * request. */
std::string LineOn(const std::string& strUnit, const Texts& vecLines)
{
    const auto isOn = [&](const std::string& strLine) {
        const size_t nUnit = strLine.find(strUnit);
        return nUnit != std::string::npos && (nUnit == 0 || strLine[nUnit - 1] == ' ');
    };
    const auto line = std::find_if(vecLines.begin(), vecLines.end(), isOn);
    return line == vecLines.end() ? vecLines.front() : *line;
}

} // namespace

std::string RefusalOf(const std::string& strUnit)
{
    const std::string strFull = NormalizedUnitNameGet(strUnit);
    for (auto refusal = vecRefusals.rbegin(); refusal != vecRefusals.rend(); ++refusal) {
        if (std::count(refusal->vecUnits.begin(), refusal->vecUnits.end(), strFull) != 0) {
            return LineOn(strFull, refusal->vecLines);
        }
    }
    return "";
}

std::string LastRefusal()
{
    return vecRefusals.empty() ? "" : vecRefusals.back().vecLines.front();
}

std::string WhyFrom(const std::string& strRefusal)
{
    return strRefusal.empty() ? "; the system log tells why" : ": " + strRefusal;
}

} // namespace Veskctl

void VESK::Systemd::AnswerHeard(const Request& request, const Answer& answer)
{
    // Whatever the list of jobs ends with, it refuses nothing.
    if (answer.nExitCode == 0 || request.strVerb == "list-jobs") {
        return;
    }
    Veskctl::Refusal refusal{{}, Veskctl::Sentences(answer.vecLines)};
    for (const std::string& strUnit : request.vecUnits) {
        refusal.vecUnits.push_back(NormalizedUnitNameGet(strUnit));
    }
    if (!refusal.vecLines.empty()) {
        Veskctl::vecRefusals.push_back(refusal);
    }
}
