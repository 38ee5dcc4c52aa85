// The processes that a slice's file of members lists, and the seconds that its unit file gives it to end: a line with
// the seconds, then the file.
#include "fuzz.hpp"

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <optional>
#include <stdexcept>
#include <vesksystemd.hpp>

#include "core/directory.hpp"
#include "core/file_text.hpp"
#include "core/pause.hpp"
#include "resource/cgroup_layout.hpp"
#include "resource/cgroup_walk.hpp"

namespace
{

std::string members;
std::string seconds;
unsigned long long pauses = 0;

// Of the processes some have ended, some end while they are looked at, some cannot be looked at, and the rest live.
bool HasEnded(int pid)
{
    return pid <= 0 || pid % 5 == 1;
}

bool CannotBeSampled(int pid)
{
    return pid % 5 == 2;
}

} // namespace

namespace VESK::Systemd
{

CgroupTree MonitorTree()
{
    return {"/", "", "members", false};
}

CgroupTree SystemdTree()
{
    return MonitorTree();
}

// A folder that is there.
std::string CgroupSliceFolder(const CgroupTree&, const std::string&)
{
    return "/";
}

int VisibleEntriesAppend(const std::string&, Texts&)
{
    return 0;
}

// What cannot be searched is alive.
bool CgroupsBelow(const std::string&, const std::function<void(const std::string&)>&)
{
    return false;
}

bool FileRead(const std::string& path, std::string& text)
{
    if (path.find("members") != std::string::npos) {
        text = members;
        return true;
    }
    const int pid = std::atoi(path.c_str() + sizeof "/proc/" - 1);
    text = std::to_string(pid) + (HasEnded(pid) ? " (x) Z 1 1 1 0 -1 0" : " (x) S 1 1 1 0 -1 0");
    return true;
}

Process::Process(int pid)
    : m_nPid(pid)
{
    if (HasEnded(pid) || CannotBeSampled(pid)) {
        throw std::runtime_error("sample");
    }
}

std::string XVesklineKeyGet(const std::string&, const std::string&)
{
    return seconds;
}

void PauseSecond()
{
    ++pauses;
}

} // namespace VESK::Systemd

FILE* VLIBCPopenv(const char*, const char*, char* const[])
{
    return std::fopen("/dev/null", "r");
}

int VLIBCPclose(FILE* stream)
{
    return std::fclose(stream);
}

namespace VeskFuzz
{
namespace
{

// The number that a text begins with, behind blanks and a sign, as long as it is an int.
std::optional<int> LeadingNumber(const std::string& text)
{
    std::size_t place = text.find_first_not_of(" \t\n\v\f\r");
    const bool isNegative = place != std::string::npos && text[place] == '-';
    if (place != std::string::npos && (isNegative || text[place] == '+')) {
        ++place;
    }
    long long number = 0;
    bool hasDigits = false;
    for (; place < text.size() && text[place] >= '0' && text[place] <= '9'; ++place) {
        hasDigits = true;
        number = std::min(number * 10 + (text[place] - '0'), 1LL << 40);
    }
    number = isNegative ? -number : number;
    if (!hasDigits || number > INT32_MAX || number < INT32_MIN) {
        return std::nullopt;
    }
    return static_cast<int>(number);
}

void FuzzMembers()
{
    std::set<int> expected;
    bool isList = true;
    Texts lines = Cut(members, '\n');
    if (lines.back().empty()) {
        lines.pop_back();
    }
    for (const std::string& line : lines) {
        const std::optional<int> pid = LeadingNumber(line);
        isList = isList && pid && (HasEnded(*pid) || !CannotBeSampled(*pid));
        if (isList && !HasEnded(*pid)) {
            expected.insert(*pid);
        }
    }
    std::set<VESK::Systemd::Process> processes;
    Require(VESK::Systemd::Slice::ProcessList("a.slice", processes) == isList, "a line that is no number");
    std::set<int> pids;
    for (const auto& process : processes) {
        pids.insert(process.PidGet());
    }
    Require(pids == (isList ? expected : std::set<int>()), "the processes that live");
}

void FuzzSeconds()
{
    constexpr unsigned long long kDefault = 10;
    constexpr int kDay = 86400;
    const std::size_t first = seconds.find_first_not_of(" \t\n\v\f\r");
    const bool hasSign = first != std::string::npos && (seconds[first] == '-' || seconds[first] == '+');
    const std::optional<int> number = hasSign ? std::nullopt : LeadingNumber(seconds);
    pauses = 0;
    VESKSystemdKillSlice("a.slice");
    RequireSame(pauses, number && *number <= kDay ? static_cast<unsigned long long>(*number) : kDefault,
                "the seconds until the processes are killed");
}

} // namespace

void Fuzz(std::string_view input)
{
    seconds = BeforeZero(TakeLine(input));
    members = input;
    FuzzSeconds();
    FuzzMembers();
}

} // namespace VeskFuzz
