#include "guard.h"
#include "read_file.h"
#include "veskcore.h"

#include <cerrno>
#include <string>
#include <string_view>

using VESK::Platform::Fail;
using VESK::Platform::Guarded;
using VESK::Platform::ReadFile;

namespace
{

constexpr const char* kSupportFile = "/usr/vesk/etc/vesk-support.conf";

std::string_view WithoutTrailingBlanks(std::string_view line)
{
    const auto last = line.find_last_not_of(" \t\r");
    return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

bool HasLine(std::string_view text, std::string_view wanted)
{
    while (!text.empty()) {
        const auto end = text.find('\n');
        if (WithoutTrailingBlanks(text.substr(0, end)) == wanted) {
            return true;
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return false;
}

} // namespace

int VLIBCSupportGet(const char* name)
{
    return Guarded(0, [=] {
        if (name == nullptr || *name == '\0') {
            return Fail(0, VLIBC_ERR_ARGUMENT);
        }
        std::string text;
        const int error = ReadFile(kSupportFile, text);
        if (error == ENOENT) {
            // A system without the file has no optional features, which is no failure.
            return 0;
        }
        if (error != 0) {
            errno = error;
            return Fail(0, VLIBC_ERR_OPEN);
        }
        return HasLine(text, std::string(name) + "=yes") ? 1 : 0;
    });
}
