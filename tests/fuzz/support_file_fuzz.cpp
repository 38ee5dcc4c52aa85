// The platform's support file: a line with the feature's name, then the file.
#include "fuzz.hpp"

#include <veskcore.h>

#include "read_file.h"

namespace
{

std::string_view supportFile;

} // namespace

int VESK::Platform::ReadFile(const char* path, std::string& content)
{
    VeskFuzz::RequireSame(path, "/usr/vesk/etc/vesk-support.conf", "the file");
    content = supportFile;
    return 0;
}

namespace VeskFuzz
{

void Fuzz(std::string_view input)
{
    const std::string line(TakeLine(input));
    const std::string name = line.c_str();
    supportFile = input;

    bool isSupported = false;
    for (std::string text : Cut(input, '\n')) {
        while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r')) {
            text.pop_back();
        }
        isSupported = isSupported || text == name + "=yes";
    }
    Require(VLIBCSupportGet(line.c_str()) == (!name.empty() && isSupported ? 1 : 0),
            "a line says yes, or not");
}

} // namespace VeskFuzz
