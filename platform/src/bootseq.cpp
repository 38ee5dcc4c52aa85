#include "veskbootseq.h"

#include "read_file.h"

#include <charconv>
#include <exception>
#include <string>
#include <string_view>

namespace
{

constexpr const char* kStepFile = "/run/veskbootseq/step";
constexpr int kNoStep = -1;
constexpr std::string_view kBlanks = " \t\r\n";

int ParseStep(std::string_view text)
{
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos || text[first] < '0' || text[first] > '9') {
        return kNoStep;
    }
    const char* begin = text.data() + first;
    const char* end = text.data() + text.find_last_not_of(kBlanks) + 1;
    int step = kNoStep;
    const auto [stop, error] = std::from_chars(begin, end, step);
    return error == std::errc() && stop == end ? step : kNoStep;
}

} // namespace

int VESKSystemGetBootStep(void)
{
    try {
        std::string text;
        return VESK::Platform::ReadFile(kStepFile, text) == 0 ? ParseStep(text) : kNoStep;
    } catch (const std::exception&) {
        return kNoStep;
    }
}
