// What a scripted program does when it is called: rules that its test wrote, matched against its arguments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fields.hpp"

namespace VeskGround
{

// A rule is "exact" or "leading", its "arg" fields and one or more answers: "answer", then steps in their
// order. Steps: out, err (bytes, NUMBER times), delay (NUMBER ms), create, remove, wait (path), write (path,
// NUL, text), ignore (signal NUMBER); exit and kill (NUMBER) end the program.
struct Rule {
    bool exact = true;
    std::vector<std::string> arguments;
    std::vector<std::vector<Field>> answers;

    bool Matches(const std::vector<std::string>& called) const;

    // The answer to the call of that number, from 0; the last one repeats.
    const std::vector<Field>& AnswerTo(std::uint64_t call) const;
};

constexpr std::size_t kNoRule = static_cast<std::size_t>(-1);

std::vector<Rule> ParseRules(const std::string& text);
std::string FormatRules(const std::vector<Rule>& rules);

// The rule for a call: one for exactly these arguments before one for leading ones, a later one before an
// earlier.
std::size_t FindRule(const std::vector<Rule>& rules, const std::vector<std::string>& called);

} // namespace VeskGround
