#include "child_code.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#ifndef SYS_close_range
#    define SYS_close_range 436
#endif

namespace VESK::Platform
{
namespace
{

constexpr int kFirst = STDERR_FILENO + 1;

/** What getdents64 writes, up to the name. */
struct DirectoryEntry {
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t length;
    std::uint8_t type;
    char name[1];
};

/** The number that a directory entry's name spells, -1 for "." and "..". */
VESK_CHILD_CODE int DescriptorOf(const char* name)
{
    if (*name < '0' || *name > '9') {
        return -1;
    }
    int number = 0;
    for (; *name >= '0' && *name <= '9'; ++name) {
        number = number * 10 + (*name - '0');
    }
    return number;
}

VESK_CHILD_CODE void CloseListed(const char* entries, std::size_t size, int directory)
{
    for (std::size_t at = 0; at < size;) {
        const void* place = entries + at;
        const auto* entry = static_cast<const DirectoryEntry*>(place);
        const int number = DescriptorOf(entry->name);
        if (number >= kFirst && number != directory) {
            syscall(SYS_close, number);
        }
        at += entry->length;
    }
}

/** For kernels before 5.9, which have no close_range. */
VESK_CHILD_CODE int CloseThroughProc()
{
    // Makes room for the directory, should the table be full.
    syscall(SYS_close, kFirst);
    const long directory =
        syscall(SYS_openat, AT_FDCWD, "/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (directory < 0) {
        return errno;
    }
    alignas(DirectoryEntry) char entries[2048];
    long size = 0;
    while ((size = syscall(SYS_getdents64, directory, entries, sizeof entries)) > 0) {
        CloseListed(entries, static_cast<std::size_t>(size), static_cast<int>(directory));
    }
    const int error = size < 0 ? errno : 0;
    syscall(SYS_close, directory);
    return error;
}

} // namespace

int CloseDescriptorsAboveStandard()
{
    if (syscall(SYS_close_range, static_cast<unsigned>(kFirst), ~0U, 0U) == 0) {
        return 0;
    }
    return CloseThroughProc();
}

} // namespace VESK::Platform
