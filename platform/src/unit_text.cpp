#include "unit_text.h"

#include <algorithm>
#include <cstddef>

namespace VESK::Platform
{
namespace
{

constexpr std::string_view kComments = "#;";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/** A carriage return with a line feed behind it ends one line, not two. */
bool IsLineEnd(char c)
{
    return c == '\n' || c == '\r' || c == '\0';
}

std::string_view Strip(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

bool IsComment(std::string_view line)
{
    const auto text = Strip(line);
    return !text.empty() && kComments.find(text.front()) != std::string_view::npos;
}

/** Whether the line's last character is a backslash that no other one escapes. */
bool ContinuesOnNextLine(std::string_view line)
{
    const auto last = line.find_last_not_of('\\');
    const auto backslashes = line.size() - (last == std::string_view::npos ? 0 : last + 1);
    return backslashes % 2 == 1;
}

struct PhysicalLine {
    /** With its end, as it stands in the file. */
    std::string_view raw;
    std::string_view content;
};

PhysicalLine TakeLine(std::string_view& rest)
{
    const auto* const found = std::find_if(rest.begin(), rest.end(), [](char c) { return IsLineEnd(c); });
    if (found == rest.end()) {
        const auto last = std::exchange(rest, {});
        return {last, last};
    }
    const auto end = static_cast<std::size_t>(found - rest.begin());
    const bool isPair = rest.substr(end, 2) == "\r\n";
    const auto length = end + (isPair ? 2 : 1);
    const PhysicalLine line{rest.substr(0, length), rest.substr(0, end)};
    rest.remove_prefix(length);
    return line;
}

/** A line as it is meant: with those that it continues on, and without the comments between them. */
struct LogicalLine {
    std::string_view raw;
    std::string_view content;
    /** The content of one that continues, which stands nowhere in the text. */
    std::string joined;
    std::string comments;
    bool isComment = false;

    bool IsBlankOrComment() const { return isComment || Strip(content).empty(); }

    /** Keeps the memory for the next line. */
    void Clear()
    {
        raw = {};
        content = {};
        joined.clear();
        comments.clear();
        isComment = false;
    }
};

class LineReader
{
public:
    explicit LineReader(std::string_view text)
        : m_rest(text)
    {
    }

    /** What is not read yet. */
    std::string_view Rest() const { return m_rest; }

    /** Passes over so much of it, which is to end where a line does. */
    void Skip(std::size_t length)
    {
        m_rest.remove_prefix(length);
        m_atStart = m_atStart && length == 0;
    }

    /** False at the end of the text. */
    bool Next(LogicalLine& line)
    {
        line.Clear();
        const auto start = m_rest;
        bool continued = false;
        bool complete = false;
        while (!complete && !m_rest.empty()) {
            const auto part = TakePart();
            line.isComment = !continued && IsComment(part.content);
            complete = line.isComment || AddPart(line, part, continued);
        }
        line.raw = start.substr(0, start.size() - m_rest.size());
        return !line.raw.empty();
    }

private:
    PhysicalLine TakePart()
    {
        auto part = TakeLine(m_rest);
        if (m_atStart && part.content.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
            part.content.remove_prefix(kByteOrderMark.size());
        }
        m_atStart = false;
        return part;
    }

    /** Whether the line is complete with it. */
    static bool AddPart(LogicalLine& line, const PhysicalLine& part, bool& continued)
    {
        if (continued && IsComment(part.content)) {
            line.comments += part.raw;
            return false;
        }
        const bool isFirst = !continued;
        continued = ContinuesOnNextLine(part.content);
        if (isFirst && !continued) {
            line.content = part.content;
            return true;
        }
        line.joined += part.content;
        if (continued) {
            line.joined.back() = ' ';
        }
        line.content = line.joined;
        return !continued;
    }

    std::string_view m_rest;
    bool m_atStart = true;
};

bool LooksLikeHeader(std::string_view line)
{
    return !line.empty() && line.front() == '[';
}

/** The section that a header line opens; none for a header without its closing bracket. */
std::optional<std::string_view> HeaderSection(std::string_view line)
{
    if (line.size() < 2 || line.back() != ']') {
        return std::nullopt;
    }
    return line.substr(1, line.size() - 2);
}

/** Follows the lines of a text and knows which section they are in. */
class SectionTracker
{
public:
    explicit SectionTracker(std::string_view section)
        : m_section(section)
    {
    }

    /** True for a header line, of whatever section. */
    bool TakesHeader(const LogicalLine& line)
    {
        const auto text = Strip(line.content);
        if (line.isComment || !LooksLikeHeader(text)) {
            return false;
        }
        m_isInside = HeaderSection(text) == m_section;
        return true;
    }

    bool IsInside() const { return m_isInside; }

private:
    std::string_view m_section;
    bool m_isInside = false;
};

std::string SectionBody(const KeyValues& values)
{
    std::string body;
    for (const auto& [key, value] : values) {
        body.append(key).append("=").append(value).append("\n");
    }
    return body;
}

std::string SectionName(std::string_view section)
{
    return std::string("[").append(section).append("]");
}

std::string SectionHeader(std::string_view section)
{
    return SectionName(section) + "\n";
}

/** Builds the new text line by line. */
class SectionReplacer
{
public:
    explicit SectionReplacer(std::string_view section)
        : m_section(section)
    {
    }

    void AddHeaderOfSection(const LogicalLine& line)
    {
        m_isPlaceFinal = m_bodyAt.has_value();
        if (!m_isPlaceFinal) {
            m_text += SectionHeader(m_section);
            m_bodyAt = m_text.size();
        }
        m_text += line.comments;
    }

    /** The first assignment that goes says where the new ones stand, unless it is in a later occurrence. */
    void DropLineOfSection(const LogicalLine& line)
    {
        if (!m_isPlaceFinal) {
            m_bodyAt = m_text.size();
            m_isPlaceFinal = true;
        }
        m_text += line.comments;
    }

    void Keep(const LogicalLine& line) { m_text += line.raw; }

    std::string Finish(const std::string& body)
    {
        if (m_bodyAt) {
            return m_text.insert(*m_bodyAt, body);
        }
        if (!m_text.empty()) {
            // The blank line also ends a line that would continue on the header. A carriage return alone
            // would make one line end with the first line feed.
            const char last = m_text.back();
            m_text += last == '\n' || last == '\0' ? "\n" : "\n\n";
        }
        return m_text + SectionHeader(m_section) + body;
    }

private:
    std::string_view m_section;
    std::string m_text;
    std::optional<std::size_t> m_bodyAt;
    bool m_isPlaceFinal = false;
};

constexpr std::string_view kLineEnds{"\n\r\0", 3};

/** Takes the last line of a text off it, and the empty ones behind that. */
std::string_view TakeLastLine(std::string_view& text)
{
    const auto last = text.find_last_not_of(kLineEnds);
    text = text.substr(0, last == std::string_view::npos ? 0 : last + 1);
    const auto end = text.find_last_of(kLineEnds);
    const auto start = end == std::string_view::npos ? 0 : end + 1;
    const auto line = text.substr(start);
    text = text.substr(0, start);
    return line;
}

/** Whether what follows the text surely is no part of its last line. Comments may stand inside of a line. */
bool EndsWithWholeLine(std::string_view text)
{
    while (!text.empty()) {
        const auto line = TakeLastLine(text);
        if (!IsComment(line)) {
            return line.empty() || line.back() != '\\';
        }
    }
    return true;
}

/**
 * Passes over lines that tell nothing of a section: most lines of a unit file are in others, and need no look. False when
 * no line is left that could.
 */
bool SkipToSection(const std::string& header, LineReader& reader)
{
    // Of a line that continues, a blank stands in the place of each end.
    if (header.find(' ') != std::string::npos) {
        return true;
    }
    const auto rest = reader.Rest();
    const auto found = rest.find(header);
    if (found == std::string_view::npos) {
        return false;
    }
    const auto end = rest.substr(0, found).find_last_of(kLineEnds);
    const auto start = end == std::string_view::npos ? 0 : end + 1;
    reader.Skip(EndsWithWholeLine(rest.substr(0, start)) ? start : 0);
    return true;
}

bool HasLineEnd(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), IsLineEnd);
}

bool IsWritableKey(std::string_view key)
{
    return !key.empty() && Strip(key) == key && key.find('=') == std::string_view::npos && !HasLineEnd(key) &&
           !LooksLikeHeader(key) && !IsComment(key);
}

} // namespace

