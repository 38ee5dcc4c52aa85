// Names that lead out of folders, break lines, look like options or formats, or are no text at all, given to every
// exported operation that takes a name.
#include <algorithm>
#include <climits>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "hostile_ground.hpp"

namespace VeskTest
{
namespace
{

constexpr int kInvalid = 0x0D00;

constexpr const char* kForms[] = {"NoBlock",    "InGenerator", "RunTime",  "WithOptions", "GetSystem",
                                  "ShowSystem", "IntIsolate",  "Internal", "Irreversibly"};

const Words kShortList{
    "",
    std::string("nul\0/../victim", 14),
    "../../../run/victim",
    "line\nfeed and %s%n%d%m",
    std::string(64UL * 1024, 'x'),
};

const Words kRest{
    std::string(16, '\0'),
    std::string("..\0x", 4),
    ".",
    "..",
    "/",
    "/run/victim",
    "../victim",
    "../../victim",
    "a/../../victim",
    "a/b",
    " ",
    "two words",
    "\ttab",
    "-dash",
    "--root=/run/victim",
    "\xff\xfe\xc3",
    "\x1b[2J\x07",
    ".hidden",
    "*",
    "back\\slash\"quote'$(reboot)`;",
    std::string(200, 'n'),
    std::string(248, 'l'),
};

// Forms of an operation that has others have only the short list to stand.
Words HostileNames(const NamedOperation& operation)
{
    Words names = kShortList;
    const std::string function = OperationName(operation);
    const bool isForm =
        operation.IsC() || std::any_of(std::begin(kForms), std::end(kForms), [&](const char* form) {
            return function.find(form) != std::string::npos;
        });
    if (!isForm) {
        names.insert(names.end(), kRest.begin(), kRest.end());
    }
    if (operation.names == Names::KilledSlice) {
        // A path that cannot even be looked at counts as a living slice, which is waited for.
        names.erase(std::remove_if(names.begin(), names.end(),
                                   [](const std::string& name) { return name.size() > PATH_MAX; }),
                    names.end());
    }
    return names;
}

// What operations do for this name they must do for others, in its place.
std::string PlainName(Names names)
{
    return names == Names::Volume || names == Names::QueriedVolume ? "/plain" : "plain";
}

// How the call must end for a name, next to how it ends for a plain one.
struct Verdict {
    enum class Kind { AsPlain, Refused, Fails, Any } kind = Kind::AsPlain;
    int error = 0; // what it fails with, 0 for anything
};

constexpr Verdict kAsPlain{Verdict::Kind::AsPlain, 0};
constexpr Verdict kRefused{Verdict::Kind::Refused, kInvalid};
constexpr Verdict kFails{Verdict::Kind::Fails, 0};
constexpr Verdict kAny{Verdict::Kind::Any, 0};

bool IsTooLong(const std::string& name)
{
    return name.size() + sizeof ".service" - 1 > 255;
}

// For the entry of a folder that belongs to a unit.
Verdict EntryVerdict(const std::string& name)
{
    if (!IsEntry(name)) {
        return kRefused;
    }
    return IsTooLong(name) ? kAny : kAsPlain;
}

Verdict VerdictOf(Names names, const std::string& given)
{
    const std::string name = BeforeZero(given);
    switch (names) {
    case Names::Units:
        return kAsPlain;
    case Names::OneUnit:
    case Names::Target:
        return name.empty() ? kRefused : kAsPlain;
    case Names::OneService:
    case Names::RegisteredUnit:
    case Names::Package:
        return name.empty() ? kRefused : EntryVerdict(name);
    case Names::Reason:
        // One whose name begins with a dot does not count, so nothing is read anew.
        return IsEntry(name) && name.rfind('.', 0) == 0 ? kAny : name.empty() ? kRefused : EntryVerdict(name);
    case Names::Services:
        return EntryVerdict(name);
    case Names::Mark:
        // No failure is told; the changes show that there is no mark.
        return IsEntry(name) && !IsTooLong(name) ? kAsPlain : kAny;
    case Names::Queried:
        return name.empty() ? kFails : EntryVerdict(name);
    case Names::Volume:
        return name.empty() || name.front() != '/' || name.back() == '/' ? kRefused : kAsPlain;
    case Names::UnitFile:
        // What is only read may be a path, as it may for systemctl.
        if (!IsEntry(name)) {
            return kAny;
        }
        return name.empty() || IsTooLong(name) ? kFails : kAsPlain;
    case Names::Slice:
        if (name.find('/') != std::string::npos) {
            return kRefused;
        }
        return name.empty() || !IsEntry(name) ? kFails : EntryVerdict(name);
    case Names::Hierarchy:
        return IsEntry(name) ? kFails : kRefused;
    case Names::KilledSlice:
        return name.empty() || name == "." || name == ".." || name.front() == '/' ||
                       name.rfind("../", 0) == 0 || name == "a/../../victim"
                   ? kRefused
                   : kAsPlain;
    case Names::MountPath:
    case Names::Group:
    case Names::QueriedVolume:
        return kAny;
    }
    return kAny;
}

// What is done for the plain name, with another in its place.
std::string Replaced(std::string text, const std::string& what, const std::string& with)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
    return text;
}

// The folders that operations on any name make, the locks among them.
bool IsCommon(const std::string& path)
{
    static const std::set<std::string> common{"/run/vesksystemd", "/run/vesksystemd/locks",
                                              "/run/vesksystemd/reasons"};
    return common.count(path) != 0 || path.rfind("/run/vesksystemd/locks/", 0) == 0 ||
           path.rfind("/run/vesksystemd/status_monitor", 0) == 0;
}

class HostileName : public ::testing::TestWithParam<NamedOperation>
{
protected:
    HostileName()
        : m_plainName(PlainName(GetParam().names))
        , m_plain(m_ground.Run(GetParam(), m_plainName))
    {
    }

