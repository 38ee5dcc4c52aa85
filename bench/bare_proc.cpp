#include "bare_proc.hpp"

#include <array>
#include <cctype>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace VeskBench
{

namespace
{

std::array<char, size_t{64} * 1024> text;

using Folder = std::unique_ptr<DIR, int (*)(DIR*)>;

// The path of a process's file, relative to /proc.
class ProcessPath
{
public:
    explicit ProcessPath(const char* pid)
    {
        m_length = std::snprintf(m_path.data(), m_path.size(), "%s/", pid);
    }

    const char* Of(const char* file)
    {
        std::snprintf(m_path.data() + m_length, m_path.size() - static_cast<size_t>(m_length), "%s", file);
        return m_path.data();
    }

private:
    std::array<char, 64> m_path{};
    int m_length = 0;
};

void ReadLink(int folder, const char* path, Read& read)
{
    read.links += readlinkat(folder, path, text.data(), PATH_MAX) > 0 ? 1 : 0;
}

void ReadFile(int folder, const char* path, Read& all)
{
    const int file = openat(folder, path, O_RDONLY | O_CLOEXEC);
    for (ssize_t count = 0; (count = read(file, text.data(), text.size())) > 0;) {
        all.bytes += static_cast<size_t>(count);
    }
    close(file);
}

template <typename Action>
void ForEachEntry(int at, const char* path, Action action)
{
    const int number = openat(at, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const Folder folder(number < 0 ? nullptr : fdopendir(number), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        if (entry->d_name[0] != '.') {
            action(number, entry->d_name);
        }
    }
}

void ReadProcess(int proc, const char* pid, Read& read)
{
    ProcessPath path(pid);
    ++read.processes;
    ReadLink(proc, path.Of("cwd"), read);
    ReadLink(proc, path.Of("exe"), read);
    ForEachEntry(proc, path.Of("fd"),
                 [&](int folder, const char* number) { ReadLink(folder, number, read); });
    ReadFile(proc, path.Of("maps"), read);
}

} // namespace

Read ReadAllProcesses()
{
    Read read;
    ForEachEntry(AT_FDCWD, "/proc", [&](int proc, const char* entry) {
        if (std::isdigit(static_cast<unsigned char>(*entry)) != 0) {
            ReadProcess(proc, entry, read);
        }
    });
    return read;
}

Read ReadForSample(pid_t pid)
{
    Read read;
    ProcessPath path(("/proc/" + std::to_string(pid)).c_str());
    ReadLink(AT_FDCWD, path.Of("exe"), read);
    for (const char* file : {"stat", "smaps", "io"}) {
        ReadFile(AT_FDCWD, path.Of(file), read);
    }
    ReadFile(AT_FDCWD, "/proc/stat", read);
    return read;
}

} // namespace VeskBench
