#include "error_record.h"

#include "veskcore.h"

#include <climits>
#include <cstddef>
#include <cstring>

namespace
{

struct ErrorRecord {
    int code;
    int line;
    char file[PATH_MAX];
};

thread_local ErrorRecord record{};

} // namespace

void VLIBCErrSetEx(int code, const char* file, int line)
{
    const char* text = file != nullptr ? file : "";
    const std::size_t length = strnlen(text, sizeof record.file - 1);
    // The text may be the record's own, handed back.
    std::memmove(record.file, text, length);
    record.file[length] = '\0';
    record.code = code;
    record.line = line;
}

int VLIBCErrGet(void)
{
    return record.code;
}

const char* VLIBCErrorGetFile(void)
{
    return record.file;
}

int VLIBCErrorGetLine(void)
{
    return record.line;
}

namespace VESK::Platform
{

void SetError(int code, const char* file, int line)
{
    const char* slash = std::strrchr(file, '/');
    VLIBCErrSetEx(code, slash != nullptr ? slash + 1 : file, line);
}

} // namespace VESK::Platform
