#include "proc_spy.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "descriptor.hpp"
#include "next_function.hpp"

namespace VeskTest
{

namespace
{

ProcSpy* currentSpy = nullptr;

int TextOpened(const std::string& text)
{
    const int descriptor = memfd_create("shown", MFD_CLOEXEC);
    VeskGround::WriteAll(descriptor, text, "a shown file");
    lseek(descriptor, 0, SEEK_SET);
    return descriptor;
}

} // namespace

ProcSpy::ProcSpy()
{
    currentSpy = this;
}

ProcSpy::~ProcSpy()
{
    currentSpy = nullptr;
}

std::vector<std::string> ProcSpy::TakeOpened()
{
    return std::exchange(m_opened, {});
}

void ProcSpy::Show(const std::string& path, const std::string& text)
{
    Replace(path, [text] { return TextOpened(text); });
}

void ProcSpy::Hide(const std::string& path)
{
    Fail(path, ENOENT);
}

void ProcSpy::Fail(const std::string& path, int error)
{
    m_errors[path] = error;
}

void ProcSpy::FailReading(const std::string& path, int error)
{
    Replace(path, [this, error] {
        const int descriptor = TextOpened("");
        m_unreadable[descriptor] = error;
        return descriptor;
    });
}

void ProcSpy::Replace(const std::string& path, std::function<int()> open)
{
    m_replaced[path] = std::move(open);
}

void ProcSpy::Before(const std::string& path, std::function<void()> action)
{
    m_before[path] = std::move(action);
}

void ProcSpy::BeforeProcess(const std::string& entry, std::function<void()> action)
{
    m_beforeProcess[entry] = std::move(action);
}

void ProcSpy::Run(const Actions& actions, const std::string& name)
{
    const auto it = actions.find(name);
    if (it != actions.end()) {
        it->second();
    }
}

bool ProcSpy::Fails(const std::string& path) const
{
    const auto it = m_errors.find(path);
    if (it != m_errors.end()) {
        errno = it->second;
    }
    return it != m_errors.end();
}

bool ProcSpy::Open(const std::string& path, int& descriptor)
{
    if (path.rfind("/proc/", 0) == 0) {
        m_opened.push_back(path);
    }
    Run(m_before, path);
    if (Fails(path)) {
        descriptor = -1;
        return true;
    }
    const auto it = m_replaced.find(path);
    if (it == m_replaced.end()) {
        return false;
    }
    descriptor = it->second();
    return true;
}

bool ProcSpy::FailsReading(int descriptor)
{
    const auto it = m_unreadable.find(descriptor);
    if (it == m_unreadable.end()) {
        return false;
    }
    errno = it->second;
    // The number may soon be that of another file.
    m_unreadable.erase(it);
    return true;
}

bool ProcSpy::FailsAsking()
{
    if (m_askingError == 0 || m_askingLeft-- > 0) {
        return false;
    }
    errno = m_askingError;
    return true;
}

bool ProcSpy::FailsOnce(const std::string& call)
{
    const auto it = m_failingOnce.find(call);
    if (it == m_failingOnce.end()) {
        return false;
    }
    errno = it->second;
    m_failingOnce.erase(it);
    return true;
}

bool ProcSpy::OpenFolder(const std::string& path)
{
    Run(m_before, path);
    return !Fails(path);
}

void ProcSpy::FolderIsOpen(const std::string& path, const DIR* folder)
{
    // The list of processes may be closed, and another folder be in its place.
    if (path == "/proc/" || folder == m_processes) {
        m_processes = path == "/proc/" ? folder : nullptr;
    }
    m_broken.erase(folder);
    const auto it = m_breaking.find(path);
    if (it != m_breaking.end()) {
        m_broken[folder] = it->second;
    }
}

dirent* ProcSpy::Read(DIR* folder, const std::function<dirent*()>& read)
{
    const auto it = m_broken.find(folder);
    if (it != m_broken.end()) {
        errno = it->second;
        return nullptr;
    }
    if (folder != m_processes) {
        return read();
    }
    if (!m_added.empty()) {
        std::snprintf(m_entry.d_name, sizeof m_entry.d_name, "%s", std::exchange(m_added, "").c_str());
        return &m_entry;
    }
    dirent* entry = read();
    if (entry != nullptr) {
        Run(m_beforeProcess, entry->d_name);
    } else {
        m_processes = nullptr;
    }
    return entry;
}

} // namespace VeskTest

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones
extern "C" {

[[gnu::visibility("default")]] int open(const char* path, int flags, ...)
{
    static const auto real = VeskTest::NextFunction<int(const char*, int, ...)>("open");
    std::va_list arguments;
    va_start(arguments, flags);
    // There may be none; nobody looks at it then.
    const auto mode = va_arg(arguments, unsigned);
    va_end(arguments);
    int descriptor = -1;
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    return spy != nullptr && spy->Open(path, descriptor) ? descriptor : real(path, flags, mode);
}

[[gnu::visibility("default")]] ssize_t read(int descriptor, void* buffer, size_t size)
{
    static const auto real = VeskTest::NextFunction<ssize_t(int, void*, size_t)>("read");
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    return spy != nullptr && spy->FailsReading(descriptor) ? -1 : real(descriptor, buffer, size);
}

[[gnu::visibility("default")]] DIR* opendir(const char* name)
{
    static const auto real = VeskTest::NextFunction<DIR*(const char*)>("opendir");
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    if (spy != nullptr && !spy->OpenFolder(name)) {
        return nullptr;
    }
    DIR* folder = real(name);
    if (spy != nullptr) {
        spy->FolderIsOpen(name, folder);
    }
    return folder;
}

[[gnu::visibility("default")]] dirent* readdir(DIR* folder)
{
    static const auto real =
        VeskTest::NextFunction<dirent*(DIR*)>(VeskTest::WideName("readdir", "readdir64"));
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    return spy != nullptr ? spy->Read(folder, [folder] { return real(folder); }) : real(folder);
}

[[gnu::visibility("default")]] char* realpath(const char* path, char* resolved) noexcept
{
    static const auto real = VeskTest::NextFunction<char*(const char*, char*)>("realpath");
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    const bool fails = spy != nullptr && spy->FailsOnce(std::string("realpath ") + path);
    return fails ? nullptr : real(path, resolved);
}

// As the library calls it where it is built with checks of its buffers.
[[gnu::visibility("default")]] char* __realpath_chk(const char* path, char* resolved, size_t) noexcept
{
    return realpath(path, resolved);
}

[[gnu::visibility("default")]] int lstat(const char* path, struct stat* status) noexcept
{
    static const auto real = VeskTest::NextFunction<int(const char*, struct stat*)>(
        VeskTest::WideName("lstat", "__lstat64_time64"));
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    const bool fails = spy != nullptr && spy->FailsOnce(std::string("lstat ") + path);
    return fails ? -1 : real(path, status);
}

[[gnu::visibility("default")]] int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    static const auto real = VeskTest::NextFunction<int(int, unsigned long, ...)>("ioctl");
    std::va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    return spy != nullptr && spy->FailsAsking() ? -1 : real(descriptor, request, argument);
}

[[gnu::visibility("default")]] int stat(const char* path, struct stat* status) noexcept
{
    static const auto real =
        VeskTest::NextFunction<int(const char*, struct stat*)>(VeskTest::WideName("stat", "__stat64_time64"));
    VeskTest::ProcSpy* spy = VeskTest::currentSpy;
    const bool fails = spy != nullptr && spy->FailsOnce(std::string("stat ") + path);
    return fails ? -1 : real(path, status);
}
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
