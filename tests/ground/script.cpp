#include "script.hpp"

#include <algorithm>
#include <cstddef>

namespace VeskGround
{

namespace
{

void AddField(const Field& field, std::vector<Rule>& rules)
{
    if (field.tag == "exact" || field.tag == "leading") {
        rules.push_back({field.tag == "exact", {}, {}});
    } else if (rules.empty()) {
        return;
    } else if (field.tag == "arg") {
        rules.back().arguments.push_back(field.bytes);
    } else if (field.tag == "answer") {
        rules.back().answers.emplace_back();
    } else if (!rules.back().answers.empty()) {
        rules.back().answers.back().push_back(field);
    }
}

std::size_t FindLast(const std::vector<Rule>& rules, const std::vector<std::string>& called, bool exact)
{
    for (std::size_t index = rules.size(); index-- > 0;) {
        if (rules[index].exact == exact && rules[index].Matches(called)) {
            return index;
        }
    }
    return kNoRule;
}

} // namespace

bool Rule::Matches(const std::vector<std::string>& called) const
{
    if (called.size() < arguments.size() || (exact && called.size() != arguments.size())) {
        return false;
    }
    return std::equal(arguments.begin(), arguments.end(), called.begin());
}

const std::vector<Field>& Rule::AnswerTo(std::uint64_t call) const
{
    return answers[static_cast<std::size_t>(std::min<std::uint64_t>(call, answers.size() - 1))];
}

std::vector<Rule> ParseRules(const std::string& text)
{
    std::vector<Rule> rules;
    for (const Field& field : ParseFields(text)) {
        AddField(field, rules);
    }
    return rules;
}

std::string FormatRules(const std::vector<Rule>& rules)
{
    std::string text;
    for (const Rule& rule : rules) {
        text += FormatField({rule.exact ? "exact" : "leading", 0, ""});
        for (const std::string& argument : rule.arguments) {
            text += FormatField({"arg", 0, argument});
        }
        for (const std::vector<Field>& answer : rule.answers) {
            text += FormatField({"answer", 0, ""});
            for (const Field& step : answer) {
                text += FormatField(step);
            }
        }
    }
    return text;
}

std::size_t FindRule(const std::vector<Rule>& rules, const std::vector<std::string>& called)
{
    const std::size_t exact = FindLast(rules, called, true);
    return exact != kNoRule ? exact : FindLast(rules, called, false);
}

} // namespace VeskGround