    std::vector<Words> CallsFor(const std::string& name) const
    {
        std::vector<Words> calls = m_plain.calls;
        for (Words& call : calls) {
            for (std::string& word : call) {
                word = Replaced(word, m_plainName, name);
            }
        }
        return calls;
    }

    void ExpectEnding(const Outcome& outcome, const std::string& name)
    {
        const Verdict verdict = VerdictOf(GetParam().names, name);
        if (verdict.kind == Verdict::Kind::AsPlain) {
            EXPECT_EQ(outcome.success, m_plain.success);
        } else if (verdict.kind != Verdict::Kind::Any) {
            EXPECT_FALSE(outcome.success);
        }
        if (verdict.error != 0) {
            EXPECT_EQ(outcome.error, verdict.error);
        }
    }

    // Systemctl is asked the same as for the plain name. The queries about an empty one are refused.
    void ExpectCalls(const Outcome& outcome, const std::string& name)
    {
        const Verdict verdict = VerdictOf(GetParam().names, name);
        const std::vector<Words> expected = CallsFor(BeforeZero(name));
        if (BeforeZero(name).empty() || verdict.kind == Verdict::Kind::Any) {
            for (const Words& call : outcome.calls) {
                EXPECT_THAT(expected, ::testing::Contains(call));
            }
        } else if (verdict.kind == Verdict::Kind::AsPlain) {
            EXPECT_EQ(outcome.calls, expected);
        } else if (verdict.kind == Verdict::Kind::Refused) {
            EXPECT_EQ(outcome.calls, std::vector<Words>());
        }
    }

    // Nothing is changed but what is changed for the plain name, in the same places.
    void ExpectChanges(const Outcome& outcome, const std::string& name)
    {
        std::set<std::string> allowed;
        for (const auto& change : m_plain.changes) {
            allowed.insert(Replaced(change.first, m_plainName, BeforeZero(name)));
            allowed.insert(change.first);
        }
        for (const auto& [path, shown] : outcome.changes) {
            EXPECT_TRUE(allowed.count(path) != 0 || IsCommon(path)) << path << ": " << shown;
        }
    }

