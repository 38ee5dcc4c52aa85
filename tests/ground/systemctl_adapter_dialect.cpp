#include <cstddef>

#include "systemctl_adapter.hpp"

namespace VeskGround
{

namespace
{

constexpr const char* kBlanks = " \t";

std::vector<std::string> FieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    std::size_t begin = line.find_first_not_of(kBlanks);
    while (begin != std::string::npos) {
        const std::size_t end = line.find_first_of(kBlanks, begin);
        fields.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(kBlanks, end);
    }
    return fields;
}

// Of unit file, state and preset only the first two. The heading's first column is two words, and no other
// line has three.
void DropPreset(std::vector<std::string>& fields)
{
    const bool heading = fields == std::vector<std::string>{"UNIT", "FILE", "STATE", "PRESET"};
    if (fields.size() == 3 || heading) {
        fields.pop_back();
    }
}

} // namespace

std::string ToPlatformDialect(Listing listing, const std::string& line)
{
    if (listing == Listing::None) {
        return line;
    }
    std::vector<std::string> fields = FieldsOf(line);
    if (listing == Listing::UnitFiles) {
        DropPreset(fields);
    }
    std::string row;
    for (const std::string& field : fields) {
        row += (row.empty() ? "" : " ") + field;
    }
    return row;
}

int ToPlatformExitCode(Listing listing, int exitCode)
{
    return listing == Listing::Jobs && exitCode == 0 ? 1 : exitCode;
}

std::string DialectStream::Feed(const std::string& bytes)
{
    m_begun += bytes;
    std::string ready;
    std::size_t begin = 0;
    for (std::size_t end = m_begun.find('\n'); end != std::string::npos; end = m_begun.find('\n', begin)) {
        ready += ToPlatformDialect(m_listing, m_begun.substr(begin, end - begin)) + "\n";
        begin = end + 1;
    }
    m_begun.erase(0, begin);
    return ready;
}

std::string DialectStream::Finish()
{
    std::string last = ToPlatformDialect(m_listing, m_begun);
    m_begun.clear();
    return last;
}

} // namespace VeskGround
