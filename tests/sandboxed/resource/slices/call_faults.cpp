#include "call_faults.hpp"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <veskcore.h>

#include "next_function.hpp"

namespace VeskTest
{

namespace
{

// Looked at from the first call of the program on, before anything is constructed.
struct Faults {
    const std::string* openEnding = nullptr;
    const std::function<int()>* onOpen = nullptr;
    int readError = 0;
    int failingReads = 0;
    bool printingFails = false;
    bool closingFails = false;
    const std::function<void(const std::string&)>* onKey = nullptr;
    int workingPushes = -1;
    bool watching = false;
    int files = 0;
    int inherited = 0;
};
Faults faults;

// What an OpenFault and a KeyReading, one at a time, have been made with.
std::string openEnding;
std::function<int()> onOpen;
std::function<void(const std::string&)> onKey;

bool IsFaulty(std::string_view path)
{
    return faults.onOpen != nullptr && path.size() >= faults.openEnding->size() &&
           path.substr(path.size() - faults.openEnding->size()) == *faults.openEnding;
}

void Watch(bool inherited)
{
    if (faults.watching) {
        ++faults.files;
        faults.inherited += inherited ? 1 : 0;
    }
}

int FailedOpen()
{
    errno = (*faults.onOpen)();
    return -1;
}

[[gnu::format(printf, 2, 0)]] int Print(FILE* stream, const char* format, va_list arguments)
{
    if (faults.printingFails) {
        errno = ENOSPC;
        return -1;
    }
    return vfprintf(stream, format, arguments);
}

} // namespace

OpenFault::OpenFault(std::string ending, std::function<int()> action)
{
    openEnding = std::move(ending);
    onOpen = std::move(action);
    faults.openEnding = &openEnding;
    faults.onOpen = &onOpen;
}

OpenFault::~OpenFault()
{
    faults.onOpen = nullptr;
}

ReadFault::ReadFault(int error, int times)
{
    faults.readError = error;
    faults.failingReads = times;
}

ReadFault::~ReadFault()
{
    faults.failingReads = 0;
}

StreamFault::StreamFault(Closing closing)
{
    faults.printingFails = true;
    faults.closingFails = closing == Closing::Fails;
}

StreamFault::~StreamFault()
{
    faults.printingFails = false;
    faults.closingFails = false;
}

InheritanceWatch::InheritanceWatch()
{
    faults.files = 0;
    faults.inherited = 0;
    faults.watching = true;
}

InheritanceWatch::~InheritanceWatch()
{
    faults.watching = false;
}

int InheritanceWatch::Files()
{
    return faults.files;
}

int InheritanceWatch::Inherited()
{
    return faults.inherited;
}

PushFault::PushFault(int working)
{
    faults.workingPushes = working;
}

PushFault::~PushFault()
{
    faults.workingPushes = -1;
}

KeyReading::KeyReading(std::function<void(const std::string&)> action)
{
    onKey = std::move(action);
    faults.onKey = &onKey;
}

KeyReading::~KeyReading()
{
    faults.onKey = nullptr;
}

} // namespace VeskTest

using VeskTest::faults;

// In place of the libraries' own, for which they have to be seen.
#pragma GCC visibility push(default)
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,cert-dcl37-c): the headers' own names

extern "C" {

int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (VeskTest::IsFaulty(path)) {
        return VeskTest::FailedOpen();
    }
    VeskTest::Watch((flags & O_CLOEXEC) == 0);
    static const auto real = VeskTest::NextFunction<int(const char*, int, ...)>("open");
    return real(path, flags, mode);
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    if (faults.failingReads > 0) {
        --faults.failingReads;
        errno = faults.readError;
        return -1;
    }
    static const auto real = VeskTest::NextFunction<ssize_t(int, void*, size_t)>("read");
    return real(descriptor, buffer, size);
}

int fprintf(FILE* stream, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = VeskTest::Print(stream, format, arguments);
    va_end(arguments);
    return result;
}

[[gnu::format(printf, 3, 4)]] int __fprintf_chk(FILE* stream, int /*flag*/, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int result = VeskTest::Print(stream, format, arguments);
    va_end(arguments);
    return result;
}

int fclose(FILE* stream)
{
    static const auto real = VeskTest::NextFunction<int(FILE*)>("fclose");
    VeskTest::Watch((fcntl(fileno(stream), F_GETFD) & FD_CLOEXEC) == 0);
    const int result = real(stream);
    return faults.closingFails ? EOF : result;
}

int VLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* buffer, int size)
{
    if (faults.onKey != nullptr) {
        (*faults.onKey)(key);
    }
    static const auto real =
        VeskTest::NextFunction<decltype(VLIBCFileGetSectionValue)>("VLIBCFileGetSectionValue");
    return real(path, section, key, buffer, size);
}

int VLIBCSzListPush(VLIBCSzList** list, const char* text)
{
    static const auto real = VeskTest::NextFunction<decltype(VLIBCSzListPush)>("VLIBCSzListPush");
    if (faults.workingPushes == 0) {
        return -1;
    }
    faults.workingPushes -= faults.workingPushes > 0 ? 1 : 0;
    return real(list, text);
}

} // extern "C"

// NOLINTEND(readability-inconsistent-declaration-parameter-name,cert-dcl37-c)
#pragma GCC visibility pop
