// Names in the event log: what they become so that each entry is one line of text.
#include "fuzz.hpp"

#include <cstdint>

// The program's own functions are nobody else's.
#define main VeskLogSet
#include "../../platform/tools/vesklogset.cpp"
#undef main

namespace VeskFuzz
{
namespace
{

// The characters of well-formed UTF-8 as Unicode's table has them, row by row; nothing for what begins none.
struct Row {
    const char* bytes; // first to last, for each byte
    size_t length;
};

constexpr Row kRows[] = {
    {"\x00\x7F", 1},
    {"\xC2\xDF\x80\xBF", 2},
    {"\xE0\xE0\xA0\xBF\x80\xBF", 3},
    {"\xE1\xEC\x80\xBF\x80\xBF", 3},
    {"\xED\xED\x80\x9F\x80\xBF", 3},
    {"\xEE\xEF\x80\xBF\x80\xBF", 3},
    {"\xF0\xF0\x90\xBF\x80\xBF\x80\xBF", 4},
    {"\xF1\xF3\x80\xBF\x80\xBF\x80\xBF", 4},
    {"\xF4\xF4\x80\x8F\x80\xBF\x80\xBF", 4},
};

uint8_t Byte(char character)
{
    return static_cast<uint8_t>(character);
}

bool Fits(const Row& row, std::string_view text)
{
    if (text.size() < row.length) {
        return false;
    }
    for (size_t i = 0; i < row.length; ++i) {
        if (Byte(text[i]) < Byte(row.bytes[2 * i]) || Byte(text[i]) > Byte(row.bytes[2 * i + 1])) {
            return false;
        }
    }
    return true;
}

std::string_view FirstCharacter(std::string_view text)
{
    for (const Row& row : kRows) {
        if (Fits(row, text)) {
            return text.substr(0, row.length);
        }
    }
    return {};
}

// Controls, C1's among them, the separators of lines and paragraphs, and the backslash.
bool IsShownByBytes(std::string_view character)
{
    if (character.size() == 1) {
        return Byte(character[0]) < ' ' || character == "\x7F" || character == "\\";
    }
    return (character.size() == 2 && Byte(character[0]) == 0xC2 && Byte(character[1]) <= 0x9F) ||
           character == "\xE2\x80\xA8" || character == "\xE2\x80\xA9";
}

std::string Numbers(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes) {
        char number[5];
        (void)std::snprintf(number, sizeof number, "\\x%02x", Byte(byte));
        text += number;
    }
    return text;
}

std::string Shown(std::string_view text)
{
    std::string shown;
    while (!text.empty()) {
        const std::string_view character = FirstCharacter(text);
        const std::string_view bytes = character.empty() ? text.substr(0, 1) : character;
        const bool isText = !character.empty() && !IsShownByBytes(character);
        shown += isText ? std::string(bytes) : Numbers(bytes);
        text.remove_prefix(bytes.size());
    }
    return shown;
}

} // namespace

void Fuzz(std::string_view input)
{
    RequireSame(Escaped(input), Shown(input), "the text of an entry");
}

} // namespace VeskFuzz
