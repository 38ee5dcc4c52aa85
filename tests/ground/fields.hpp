// The form of the files that the scripted programs and the tests exchange: a sequence of fields
// "TAG NUMBER LENGTH:BYTES\n", the bytes being arbitrary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace VeskGround
{

struct Field {
    std::string tag;
    std::uint64_t number = 0;
    std::string bytes;
};

std::string FormatField(const Field& field);

// Stops quietly at a field that is not there whole.
std::vector<Field> ParseFields(const std::string& text);

// The file from that offset to its end; "" when there is none.
std::string ReadFile(const std::string& path, std::size_t offset = 0);

// The decimal number at the beginning of a text; 0 when there is none.
int LeadingNumber(const std::string& text);

// The folder through which a scripted program of that name and its test talk to each other; below it the
// files "rules" and "state" and the folder "calls".
std::string ScriptFolder(const std::string& programName);

} // namespace VeskGround
