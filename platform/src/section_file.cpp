#include "guard.h"
#include "read_file.h"
#include "replace_file.h"
#include "sz_hash.h"
#include "unit_text.h"
#include "veskcore.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>

using VESK::Platform::Fail;
using VESK::Platform::FileReplacement;
using VESK::Platform::FindSectionValue;
using VESK::Platform::Guarded;
using VESK::Platform::IsWritableSection;
using VESK::Platform::ReadFile;
using VESK::Platform::ReplaceSection;

namespace
{

constexpr int kNoSuchKey = 1;

bool IsEmpty(const char* text)
{
    return text == nullptr || *text == '\0';
}

void CopyCut(const std::string& value, char* buffer, int size)
{
    const auto length = std::min(value.size(), static_cast<std::size_t>(size) - 1);
    value.copy(buffer, length);
    buffer[length] = '\0';
}

int FailWith(int error, int code, int line = __builtin_LINE())
{
    errno = error;
    return Fail(-1, code, __builtin_FILE(), line);
}

} // namespace

int VLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* buffer, int size)
{
    return Guarded(-1, [=] {
        if (IsEmpty(path) || IsEmpty(section) || IsEmpty(key) || buffer == nullptr || size <= 0) {
            return Fail(-1, VLIBC_ERR_ARGUMENT);
        }
        std::string text;
        const int error = ReadFile(path, text);
        if (error != 0) {
            return FailWith(error, VLIBC_ERR_OPEN);
        }
        const auto value = FindSectionValue(text, section, key);
        if (!value) {
            return kNoSuchKey;
        }
        CopyCut(*value, buffer, size);
        return 0;
    });
}

int VLIBCFileAddSection(const char* path, const char* section, VLIBCSzHash* hash, int flags)
{
    return Guarded(-1, [=] {
        if (IsEmpty(path) || IsEmpty(section) || hash == nullptr || flags != 0 ||
            !IsWritableSection(section, hash->values)) {
            return Fail(-1, VLIBC_ERR_ARGUMENT);
        }
        FileReplacement file(path);
        std::string text;
        int error = file.ReadCurrent(text);
        if (error != 0) {
            return FailWith(error, VLIBC_ERR_OPEN);
        }
        error = file.Replace(ReplaceSection(text, section, hash->values));
        return error == 0 ? 0 : FailWith(error, VLIBC_ERR_WRITE);
    });
}
