#include "completion.hpp"

#include <algorithm>
#include <iostream>
#include <set>

#include <vesksystemd.hpp>

#include "core/directory.hpp"
#include "core/unit_names.hpp"
#include "help.hpp"
#include "mount_table.hpp"
#include "slice_usage.hpp"
#include "unit_state.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

struct Candidate {
    std::string strWord;
    std::string strHelp;
};

using Candidates = std::vector<Candidate>;

Texts Reasons()
{
    Texts vecServices;
    ListServicesWithReason(vecServices);
    std::set<std::string> setReasons;
    for (const std::string& strService : vecServices) {
        const Texts vecReasons = ReasonsOf(strService);
        setReasons.insert(vecReasons.begin(), vecReasons.end());
    }
    return {setReasons.begin(), setReasons.end()};
}

Texts PropertyNames(const std::string& strUnit)
{
    Properties mapProperties;
    PropertiesGet(strUnit, {}, mapProperties);
    Texts vecNames;
    for (const auto& [strName, strValue] : mapProperties) {
        vecNames.push_back(strName);
    }
    return vecNames;
}

Texts Units(const char* szType)
{
    Texts vecUnits;
    VESKSystemdListUnits(vecUnits, szType);
    return vecUnits;
}

Texts Slices()
{
    Texts vecSlices;
    VESKSystemdSliceList(vecSlices);
    return vecSlices;
}

Texts Pids()
{
    Texts vecEntries;
    VisibleEntriesAppend("/proc/", vecEntries);
    const auto isNone = [](const std::string& strEntry) {
        return strEntry.find_first_not_of("0123456789") != std::string::npos;
    };
    vecEntries.erase(std::remove_if(vecEntries.begin(), vecEntries.end(), isNone), vecEntries.end());
    return vecEntries;
}

/** What there is of a kind; `strFirst` is the first operand. */
Texts NamesOf(Kind kind, const std::string& strFirst)
{
    switch (kind) {
    case Kind::Unit:
        return Units("");
    case Kind::Service:
        return Units("service");
    case Kind::Target:
        return Units("target");
    case Kind::Slice:
        return Slices();
    case Kind::Reason:
        return Reasons();
    case Kind::Volume:
        return MountedVolumes();
    case Kind::Property:
        return PropertyNames(strFirst);
    case Kind::Pid:
        return Pids();
    case Kind::Type:
        return {UnitTypes().begin(), UnitTypes().end()};
    case Kind::Key:
        return SortKeys();
    case Kind::Other:
        break;
    }
    return {};
}

Candidates Named(const Texts& vecNames)
{
    Candidates vecCandidates;
    for (const std::string& strName : vecNames) {
        vecCandidates.push_back({strName, ""});
    }
    return vecCandidates;
}

/** The words that verbs begin with, or go on with after that one. */
Candidates VerbWords(const std::vector<Group>& vecGroups, const std::string& strFirst)
{
    Candidates vecCandidates;
    for (const Group& group : vecGroups) {
        for (const Verb& verb : group.vecVerbs) {
            const Texts vecNames = Pieces(verb.szName, " ");
            const bool blTwo = vecNames.size() == 2;
            if (strFirst.empty()) {
                vecCandidates.push_back({vecNames[0], blTwo ? group.szSummary : verb.szSummary});
            } else if (blTwo && vecNames[0] == strFirst) {
                vecCandidates.push_back({vecNames[1], verb.szSummary});
            }
        }
    }
    return vecCandidates;
}

/** The verb that the words before the last name, and how many of them; null when they name none. */
const Verb* VerbOf(const std::vector<Group>& vecGroups, const Texts& vecWords, size_t& nUsed)
{
    for (const Group& group : vecGroups) {
        for (const Verb& verb : group.vecVerbs) {
            const Texts vecNames = Pieces(verb.szName, " ");
            if (vecWords.size() > vecNames.size() &&
                std::equal(vecNames.begin(), vecNames.end(), vecWords.begin())) {
                nUsed = vecNames.size();
                return &verb;
            }
        }
    }
    return nullptr;
}

const Option* ValueOption(const Verb& verb, const std::string& strWord)
{
    for (const Option& option : verb.vecOptions) {
        if (option.szValue != nullptr && strWord == std::string("--") + option.szName) {
            return &option;
        }
    }
    return nullptr;
}

Candidates Options(const Verb& verb)
{
    Candidates vecCandidates;
    for (const auto& vecOptions : {verb.vecOptions, CommonOptions()}) {
        for (const Option& option : vecOptions) {
            vecCandidates.push_back({std::string("--") + option.szName, option.szHelp});
        }
    }
    return vecCandidates;
}

/** The words that are no options, nor values of options. */
Texts OperandsIn(const Verb& verb, const Texts& vecWords)
{
    Texts vecOperands;
    for (size_t i = 0; i < vecWords.size(); ++i) {
        const bool blOption = vecWords[i].compare(0, 1, "-") == 0;
        if (!blOption) {
            vecOperands.push_back(vecWords[i]);
        } else if (ValueOption(verb, vecWords[i]) != nullptr) {
            ++i;
        }
    }
    return vecOperands;
}

/** What may follow the words after a verb. */
Candidates VerbArguments(const Verb& verb, const Texts& vecBefore, const std::string& strLast)
{
    if (std::count(vecBefore.begin(), vecBefore.end(), "--") != 0) {
        return {};
    }
    const Option* pOption = vecBefore.empty() ? nullptr : ValueOption(verb, vecBefore.back());
    if (pOption != nullptr) {
        return Named(NamesOf(pOption->kind, ""));
    }
    if (strLast.compare(0, 1, "-") == 0) {
        return Options(verb);
    }
    const Texts vecOperands = OperandsIn(verb, vecBefore);
    if (verb.vecOperands.empty() ||
        (vecOperands.size() >= verb.vecOperands.size() && !verb.vecOperands.back().blMany)) {
        return {};
    }
    const Operand& operand = verb.vecOperands[std::min(vecOperands.size(), verb.vecOperands.size() - 1)];
    return Named(NamesOf(operand.kind, vecOperands.empty() ? "" : vecOperands[0]));
}

Candidates CandidatesGet(const std::vector<Group>& vecGroups, const Texts& vecWords)
{
    size_t nUsed = 0;
    const Verb* pVerb = VerbOf(vecGroups, vecWords, nUsed);
    if (pVerb != nullptr) {
        const Texts vecBefore(vecWords.begin() + static_cast<std::ptrdiff_t>(nUsed), vecWords.end() - 1);
        return VerbArguments(*pVerb, vecBefore, vecWords.back());
    }
    return vecWords.size() > 2 ? Candidates() : VerbWords(vecGroups, vecWords.size() == 2 ? vecWords[0] : "");
}

} // namespace

void Complete(const std::vector<Group>& vecGroups, const Texts& vecWords)
{
    const std::string strLast = vecWords.empty() ? "" : vecWords.back();
    std::set<std::string> setPrinted;
    for (const Candidate& candidate : CandidatesGet(vecGroups, vecWords)) {
        const bool blBegins = candidate.strWord.compare(0, strLast.size(), strLast) == 0;
        if (blBegins && setPrinted.insert(candidate.strWord).second) {
            std::cout << candidate.strWord << (candidate.strHelp.empty() ? "" : "\t" + candidate.strHelp)
                      << '\n';
        }
    }
}

} // namespace Veskctl
