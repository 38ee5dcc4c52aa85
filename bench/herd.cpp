#include "herd.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"
#include "files.hpp"
#include "mounts.hpp"

namespace VeskBench
{

namespace
{

using VeskGround::Require;

const std::string kFolder = "/tmp/herd";
constexpr int kLibraries = 60;
constexpr int kOwnFiles = 9;
constexpr int kSharedFiles = 6;
constexpr int kSocketPairs = 4;
constexpr int kLines = 130;
constexpr int kPagesOfLibrary = 5;
constexpr size_t kPage = 4096;
constexpr int kUserEvery = 100;

std::string Numbered(const std::string& name, int number)
{
    return name + std::to_string(number);
}

std::string Library(int number)
{
    return kFolder + Numbered("/lib/libservice", number % kLibraries) + ".so.1.2.3";
}

std::string Shared(int number)
{
    return kFolder + Numbered("/share/table", number);
}

std::string FolderOf(int process)
{
    return kFolder + Numbered("/data/service", process);
}

std::string Own(int process, int number)
{
    return FolderOf(process) + Numbered("/file", number);
}

std::string OnVolume(const std::string& volume, int process)
{
    return volume + Numbered("/file", process);
}

bool IsUser(int process)
{
    return process % kUserEvery == kUserEvery / 2;
}

const std::string& VolumeOf(const HerdFiles& files, int process)
{
    const auto& volumes = files.Volumes();
    return volumes[static_cast<size_t>(process / kUserEvery) % volumes.size()];
}

void Open(const std::string& path)
{
    Require(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644), "open", path);
}

void OpenChannels()
{
    std::array<int, 2> ends{};
    for (int number = 0; number < kSocketPairs; ++number) {
        Require(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), "make", "sockets");
    }
    Require(pipe(ends.data()), "make", "a pipe");
    Require(eventfd(0, 0), "make", "an event");
    Require(epoll_create1(0), "make", "a poll");
}

void OpenFiles(const HerdFiles& files, int process)
{
    close_range(0, ~0U, 0);
    for (int number = 0; number <= STDERR_FILENO; ++number) {
        Open("/dev/null");
    }
    for (int number = 0; number < kSharedFiles; ++number) {
        Open(Shared(number));
    }
    for (int number = 0; number < kOwnFiles - 1; ++number) {
        Open(Own(process, number));
    }
    Open(IsUser(process) ? OnVolume(VolumeOf(files, process), process) : Own(process, kOwnFiles - 1));
    OpenChannels();
}

// Allocates nothing, which would be another line.
int LinesOfMaps()
{
    std::array<char, kPage> text{};
    const VeskGround::Descriptor maps(open("/proc/self/maps", O_RDONLY));
    int lines = 0;
    for (ssize_t count = 0; (count = read(maps.Get(), text.data(), text.size())) > 0;) {
        lines += static_cast<int>(std::count(text.data(), text.data() + count, '\n'));
    }
    return lines;
}

char* Map(const std::string& path, int pages)
{
    const VeskGround::Descriptor file(open(path.c_str(), O_RDONLY));
    void* memory = mmap(nullptr, static_cast<size_t>(pages) * kPage, PROT_READ, MAP_PRIVATE, file.Get(), 0);
    if (memory == MAP_FAILED) {
        VeskGround::ThrowErrno("map", path);
    }
    return static_cast<char*>(memory);
}

// Five lines, as the loader makes of a library.
void MapLibrary(int number)
{
    char* memory = Map(Library(number), kPagesOfLibrary);
    Require(mprotect(memory + kPage, kPage, PROT_NONE), "protect", "a library");
    Require(mprotect(memory + 3 * kPage, kPage, PROT_READ | PROT_WRITE), "protect", "a library");
}

void MapFiles(int process)
{
    int lines = LinesOfMaps();
    for (int number = process; lines + kPagesOfLibrary <= kLines; number += 7) {
        MapLibrary(number);
        lines += kPagesOfLibrary;
    }
    for (int number = 0; lines < kLines; ++number, ++lines) {
        Map(number < kOwnFiles - 1 ? Own(process, number) : Shared(number % kSharedFiles), 1);
    }
}

