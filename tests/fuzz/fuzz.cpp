#include "fuzz.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <syslog.h>

namespace VeskFuzz
{
namespace
{

std::string QuotedList(const Texts& texts)
{
    std::string result = "{";
    for (const std::string& text : texts) {
        result += (result.size() > 1 ? ", " : "") + Quoted(text);
    }
    return result + "}";
}

[[noreturn]] void Report(const char* what, const std::string& actual, const std::string& expected)
{
    (void)std::fprintf(stderr, "FINDING: %s\n  actual:   %s\n  expected: %s\n", what, actual.c_str(),
                       expected.c_str());
    std::abort();
}

} // namespace

void Require(bool holds, const char* what)
{
    if (!holds) {
        Report(what, "no", "yes");
    }
}

std::string Quoted(std::string_view text)
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < ' ' || byte > '~' || character == '\\' || character == '"') {
            result.append("\\x").append(1, kDigits[byte >> 4U]).append(1, kDigits[byte & 0xFU]);
        } else {
            result += character;
        }
    }
    return result + "\"";
}

void RequireSame(const std::string& actual, const std::string& expected, const char* what)
{
    if (actual != expected) {
        Report(what, Quoted(actual), Quoted(expected));
    }
}

void RequireSame(const Texts& actual, const Texts& expected, const char* what)
{
    if (actual != expected) {
        Report(what, QuotedList(actual), QuotedList(expected));
    }
}

void RequireSame(unsigned long long actual, unsigned long long expected, const char* what)
{
    if (actual != expected) {
        Report(what, std::to_string(actual), std::to_string(expected));
    }
}

std::string_view TakeLine(std::string_view& input)
{
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(line.size() == input.size() ? line.size() : line.size() + 1);
    return line;
}

std::string BeforeZero(std::string_view text)
{
    return std::string(text.substr(0, text.find('\0')));
}

Texts Cut(std::string_view text, char separator)
{
    Texts pieces(1);
    for (const char character : text) {
        if (character == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += character;
        }
    }
    return pieces;
}

Texts CutBehindLineFeeds(std::string_view text)
{
    Texts lines = Cut(text, '\n');
    for (std::string& line : lines) {
        line += '\n';
    }
    lines.back().pop_back();
    if (lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

std::string Stripped(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string()
               : std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

} // namespace VeskFuzz

// What is found on the way is not to end up in the machine's log.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    setlogmask(LOG_MASK(LOG_DEBUG));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    VeskFuzz::Fuzz(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}
