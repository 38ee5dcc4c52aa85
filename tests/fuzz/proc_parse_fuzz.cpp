// The readers of what /proc prints, beside sscanf with the formats that their header names.
#include "fuzz.hpp"

#include <climits>
#include <cstdio>
#include <vector>

#include "resource/proc_parse.hpp"

namespace VeskFuzz
{
namespace
{

using Number = unsigned long long;

constexpr Number kBefore = 77;

// In the end a line feed makes no line.
Texts LinesOf(std::string_view text)
{
    Texts lines = Cut(text, '\n');
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

std::string FirstLine(std::string_view text)
{
    return Cut(text, '\n').front();
}

void FuzzStat(std::string_view text)
{
    Number user = kBefore;
    Number system = kBefore;
    const int count = std::sscanf(FirstLine(text).c_str(), "%*s%*s%*s%*s%*s%*s%*s%*s%*s%*s%*s%*s%*s%llu%llu",
                                  &user, &system);
    Number parsedUser = kBefore;
    Number parsedSystem = kBefore;
    const bool parsed = VESK::Systemd::StatTicksParse(text, parsedUser, parsedSystem);
    Require(parsed == (count == 2), "ticks of a process are taken as sscanf takes them");
    RequireSame(parsedUser, user, "user ticks");
    RequireSame(parsedSystem, system, "system ticks");
}

void FuzzTotal(std::string_view text)
{
    Number ticks[8]{};
    const int count =
        std::sscanf(FirstLine(text).c_str(), "cpu %llu%llu%llu%llu%llu%llu%llu%llu", &ticks[0], &ticks[1],
                    &ticks[2], &ticks[3], &ticks[4], &ticks[5], &ticks[6], &ticks[7]);
    Number sum = 0;
    for (const Number number : ticks) {
        sum += number;
    }
    Number total = kBefore;
    const bool parsed = VESK::Systemd::TotalTicksParse(text, total);
    Require(parsed == (count == 8), "ticks of the machine are taken as sscanf takes them");
    RequireSame(total, parsed ? sum : kBefore, "the machine's ticks");
}

void FuzzPss(std::string_view text)
{
    Number sum = 0;
    for (const std::string& line : LinesOf(text)) {
        Number pss = 0;
        if (std::sscanf(line.c_str(), "Pss: %llu", &pss) == 1) {
            sum += pss;
        }
    }
    RequireSame(VESK::Systemd::PssParse(text), sum, "the proportional share of memory");
}

void FuzzIO(std::string_view text)
{
    Number read = kBefore;
    Number written = kBefore;
    bool taken = false;
    const Texts lines = LinesOf(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        if (std::sscanf(lines[i].c_str(), "read_bytes: %llu", &read) == 1) {
            taken =
                i + 1 < lines.size() && std::sscanf(lines[i + 1].c_str(), "write_bytes: %llu", &written) == 1;
            break;
        }
    }
    Number parsedRead = kBefore;
    Number parsedWritten = kBefore;
    Require(VESK::Systemd::IOParse(text, parsedRead, parsedWritten) == taken,
            "bytes are taken as sscanf takes them");
    RequireSame(parsedRead, read, "bytes read");
    RequireSame(parsedWritten, written, "bytes written");
}

void FuzzMaps(std::string_view text)
{
    for (const std::string& line : LinesOf(text)) {
        std::vector<char> path(line.size() + 1);
        const int count = std::sscanf(line.c_str(), "%*x-%*x %*s %*x %*s %*d %s", path.data());
        RequireSame(std::string(VESK::Systemd::MapsPathParse(line)), count == 1 ? path.data() : "",
                    "the path of a mapping");
    }
}

} // namespace

void Fuzz(std::string_view input)
{
    FuzzStat(input);
    FuzzTotal(input);
    FuzzPss(input);
    FuzzIO(input);
    FuzzMaps(input);
}

} // namespace VeskFuzz
