#include "file_calls.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "next_function.hpp"

namespace VeskTest
{

namespace
{

FileCalls* current = nullptr;

bool IsOfRegistry(const std::string& path)
{
    return path.rfind("/usr/vesk/", 0) == 0 || path.rfind("/var/packages/", 0) == 0;
}

std::string PathOf(int descriptor)
{
    std::array<char, PATH_MAX> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    return {path.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

// What the call fails with, if it does. The object is out of the way while it looks at a call.
std::optional<int> Failure(const std::string& name, const std::string& path, const std::string& target = "")
{
    if (current == nullptr || !IsOfRegistry(path)) {
        return std::nullopt;
    }
    FileCalls* calls = std::exchange(current, nullptr);
    const int error = calls->Judge(name + " " + path + target);
    current = calls;
    return error != 0 ? std::optional<int>(error) : std::nullopt;
}

// Only where it is asked for: what is opened is closed, in an order that tells nothing.
bool FailsToClose(const std::string& path)
{
    return current != nullptr && current->IsToFail("close " + path);
}

int FailWith(int error)
{
    errno = error;
    return -1;
}

} // namespace

FileCalls::FileCalls()
{
    current = this;
}

FileCalls::~FileCalls()
{
    current = nullptr;
}

std::vector<std::string> FileCalls::Take()
{
    return std::exchange(m_calls, {});
}

void FileCalls::Fail(const std::string& call, const std::vector<int>& errors)
{
    m_errors[call] = errors;
}

int FileCalls::Judge(const std::string& call)
{
    m_calls.push_back(call);
    if (m_before) {
        m_before(call);
    }
    std::vector<int>& errors = m_errors[call];
    if (errors.empty()) {
        return 0;
    }
    const int error = errors.front();
    errors.erase(errors.begin());
    return error;
}

} // namespace VeskTest

using VeskTest::Failure;
using VeskTest::FailWith;

// In place of the C library's own, for which they have to be seen.
#pragma GCC visibility push(default)
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones

extern "C" {

int open(const char* path, int flags, ...)
{
    static const auto real = VeskTest::NextFunction<int(const char*, int, mode_t)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const auto failure = Failure("open", path);
    return failure ? FailWith(*failure) : real(path, flags, mode);
}

ssize_t write(int descriptor, const void* bytes, size_t count)
{
    static const auto real = VeskTest::NextFunction<decltype(write)>("write");
    if (VeskTest::current == nullptr) {
        return real(descriptor, bytes, count);
    }
    const std::string path = VeskTest::PathOf(descriptor);
    const auto failure = Failure("write", path);
    const std::size_t most = VeskTest::IsOfRegistry(path) ? VeskTest::current->Most() : count;
    return failure ? FailWith(*failure) : real(descriptor, bytes, std::min(count, most));
}

int fsync(int descriptor)
{
    static const auto real = VeskTest::NextFunction<decltype(fsync)>("fsync");
    const auto failure = Failure("sync", VeskTest::PathOf(descriptor));
    return failure ? FailWith(*failure) : real(descriptor);
}

int close(int descriptor)
{
    static const auto real = VeskTest::NextFunction<decltype(close)>("close");
    if (VeskTest::current == nullptr) {
        return real(descriptor);
    }
    const std::string path = VeskTest::PathOf(descriptor);
    const int result = real(descriptor);
    const auto failure = VeskTest::FailsToClose(path) ? Failure("close", path) : std::nullopt;
    return failure ? FailWith(*failure) : result;
}

int fchown(int descriptor, uid_t user, gid_t group) noexcept
{
    static const auto real = VeskTest::NextFunction<int(int, uid_t, gid_t)>("fchown");
    const auto failure = Failure("chown", VeskTest::PathOf(descriptor));
    return failure ? FailWith(*failure) : real(descriptor, user, group);
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    static const auto real = VeskTest::NextFunction<int(int, mode_t)>("fchmod");
    const auto failure = Failure("chmod", VeskTest::PathOf(descriptor));
    return failure ? FailWith(*failure) : real(descriptor, mode);
}

int rename(const char* from, const char* to) noexcept
{
    static const auto real = VeskTest::NextFunction<int(const char*, const char*)>("rename");
    const auto failure = Failure("rename", from, std::string(" ") + to);
    return failure ? FailWith(*failure) : real(from, to);
}

int unlink(const char* path) noexcept
{
    static const auto real = VeskTest::NextFunction<int(const char*)>("unlink");
    const auto failure = Failure("unlink", path);
    return failure ? FailWith(*failure) : real(path);
}

} // extern "C"

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
#pragma GCC visibility pop
