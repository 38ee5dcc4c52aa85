// What today's systemctl prints, as the platform's would: a line with the verb and its exit code, then the lines.
#include "fuzz.hpp"

#include <algorithm>
#include <cstdlib>
#include <set>

#include "core/systemctl_dialect.hpp"

namespace VeskFuzz
{
namespace
{

using VESK::Systemd::Answer;
using VESK::Systemd::Request;
using VESK::Systemd::SystemdKind;

const std::set<std::string> kTypes{"service", "socket", "device", "mount", "automount", "swap",
                                   "target",  "path",   "timer",  "slice", "scope"};
const std::set<std::string> kPresets{"enabled", "disabled", "ignored", "-", "n/a"};

// The words between blanks.
Texts WordsOf(const std::string& line)
{
    Texts words{""};
    for (const char character : line) {
        if (std::string(" \t\r\n\v\f").find(character) == std::string::npos) {
            words.back() += character;
        } else if (!words.back().empty()) {
            words.emplace_back();
        }
    }
    if (words.back().empty()) {
        words.pop_back();
    }
    return words;
}

template <typename IsOne>
bool AllOf(const std::string& text, IsOne&& isOne)
{
    return std::all_of(text.begin(), text.end(), isOne);
}

bool IsJobRow(const Texts& words)
{
    return words.size() == 4 && AllOf(words[0], [](char c) { return c >= '0' && c <= '9'; });
}

bool IsUnitFileRow(const Texts& words)
{
    if (words.size() != 2 && (words.size() != 3 || kPresets.count(words[2]) == 0)) {
        return false;
    }
    const Texts parts = Cut(BeforeZero(words[0]), '.');
    return parts.size() > 1 && kTypes.count(parts.back()) != 0 &&
           AllOf(words[1], [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

std::string Joined(const Texts& words, std::size_t count, const std::string& line)
{
    std::string text = words[0];
    for (std::size_t i = 1; i < count; ++i) {
        text += " " + words[i];
    }
    return text + (line.back() == '\n' ? "\n" : "");
}

Texts Expected(const std::string& verb, int exitCode, Texts lines)
{
    for (std::string& line : lines) {
        const Texts words = WordsOf(line);
        if (exitCode == 0 && verb == "list-jobs" && IsJobRow(words)) {
            line = Joined(words, 4, line);
        } else if (exitCode == 0 && verb == "list-unit-files" && IsUnitFileRow(words)) {
            line = Joined(words, 2, line);
        }
    }
    return lines;
}

int ExpectedCode(const std::string& verb, int exitCode)
{
    if (verb != "list-jobs" || exitCode > 1) {
        return exitCode;
    }
    return exitCode == 0 ? 1 : 255;
}

void FuzzAnswer(const std::string& verb, int exitCode, const Texts& lines)
{
    Request request;
    request.strVerb = verb;
    Answer given;
    given.blGiven = true;
    given.nExitCode = exitCode;
    given.vecLines = lines;
    const Answer heard = AnswerInDialect(request, given, SystemdKind::Current);
    RequireSame(heard.vecLines, Expected(verb, exitCode, lines), "the lines");
    RequireSame(static_cast<unsigned>(heard.nExitCode), static_cast<unsigned>(ExpectedCode(verb, exitCode)),
                "the exit code");
    Require(heard.blGiven && !heard.blKilled, "an answer stays one");
    const Answer platforms = AnswerInDialect(request, given, SystemdKind::Platform);
    Require(platforms.vecLines == lines && platforms.nExitCode == exitCode, "the platform's is as it was");

    given.blKilled = true;
    given.nExitCode = 0;
    const Answer killed = AnswerInDialect(request, given, SystemdKind::Current);
    Require(killed.blKilled && killed.nExitCode == 0, "who was killed did not succeed");
}

// The name that is asked for.
void FuzzRequest(const std::string& verb, const std::string& unit)
{
    Request request;
    request.strVerb = verb;
    request.vecUnits = {unit};
    const Request asked = RequestInDialect(request, SystemdKind::Current);
    const std::string name = BeforeZero(unit);
    const Texts parts = Cut(name, '.');
    const bool isFull = unit.empty() || unit.find_first_of("/*?[") != std::string::npos ||
                        (parts.size() > 1 && kTypes.count(parts.back()) != 0);
    const bool isCompleted = verb == "list-jobs" && !isFull;
    const bool isAsItWas = asked.vecUnits[0] == unit || asked.vecUnits[0] == name;
    Require(isCompleted ? asked.vecUnits[0] == name + ".service" : isAsItWas, "the name of a unit");
    const bool isListing = verb == "list-jobs" || verb == "list-unit-files";
    RequireSame(asked.vecOptions, isListing ? Texts{"--full"} : Texts(), "the options");
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string first(TakeLine(input));
    const Texts words = WordsOf(first);
    const std::string verb = words.empty() ? "" : words[0];
    const int exitCode = words.size() < 2 ? 0 : std::atoi(words[1].c_str()) & 0xFF;
    Texts lines;
    std::string_view rest = input;
    while (!rest.empty()) {
        const bool hasEnd = rest.find('\n') != std::string_view::npos;
        lines.push_back(std::string(TakeLine(rest)) + (hasEnd ? "\n" : ""));
    }
    FuzzAnswer(verb, exitCode, lines);
    FuzzRequest(verb, std::string(input));
}

} // namespace VeskFuzz