std::optional<std::string> FindSectionValue(std::string_view text, std::string_view section,
                                            std::string_view key)
{
    const std::string header = SectionName(section);
    std::optional<std::string> value;
    SectionTracker tracker(section);
    LineReader reader(text);
    LogicalLine line;
    bool more = SkipToSection(header, reader);
    while (more && reader.Next(line)) {
        const bool wasInside = tracker.IsInside();
        if (tracker.TakesHeader(line)) {
            more = !wasInside || tracker.IsInside() || SkipToSection(header, reader);
            continue;
        }
        if (line.IsBlankOrComment() || !tracker.IsInside()) {
            continue;
        }
        const std::string_view content = line.content;
        const auto equals = content.find('=');
        if (equals != std::string_view::npos && Strip(content.substr(0, equals)) == key) {
            value = Strip(content.substr(equals + 1));
        }
    }
    return value;
}

bool IsWritableSection(std::string_view section, const KeyValues& values)
{
    const auto isWritable = [](const auto& pair) {
        const auto& [key, value] = pair;
        return IsWritableKey(key) && !HasLineEnd(value) && !ContinuesOnNextLine(key + "=" + value);
    };
    return !section.empty() && !HasLineEnd(section) && std::all_of(values.begin(), values.end(), isWritable);
}

std::string ReplaceSection(std::string_view text, std::string_view section, const KeyValues& values)
{
    SectionReplacer replacer(section);
    SectionTracker tracker(section);
    LineReader reader(text);
    LogicalLine line;
    while (reader.Next(line)) {
        const bool isHeader = tracker.TakesHeader(line);
        if (!tracker.IsInside() || line.IsBlankOrComment()) {
            replacer.Keep(line);
        } else if (isHeader) {
            replacer.AddHeaderOfSection(line);
        } else {
            replacer.DropLineOfSection(line);
        }
    }
    return replacer.Finish(SectionBody(values));
}

} // namespace VESK::Platform
