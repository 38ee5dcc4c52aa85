// FailedUnitsGet: a line with the caller's units, comma between them, then lines of systemctl.
#include "fuzz.hpp"

#include <algorithm>
#include <optional>
#include <vesksystemd.hpp>

namespace VeskFuzz
{
namespace
{

// The group of a text that a whole pattern matches: the first pattern's, ...
std::optional<std::string> GroupOfFailure(std::string_view text)
{
    constexpr std::string_view kBegin = "Failed to ";
    if (text.substr(0, kBegin.size()) != kBegin || text.find(':') != std::string_view::npos) {
        return std::nullopt;
    }
    text.remove_prefix(kBegin.size());
    const size_t blank = text.rfind(' ');
    if (blank == std::string_view::npos || blank == 0 || blank + 1 == text.size()) {
        return std::nullopt;
    }
    return std::string(text.substr(blank + 1));
}

// ... and that of the others, whose last character is any.
std::optional<std::string> GroupOfJob(std::string_view text, std::string_view begin, std::string_view end)
{
    if (text.size() < begin.size() + 1 + end.size() + 1 || text.substr(0, begin.size()) != begin ||
        text.substr(text.size() - 1 - end.size(), end.size()) != end) {
        return std::nullopt;
    }
    return std::string(text.substr(begin.size(), text.size() - begin.size() - end.size() - 1));
}

std::optional<std::string> Group(int pattern, std::string_view text)
{
    switch (pattern) {
    case 0:
        return GroupOfFailure(text);
    case 1:
        return GroupOfJob(text, "Job for ", " failed");
    case 2:
        return GroupOfJob(text, "Job for ", " canceled");
    default:
        return GroupOfJob(text, "A dependency job for ", " failed");
    }
}

// The leftmost match, and of those that begin there the longest.
std::optional<std::string> Match(int pattern, std::string_view line)
{
    for (size_t begin = 0; begin < line.size(); ++begin) {
        if (line[begin] != 'F' && line[begin] != 'J' && line[begin] != 'A') {
            continue;
        }
        for (size_t length = line.size() - begin; length > 0; --length) {
            if (const auto group = Group(pattern, line.substr(begin, length))) {
                return group;
            }
        }
    }
    return std::nullopt;
}

std::optional<std::string> FailedUnit(std::string_view line)
{
    for (int pattern = 0; pattern < 4; ++pattern) {
        if (const auto unit = Match(pattern, BeforeZero(line))) {
            return unit;
        }
    }
    return std::nullopt;
}

} // namespace

void Fuzz(std::string_view input)
{
    const Texts units = Cut(TakeLine(input), ',');
    const Texts lines = Cut(input, '\n');

    Texts expected{"before"};
    for (const std::string& line : lines) {
        const auto failed = FailedUnit(line);
        // Of two names for one unit the last counts.
        const auto it = std::find_if(units.rbegin(), units.rend(), [&](const std::string& unit) {
            return failed && VESK::Systemd::NormalizedUnitNameGet(unit) == *failed;
        });
        if (it != units.rend()) {
            expected.push_back(BeforeZero(*it));
        }
    }
    Texts failed{"before"};
    VESK::Systemd::FailedUnitsGet(units, lines, failed);
    RequireSame(failed, expected, "the failed units");
}

} // namespace VeskFuzz
