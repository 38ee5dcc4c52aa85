#include "write_fault.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace VeskTest
{
namespace
{

WriteSpy* currentSpy = nullptr;

std::string BaseName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

bool IsTemporary(const std::string& name)
{
    return name.rfind(".vesk-", 0) == 0;
}

std::string NameOf(const std::string& path)
{
    const std::string name = BaseName(path);
    return IsTemporary(name) ? "TMP" : name;
}

std::string NameOf(int descriptor)
{
    std::array<char, PATH_MAX> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size() - 1);
    return length < 0 ? "" : NameOf(std::string(path.data()));
}

/** The close() behind the one below: a sanitizer's own, where there is one, which must hear of every descriptor. */
int CloseFurtherOn(int descriptor)
{
    static const auto next = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    return next(descriptor);
}

} // namespace

WriteSpy::WriteSpy()
{
    currentSpy = this;
}

WriteSpy::~WriteSpy()
{
    currentSpy = nullptr;
}

void WriteSpy::Fail(const std::string& call, int error)
{
    m_failing = call;
    m_error = error;
}

int WriteSpy::Note(const std::string& call, int result)
{
    m_calls.push_back(call);
    if (call != m_failing) {
        return result;
    }
    errno = m_error;
    return -1;
}

} // namespace VeskTest

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones
extern "C" {

[[gnu::visibility("default")]] int fsync(int descriptor)
{
    const auto result = static_cast<int>(syscall(SYS_fsync, descriptor));
    VeskTest::WriteSpy* spy = VeskTest::currentSpy;
    return spy == nullptr ? result : spy->Note("fsync " + VeskTest::NameOf(descriptor), result);
}

[[gnu::visibility("default")]] int close(int descriptor)
{
    VeskTest::WriteSpy* spy = VeskTest::currentSpy;
    const std::string name = spy == nullptr ? "" : VeskTest::NameOf(descriptor);
    const int result = VeskTest::CloseFurtherOn(descriptor);
    return name == "TMP" ? spy->Note("close TMP", result) : result;
}

[[gnu::visibility("default")]] int rename(const char* from, const char* to) noexcept
{
    VeskTest::WriteSpy* spy = VeskTest::currentSpy;
    const auto result = static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
    return spy == nullptr
               ? result
               : spy->Note("rename " + VeskTest::NameOf(from) + " " + VeskTest::NameOf(to), result);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
