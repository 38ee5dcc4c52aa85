#include "fields.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

#include "descriptor.hpp"

namespace VeskGround
{

namespace
{

// Reads the decimal number at POSITION and steps over it and the mark behind it.
bool TakeNumber(const std::string& text, std::size_t& position, char mark, std::uint64_t& number)
{
    const std::size_t end = text.find(mark, position);
    if (end == std::string::npos || end == position) {
        return false;
    }
    number = std::strtoull(text.c_str() + position, nullptr, 10);
    position = end + 1;
    return true;
}

bool TakeField(const std::string& text, std::size_t& position, Field& field)
{
    const std::size_t tagEnd = text.find(' ', position);
    if (tagEnd == std::string::npos) {
        return false;
    }
    field.tag = text.substr(position, tagEnd - position);
    std::size_t next = tagEnd + 1;
    std::uint64_t length = 0;
    if (!TakeNumber(text, next, ' ', field.number) || !TakeNumber(text, next, ':', length) ||
        text.size() - next <= length) {
        return false;
    }
    field.bytes = text.substr(next, static_cast<std::size_t>(length));
    position = next + field.bytes.size() + 1;
    return true;
}

} // namespace

std::string FormatField(const Field& field)
{
    return field.tag + " " + std::to_string(field.number) + " " + std::to_string(field.bytes.size()) + ":" +
           field.bytes + "\n";
}

std::vector<Field> ParseFields(const std::string& text)
{
    std::vector<Field> fields;
    std::size_t position = 0;
    for (Field field; TakeField(text, position, field);) {
        fields.push_back(field);
    }
    return fields;
}

std::string ReadFile(const std::string& path, std::size_t offset)
{
    std::string text;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (offset > 0) {
        lseek(file.Get(), static_cast<off_t>(offset), SEEK_SET);
    }
    std::array<char, 65536> buffer{};
    for (ssize_t count = 0; file.Get() >= 0;) {
        count = read(file.Get(), buffer.data(), buffer.size());
        if (count == 0 || (count < 0 && errno != EINTR)) {
            break;
        }
        text.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return text;
}

int LeadingNumber(const std::string& text)
{
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

std::string ScriptFolder(const std::string& programName)
{
    return "/run/sandbox/" + programName;
}

} // namespace VeskGround
