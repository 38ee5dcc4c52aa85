// JobInfoParse: a line of list-jobs.
#include "fuzz.hpp"

#include <algorithm>
#include <cstdint>
#include <vesksystemd.hpp>

namespace VeskFuzz
{
namespace
{

using VESK::Systemd::JobInfo;
using VESK::Systemd::JobInfoParse;
using VESK::Systemd::JobState;
using VESK::Systemd::JobType;

// Of a sign and digits the low half of the 64 bits; 0 for what is no number and for one that they cannot hold.
uint32_t IdOf(const std::string& field)
{
    // White space that is no blank may stand before a number within the line.
    const std::string number = field.substr(std::min(field.find_first_not_of(" \t\n\v\f\r"), field.size()));
    const bool hasSign = !number.empty() && (number[0] == '-' || number[0] == '+');
    const std::string rest = number.substr(hasSign ? 1 : 0);
    const std::string digits = rest.substr(0, rest.find_first_not_of("0123456789"));
    const std::string counted = digits.substr(std::min(digits.find_first_not_of('0'), digits.size()));
    const std::string largest = "18446744073709551615";
    if (counted.size() > largest.size() || (counted.size() == largest.size() && counted > largest)) {
        return 0;
    }
    uint32_t id = 0;
    for (const char digit : counted) {
        id = id * 10 + static_cast<uint32_t>(digit - '0');
    }
    return hasSign && number[0] == '-' ? 0U - id : id;
}

JobType TypeOf(const std::string& word)
{
    return word == "start" ? JobType::Start : word == "stop" ? JobType::Stop : JobType::Unknown;
}

JobState StateOf(const std::string& word)
{
    return word == "running" ? JobState::Running : word == "waiting" ? JobState::Waiting : JobState::Unknown;
}

std::string Shown(const JobInfo& info)
{
    return std::to_string(info.id) + "|" + info.unit + "|" + std::to_string(static_cast<int>(info.type)) +
           "|" + std::to_string(static_cast<int>(info.state));
}

} // namespace

void Fuzz(std::string_view input)
{
    const JobInfo before{5, "before", JobType::Stop, JobState::Waiting};
    const Texts fields = Cut(Stripped(input), ' ');

    JobInfo info = before;
    const bool taken = JobInfoParse(std::string(input), info);
    Require(taken == (fields.size() == 4), "a line of four fields is taken, and no other");
    if (!taken) {
        RequireSame(Shown(info), Shown(before), "a line that is refused leaves the record alone");
        return;
    }
    const JobInfo expected{IdOf(fields[0]), fields[1], TypeOf(fields[2]), StateOf(fields[3])};
    RequireSame(Shown(info), Shown(expected), "the record");

    JobInfo again;
    Require(JobInfoParse(info.ToString(), again), "what a record prints is taken");
    RequireSame(Shown(again), Shown(info), "what a record prints is the record");
}

} // namespace VeskFuzz