    HostileGround m_ground;
    std::string m_plainName;
    Outcome m_plain;
};

std::string NameShown(const std::string& name)
{
    return ::testing::PrintToString(name.substr(0, 40)) + " of " + std::to_string(name.size()) + " bytes";
}

TEST_P(HostileName, EndsAsAPlainOneOrIsRefusedAndTouchesNothingElse)
{
    const Holdings before = Holdings::Now();
    for (const std::string& name : HostileNames(GetParam())) {
        SCOPED_TRACE(NameShown(name));
        const Outcome outcome = m_ground.Run(GetParam(), name);
        ExpectEnding(outcome, name);
        ExpectCalls(outcome, name);
        ExpectChanges(outcome, name);
    }
    EXPECT_TRUE(Eventually([&] { return Holdings::Now() == before; })) << Holdings::Now() << before;
}

// Exported functions with texts that are no names.
const std::map<std::string, std::string> kNoNames{
    {"VESK::Systemd::AddUnitSection", "paths and the contents of a file"},
    {"VESK::Systemd::Executor::Execute", "a path"},
    {"VESK::Systemd::FailedUnitsCopy", "computes"},
    {"VESK::Systemd::FailedUnitsGet", "computes"},
    {"VESK::Systemd::FileLock::FileLock", "a path"},
    {"VESK::Systemd::FileLock::LogLockFailed", "only logs"},
    {"VESK::Systemd::GetEnableDisableOptions", "computes"},
    {"VESK::Systemd::JobInfoParse", "a line"},
    {"VESK::Systemd::JobStringMap::StateToString", "gives a text"},
    {"VESK::Systemd::JobStringMap::StringToState", "a word"},
    {"VESK::Systemd::JobStringMap::StringToType", "a word"},
    {"VESK::Systemd::JobStringMap::TypeToString", "gives a text"},
    {"VESK::Systemd::LinkVeskReason", "paths"},
    {"VESK::Systemd::ListServicesWithReason", "gives texts"},
    {"VESK::Systemd::NormalizedUnitNameGet", "computes"},
    {"VESK::Systemd::Process::NameGet", "gives a text"},
    {"VESK::Systemd::Split", "a text"},
    {"VESK::Systemd::SystemctlOptsBuilder::SetCmdOpts", "options"},
    {"VESK::Systemd::UnitNameWithoutFileExtensionGet", "computes"},
    {"VESK::Systemd::UnitTypeGet", "computes"},
    {"VESKCSystemdCgroupMonitorSliceGet", "gives a text"},
    {"VESKCSystemdDaemonReload", "no text"},
    {"VESKCSystemdDefaultTargetGet", "gives a text"},
    {"VESKCSystemdIsolateToDefaultTarget", "no text"},
    {"VESKCSystemdRunAsSystemProcess", "no text"},
    {"VESKCSystemdServiceList", "gives texts"},
    {"VESKCSystemdSliceList", "gives texts"},
    {"VESKSystemdCgroupMonitorSliceGet", "gives a text"},
    {"VESKSystemdDefaultTargetGet", "gives a text"},
    {"VESKSystemdGetByPid", "gives a text"},
    {"VESKSystemdListUnits", "gives texts; a type is one of the known words"},
    {"VESKSystemdLogAction", "the units of an action"},
    {"VESKSystemdServiceList", "gives texts"},
    {"VESKSystemdSliceList", "gives texts"},
};

bool HasText(const std::string& symbol)
{
    return symbol.find("std::string") != std::string::npos || symbol.rfind("VESKC", 0) == 0;
}

TEST(NamedOperationsTable, HasEveryExportedFunctionThatTakesAName)
{
    std::set<std::string> rows;
    for (const NamedOperation& operation : NamedOperations()) {
        rows.insert(operation.symbol);
    }
    std::istringstream exported(ReadText(VESK_EXPORTED_SYMBOLS));
    std::set<std::string> known;
    for (std::string symbol; std::getline(exported, symbol);) {
        known.insert(symbol);
        if (HasText(symbol) && kNoNames.count(symbol.substr(0, symbol.find('('))) == 0) {
            EXPECT_EQ(rows.count(symbol), 1U) << symbol;
        }
    }
    EXPECT_THAT(known, ::testing::IsSupersetOf(rows));
}

INSTANTIATE_TEST_SUITE_P(Every, HostileName, ::testing::ValuesIn(NamedOperations()), [](const auto& param) {
    return OperationName(param.param) + "_" + std::to_string(param.index);
});

} // namespace
} // namespace VeskTest
