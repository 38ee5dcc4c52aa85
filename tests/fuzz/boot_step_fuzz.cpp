// The boot step: blanks, digits, blanks.
#include "fuzz.hpp"

#include <algorithm>
#include <climits>
#include <regex>
#include <veskbootseq.h>

#include "read_file.h"

namespace
{

std::string_view stepFile;

} // namespace

int VESK::Platform::ReadFile(const char* path, std::string& content)
{
    VeskFuzz::RequireSame(path, "/run/veskbootseq/step", "the file");
    content = stepFile;
    return 0;
}

namespace VeskFuzz
{
namespace
{

int StepOf(const std::string& text)
{
    static const std::regex kForm("[ \t\r\n]*0*([0-9]{1,10})[ \t\r\n]*");
    std::smatch match;
    if (!std::regex_match(text, match, kForm)) {
        return -1;
    }
    const long long step = std::stoll(match[1]);
    return step > INT_MAX ? -1 : static_cast<int>(step);
}

} // namespace

void Fuzz(std::string_view input)
{
    // std::regex takes a level of the stack for each character.
    stepFile = input.substr(0, 500);
    const std::string text(stepFile);
    Require(VESKSystemGetBootStep() == StepOf(text), "the step");
}

} // namespace VeskFuzz