[[noreturn]] void Hold(const HerdFiles& files, int process, int ready) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        MapFiles(process);
        const char done = LinesOfMaps() == kLines ? 1 : 0;
        Require(write(ready, &done, 1), "write to", "the pipe");
        OpenFiles(files, process);
    } catch (const std::exception& error) {
        VeskGround::PrintError(error.what());
        _exit(1);
    }
    while (true) {
        pause();
    }
}

// The pipe ends when the child has closed what it had, its end included, and has opened its own.
pid_t Add(const HerdFiles& files, int process)
{
    VeskGround::Pipe ready = VeskGround::MakePipe();
    const pid_t pid = Require(fork(), "fork for", "a process");
    if (pid == 0) {
        Hold(files, process, ready.write.Get());
    }
    ready.write.Close();
    char done = 0;
    if (read(ready.read.Get(), &done, 1) != 1 || done != 1) {
        throw std::runtime_error("a process does not have the mappings that it should");
    }
    return pid;
}

int Keep(const HerdFiles& files, int first, int count, int pids)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int process = first; process < first + count; ++process) {
        const pid_t pid = Add(files, process);
        Require(write(pids, &pid, sizeof pid), "write to", "the pipe");
    }
    while (true) {
        pause();
    }
}

void MakeFiles()
{
    for (int number = 0; number < kLibraries; ++number) {
        VeskTest::WriteText(Library(number), std::string(kPagesOfLibrary * kPage, 'x'));
    }
    for (int number = 0; number < kSharedFiles; ++number) {
        VeskTest::WriteText(Shared(number), std::string(kPage, 'x'));
    }
}

void MakeFilesOf(int process)
{
    VeskTest::MakeFolder(FolderOf(process));
    for (int number = 0; number < kOwnFiles; ++number) {
        VeskTest::WriteText(Own(process, number), std::string(kPage, 'x'));
    }
}

bool IsGone(pid_t pid)
{
    return kill(pid, 0) != 0;
}

int OpenDescriptors(pid_t pid)
{
    return static_cast<int>(VeskTest::ListFolder("/proc/" + std::to_string(pid) + "/fd").size());
}

} // namespace

HerdFiles::HerdFiles(int volumes)
{
    VeskGround::MountTmpfs(kFolder, "0755");
    MakeFiles();
    for (int number = 1; number <= volumes; ++number) {
        m_volumes.push_back(Numbered("/tmp/volume", number));
        VeskGround::MountTmpfs(m_volumes.back(), "0755");
    }
}

HerdFiles::~HerdFiles()
{
    umount2(kFolder.c_str(), MNT_DETACH);
    for (const std::string& volume : m_volumes) {
        umount2(volume.c_str(), MNT_DETACH);
    }
}

Herd::Herd(const HerdFiles& files, int first, int count)
{
    for (int process = first; process < first + count; ++process) {
        MakeFilesOf(process);
    }
    VeskGround::Pipe pids = VeskGround::MakePipe();
    m_keeper = std::make_unique<VeskTest::OtherProcess>(
        [&]() -> int { return Keep(files, first, count, pids.write.Get()); });
    pids.write.Close();
    for (int process = first; process < first + count; ++process) {
        pid_t pid = -1;
        if (read(pids.read.Get(), &pid, sizeof pid) != sizeof pid) {
            throw std::runtime_error("the processes could not be made");
        }
        m_pids.push_back(pid);
        if (IsUser(process)) {
            m_memberships.push_back(std::make_unique<VeskTest::ShownFile>(
                "/proc/" + std::to_string(pid) + "/cgroup",
                "0::/\n1:name=systemd:/system.slice/service" + std::to_string(process) + ".service\n"));
        }
    }
    VeskTest::Eventually([&] { return OpenDescriptors(m_pids.back()) == 30; });
}

Herd::~Herd()
{
    m_memberships.clear();
    m_keeper.reset();
    VeskTest::Eventually([&] { return std::all_of(m_pids.begin(), m_pids.end(), IsGone); });
}

int UsersOfFirst(int processes, int volumes)
{
    int users = 0;
    for (int process = 0; process < processes; ++process) {
        users += IsUser(process) && process / kUserEvery % volumes == 0 ? 1 : 0;
    }
    return users;
}

} // namespace VeskBench
