// Registry files: JSON by RFC 8259, read and written back. Half a pair of surrogates in a string means nothing that
// could be told beforehand; such a string is only kept.
#include "fuzz.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "volumes/volume_array.hpp"

namespace VeskFuzz
{
namespace
{

using VESK::Systemd::VolumeArray;
using VESK::Systemd::VolumeElement;
using VESK::Systemd::VolumeElements;

// One function for each rule of the grammar: the text behind what the rule takes, nothing when it takes nothing.
using Rest = std::optional<std::string_view>;

Rest Value(std::string_view text);

std::string_view SkipBlanks(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t\r\n");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

Rest Word(std::string_view text, std::string_view word)
{
    return text.substr(0, word.size()) == word ? Rest(text.substr(word.size())) : std::nullopt;
}

Rest Digits(std::string_view text)
{
    const size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    return end == 0 ? std::nullopt : Rest(text.substr(end));
}

Rest Number(std::string_view text)
{
    if (text.substr(0, 1) == "-") {
        text.remove_prefix(1);
    }
    Rest rest = text.substr(0, 1) == "0" ? text.substr(1) : Digits(text);
    if (rest && rest->substr(0, 1) == ".") {
        rest = Digits(rest->substr(1));
    }
    if (rest && (rest->substr(0, 1) == "e" || rest->substr(0, 1) == "E")) {
        rest->remove_prefix(1);
        if (rest->substr(0, 1) == "+" || rest->substr(0, 1) == "-") {
            rest->remove_prefix(1);
        }
        rest = Digits(*rest);
    }
    return rest;
}

Rest String(std::string_view text)
{
    if (text.substr(0, 1) != "\"") {
        return std::nullopt;
    }
    for (text.remove_prefix(1); !text.empty(); text.remove_prefix(1)) {
        if (text[0] == '"') {
            return text.substr(1);
        }
        if (static_cast<unsigned char>(text[0]) < ' ') {
            return std::nullopt;
        }
        if (text[0] != '\\') {
            continue;
        }
        text.remove_prefix(1);
        if (text.empty() || std::string_view("\"\\/bfnrtu").find(text[0]) == std::string_view::npos) {
            return std::nullopt;
        }
        if (text[0] == 'u') {
            const std::string_view digits = text.substr(1, 4);
            if (digits.size() != 4 ||
                digits.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos) {
                return std::nullopt;
            }
            text.remove_prefix(4);
        }
    }
    return std::nullopt;
}

// "item, item, item" up to the closing bracket.
template <typename Item>
Rest Bracket(std::string_view text, char closing, Item&& item)
{
    text = SkipBlanks(text);
    if (!text.empty() && text[0] == closing) {
        return text.substr(1);
    }
    for (;;) {
        const Rest rest = item(SkipBlanks(text));
        if (!rest) {
            return std::nullopt;
        }
        text = SkipBlanks(*rest);
        if (text.empty() || (text[0] != ',' && text[0] != closing)) {
            return std::nullopt;
        }
        const bool isLast = text[0] == closing;
        text.remove_prefix(1);
        if (isLast) {
            return text;
        }
    }
}

Rest Member(std::string_view text)
{
    const Rest name = String(text);
    const Rest colon = name ? Word(SkipBlanks(*name), ":") : std::nullopt;
    return colon ? Value(SkipBlanks(*colon)) : std::nullopt;
}

Rest Value(std::string_view text)
{
    switch (text.empty() ? '\0' : text[0]) {
    case '[':
        return Bracket(text.substr(1), ']', Value);
    case '{':
        return Bracket(text.substr(1), '}', Member);
    case '"':
        return String(text);
    case 't':
        return Word(text, "true");
    case 'f':
        return Word(text, "false");
    case 'n':
        return Word(text, "null");
    default:
        return Number(text);
    }
}

std::string Utf8(uint32_t code)
{
    const auto byte = [](uint32_t bits) { return static_cast<char>(static_cast<unsigned char>(bits)); };
    if (code < 0x80) {
        return {byte(code)};
    }
    if (code < 0x800) {
        return {byte(0xC0 | code >> 6), byte(0x80 | (code & 0x3F))};
    }
    if (code < 0x10000) {
        return {byte(0xE0 | code >> 12), byte(0x80 | (code >> 6 & 0x3F)), byte(0x80 | (code & 0x3F))};
    }
    return {byte(0xF0 | code >> 18), byte(0x80 | (code >> 12 & 0x3F)), byte(0x80 | (code >> 6 & 0x3F)),
            byte(0x80 | (code & 0x3F))};
}

uint32_t CodeOf(const std::string& digits)
{
    return static_cast<uint32_t>(std::stoul(digits, nullptr, 16));
}

// What a string that follows the grammar means; nothing for half a pair of surrogates.
std::optional<std::string> Meaning(const std::string& text)
{
    constexpr std::string_view kEscapes = "\"\\/bfnrt";
    constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
    std::string meaning;
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        if (text[i] != '\\') {
            meaning += text[i];
            continue;
        }
        ++i;
        if (text[i] != 'u') {
            meaning += kMeanings[kEscapes.find(text[i])];
            continue;
        }
        uint32_t code = CodeOf(text.substr(i + 1, 4));
        i += 4;
        if (code >= 0xD800 && code < 0xDC00 && text.substr(i + 1, 2) == "\\u") {
            const uint32_t low = CodeOf(text.substr(i + 3, 4));
            if (low < 0xDC00 || low > 0xDFFF) {
                return std::nullopt;
            }
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
            i += 6;
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            return std::nullopt;
        }
        meaning += Utf8(code);
    }
    return meaning;
}

// The texts of the elements of an array that follows the grammar.
Texts ElementsOf(std::string_view array)
{
    Texts elements;
    Bracket(array.substr(1), ']', [&](std::string_view text) {
        const Rest rest = Value(text);
        elements.emplace_back(text.substr(0, text.size() - rest->size()));
        return rest;
    });
    return elements;
}

Texts TextsOf(const VolumeElements& elements)
{
    Texts texts;
    for (const VolumeElement& element : elements) {
        texts.push_back(element.strText);
    }
    return texts;
}

void RequireMeanings(const VolumeElements& elements)
{
    for (const VolumeElement& element : elements) {
        const std::string& text = element.strText;
        const bool isString = text[0] == '"';
        const auto meaning = isString ? Meaning(text) : std::nullopt;
        Require(isString || !element.blString, "nothing else is a string");
        if (meaning) {
            Require(element.blString, "a string is one");
            RequireSame(element.strVolume, BeforeZero(*meaning), "what a string means");
        }
    }
}

void FuzzArray(const VolumeElements& elements, const std::string& name)
{
    VolumeElements all = elements;
    all.push_back(VESK::Systemd::VolumeElementMake(name));
    VolumeElements again;
    Require(VolumeArrayParse(VolumeArrayText(all), again) == VolumeArray::Read, "what is written reads back");
    RequireSame(TextsOf(again), TextsOf(all), "every element byte for byte");
    Require(again.back().blString, "a name is a string");
    RequireSame(again.back().strVolume, BeforeZero(name), "a name means itself");
}

} // namespace

void Fuzz(std::string_view input)
{
    const std::string_view text = input.substr(0, 3) == "\xEF\xBB\xBF" ? input.substr(3) : input;
    const std::string_view begin = SkipBlanks(text);
    const Rest rest = Value(begin);
    const bool isJson = rest && SkipBlanks(*rest).empty();
    const bool isArray = isJson && begin[0] == '[';

    VolumeElements elements;
    const VolumeArray result = VESK::Systemd::VolumeArrayParse(input, elements);
    Require((result != VolumeArray::NotJson) == isJson, "JSON is what RFC 8259 allows");
    Require((result == VolumeArray::Read) == isArray, "an array is read, and nothing else");
    RequireSame(TextsOf(elements), isArray ? ElementsOf(begin) : Texts(), "the elements");
    RequireMeanings(elements);
    FuzzArray(elements, std::string(input));
}

} // namespace VeskFuzz
