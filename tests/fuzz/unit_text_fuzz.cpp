// Unit files. Lines with the section, a key, its value, another key and its value, then the text.
#include "fuzz.hpp"

#include <optional>
#include <utility>

#include "unit_text.h"

namespace VeskFuzz
{
namespace
{

using VESK::Platform::FindSectionValue;
using VESK::Platform::IsWritableSection;
using VESK::Platform::KeyValues;
using VESK::Platform::ReplaceSection;

// A line with those that it continues on.
struct Line {
    std::string raw;
    std::string meaning;  // stripped, and empty for a comment
    std::string comments; // those between its parts
};

std::string Strip(std::string text)
{
    const std::string kBlanks = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool IsComment(const std::string& line)
{
    const std::string text = Strip(line);
    return !text.empty() && (text[0] == '#' || text[0] == ';');
}

// The lines as they stand in the file, each with its end.
Texts RawLines(const std::string& text)
{
    Texts lines;
    bool isNew = true;
    for (size_t i = 0; i < text.size(); ++i) {
        if (isNew) {
            lines.emplace_back();
        }
        lines.back() += text[i];
        isNew = text[i] == '\n' || text[i] == '\0' || (text[i] == '\r' && text.substr(i + 1, 1) != "\n");
    }
    return lines;
}

std::string WithoutEnd(std::string line)
{
    if (line.size() > 1 && line.substr(line.size() - 2) == "\r\n") {
        line.pop_back();
    }
    if (!line.empty() && (line.back() == '\n' || line.back() == '\r' || line.back() == '\0')) {
        line.pop_back();
    }
    return line;
}

// Whether the line is to be continued; its last backslash becomes a blank.
bool TakeContinuation(std::string& line)
{
    size_t backslashes = 0;
    while (backslashes < line.size() && line[line.size() - 1 - backslashes] == '\\') {
        ++backslashes;
    }
    if (backslashes % 2 == 0) {
        return false;
    }
    line.back() = ' ';
    return true;
}

std::vector<Line> LinesOf(const std::string& text)
{
    std::vector<Line> lines;
    bool isContinued = false;
    bool isFirst = true;
    for (const std::string& raw : RawLines(text)) {
        std::string content = WithoutEnd(raw);
        if (std::exchange(isFirst, false) && content.substr(0, 3) == "\xEF\xBB\xBF") {
            content.erase(0, 3);
        }
        if (!isContinued) {
            lines.emplace_back();
        }
        Line& line = lines.back();
        line.raw += raw;
        if (IsComment(content)) {
            line.comments += isContinued ? raw : "";
            continue;
        }
        isContinued = TakeContinuation(content);
        line.meaning += content;
    }
    for (Line& line : lines) {
        line.meaning = Strip(line.meaning);
    }
    return lines;
}

// What the lines mean, each with the section that it is in; a header is in the section that it opens.
template <typename Take>
void ForEachLine(const std::string& text, Take&& take)
{
    std::optional<std::string> section;
    for (const Line& line : LinesOf(text)) {
        const std::string& meaning = line.meaning;
        const bool isHeader = meaning.substr(0, 1) == "[";
        if (isHeader) {
            section.reset();
            if (meaning.size() > 1 && meaning.back() == ']') {
                section = meaning.substr(1, meaning.size() - 2);
            }
        }
        take(line, section, isHeader);
    }
}

std::string Found(const std::optional<std::string>& value)
{
    return value ? "=" + *value : "none";
}

std::string Value(const std::string& text, const std::string& wanted, const std::string& key)
{
    std::optional<std::string> value;
    ForEachLine(text, [&](const Line& line, const std::optional<std::string>& section, bool isHeader) {
        const size_t equals = line.meaning.find('=');
        if (section == wanted && !isHeader && equals != std::string::npos &&
            Strip(line.meaning.substr(0, equals)) == key) {
            value = Strip(line.meaning.substr(equals + 1));
        }
    });
    return Found(value);
}

// All that is not the section's own: other sections, blank lines, comments.
std::string Rest(const std::string& text, const std::string& wanted)
{
    std::string rest;
    ForEachLine(text, [&](const Line& line, const std::optional<std::string>& section, bool) {
        rest += section == wanted && !line.meaning.empty() ? line.comments : line.raw;
    });
    return rest;
}

bool Has(const std::string& text, const std::string& wanted)
{
    bool found = false;
    ForEachLine(text, [&](const Line&, const std::optional<std::string>& section, bool) {
        found = found || section == wanted;
    });
    return found;
}

void RequireKept(const std::string& before, const std::string& after, const std::string& section)
{
    if (Has(before, section)) {
        RequireSame(Rest(after, section), Rest(before, section), "the lines of others");
        return;
    }
    RequireSame(after.substr(0, before.size()), before, "what is before the new section");
    ForEachLine(before, [&](const Line& line, const std::optional<std::string>& other, bool isHeader) {
        const size_t equals = line.meaning.find('=');
        if (other && !isHeader && equals != std::string::npos) {
            const std::string key = Strip(line.meaning.substr(0, equals));
            RequireSame(Value(after, *other, key), Value(before, *other, key), "a value of another section");
        }
    });
}

void FuzzReplace(const std::string& text, const std::string& section, const KeyValues& values)
{
    const std::string after = ReplaceSection(text, section, values);
    for (const auto& [key, value] : values) {
        const std::string& last = key == values.back().first ? values.back().second : value;
        RequireSame(Found(FindSectionValue(after, section, key)), "=" + Strip(last),
                    "what was set reads back");
    }
    size_t count = 0;
    ForEachLine(after, [&](const Line& line, const std::optional<std::string>& other, bool isHeader) {
        count += other == section && !isHeader && !line.meaning.empty() ? 1 : 0;
    });
    RequireSame(count, values.size(), "the section has nothing else");
    RequireKept(text, after, section);
    RequireSame(ReplaceSection(after, section, values), after, "once more changes nothing");
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string section(TakeLine(input));
    const std::string key(TakeLine(input));
    const std::string value(TakeLine(input));
    const std::string otherKey(TakeLine(input));
    const std::string otherValue(TakeLine(input));
    const std::string text(input);

    RequireSame(Found(FindSectionValue(text, section, key)), Value(text, section, key), "a value");
    RequireSame(Found(FindSectionValue(text, section, otherKey)), Value(text, section, otherKey),
                "another value");
    for (const KeyValues& values :
         {KeyValues{}, KeyValues{{key, value}}, KeyValues{{key, value}, {otherKey, otherValue}}}) {
        if (IsWritableSection(section, values)) {
            FuzzReplace(text, section, values);
        }
    }
}

} // namespace VeskFuzz
