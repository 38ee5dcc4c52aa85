// What systemctl answers to the operations that ask: a line with its exit code, then what it prints.
#include "fuzz.hpp"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <unistd.h>
#include <veskbootseq.h>
#include <vesksystemd.hpp>

namespace
{

int exitCode = 0;
std::string answer;

} // namespace

FILE* VLIBCPopenv(const char*, const char*, char* const[])
{
    // Nothing can be read of a buffer without a byte, not even its end.
    return answer.empty() ? std::fopen("/dev/null", "r") : fmemopen(answer.data(), answer.size(), "r");
}

int VLIBCPclose(FILE* stream)
{
    return std::fclose(stream) == 0 ? exitCode << 8 : -1;
}

int VESKSystemGetBootStep()
{
    return -1;
}

// An ordinary user's systemctl would need the environment of a session.
extern "C" uid_t getuid()
{
    return 0;
}

namespace VeskFuzz
{
namespace
{

using VESK::Systemd::JobInfo;

std::string ValueOf(const std::string& line)
{
    const Texts pieces = Cut(line, '=');
    return Stripped(pieces.size() == 1 ? line : line.substr(pieces[0].size() + 1));
}

int Place(const std::string& word, const std::map<std::string, int>& places)
{
    const auto found = places.find(word);
    return found == places.end() ? -1 : found->second;
}

void FuzzShow(const Texts& lines)
{
    const bool isAnswer = exitCode == 0 && !lines.empty();
    const std::string expected = isAnswer ? ValueOf(lines[0]) : "before";
    std::string value = "before";
    Require(VESKSystemdShow("foo", "Id", value) == isAnswer, "a property is read from an answer");
    RequireSame(value, expected, "a property");

    const int active =
        Place(isAnswer ? expected : "", {{"inactive", VESK_SYSTEMD_ACTIVE_STATUS_INACTIVE},
                                         {"active", VESK_SYSTEMD_ACTIVE_STATUS_ACTIVE},
                                         {"deactivating", VESK_SYSTEMD_ACTIVE_STATUS_DEACTIVATING},
                                         {"activating", VESK_SYSTEMD_ACTIVE_STATUS_ACTIVATING},
                                         {"reloading", VESK_SYSTEMD_ACTIVE_STATUS_RELOADING},
                                         {"failed", VESK_SYSTEMD_ACTIVE_STATUS_FAILED}});
    Require(VESKSystemdActiveStatusGet("foo") == active, "the active state");
    const int load = Place(isAnswer ? expected : "", {{"stub", VESK_SYSTEMD_LOAD_STATUS_STUB},
                                                      {"loaded", VESK_SYSTEMD_LOAD_STATUS_LOADED},
                                                      {"not-found", VESK_SYSTEMD_LOAD_STATUS_NOT_FOUND},
                                                      {"error", VESK_SYSTEMD_LOAD_STATUS_ERROR},
                                                      {"merged", VESK_SYSTEMD_LOAD_STATUS_MERGED},
                                                      {"masked", VESK_SYSTEMD_LOAD_STATUS_MASKED}});
    Require(VESKSystemdLoadStatusGet("foo") == load, "the load state");
}

void FuzzEnableStatus(const Texts& lines)
{
    const int expected = Place(lines.empty() ? "" : Stripped(lines[0]),
                               {{"disabled", VESK_SYSTEMD_ENABLE_STATUS_DISABLED},
                                {"enabled", VESK_SYSTEMD_ENABLE_STATUS_ENABLED},
                                {"enabled-runtime", VESK_SYSTEMD_ENABLE_STATUS_ENABLED},
                                {"static", VESK_SYSTEMD_ENABLE_STATUS_STATIC},
                                {"masked", VESK_SYSTEMD_ENABLE_STATUS_MASKED},
                                {"masked-runtime", VESK_SYSTEMD_ENABLE_STATUS_MASKED},
                                {"linked", VESK_SYSTEMD_ENABLE_STATUS_LINKED},
                                {"linked-runtime", VESK_SYSTEMD_ENABLE_STATUS_LINKED}});
    Require(VESKSystemdEnableStatusGet("foo") == expected, "the enable state");
}

void FuzzUnitFiles(const Texts& lines)
{
    Texts expected{"before"};
    for (const std::string& line : lines) {
        const Texts fields = Cut(Stripped(line), ' ');
        if (exitCode == 0 && fields.size() == 2) {
            expected.push_back(fields[0]);
        }
    }
    Texts units{"before"};
    Require(VESKSystemdListUnits(units, "") == (exitCode == 0), "the list is read from an answer");
    RequireSame(units, expected, "the unit files");
}

void FuzzDefaultTarget(const Texts& lines)
{
    const bool isAnswer = exitCode == 0 && lines.size() == 1;
    std::string target = "before";
    Require(VESKSystemdDefaultTargetGet(target) == isAnswer, "a target is one line");
    RequireSame(target, isAnswer ? Stripped(lines[0]) : "before", "the default target");
}

void FuzzJobs(const Texts& lines)
{
    constexpr int kListJobsDone = 1;
    std::map<unsigned int, std::string> expected;
    for (const std::string& line : lines) {
        JobInfo info;
        if (exitCode == kListJobsDone && JobInfoParse(line, info)) {
            expected.emplace(info.id, info.ToString());
        }
    }
    std::map<unsigned int, JobInfo> jobs;
    Require(VESKSystemdIntJobList(jobs) == (exitCode == kListJobsDone), "the queue is read from an answer");
    RequireSame(jobs.size(), expected.size(), "the number of jobs");
    for (const auto& [id, info] : jobs) {
        RequireSame(info.ToString(), expected[id], "a job");
    }

    JobInfo first;
    const bool isJob = exitCode == kListJobsDone && !lines.empty() && JobInfoParse(lines[0], first);
    JobInfo info;
    Require(VESKSystemdIntJobGet("foo", info) == isJob, "a unit's job is the first line");
    RequireSame(info.ToString(), first.ToString(), "a unit's job");
}

} // namespace

void Fuzz(std::string_view input)
{
    exitCode = std::atoi(std::string(TakeLine(input)).c_str()) & 0xFF;
    answer = input;
    const Texts lines = CutBehindLineFeeds(answer);
    FuzzShow(lines);
    FuzzEnableStatus(lines);
    FuzzUnitFiles(lines);
    FuzzDefaultTarget(lines);
    FuzzJobs(lines);
}

} // namespace VeskFuzz
