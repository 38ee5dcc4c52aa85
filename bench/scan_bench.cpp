// The scan for the users of a mount path, a sample of a process and the keys of unit files, each beside the bare
// readings of the same files to their ends, and beside the plain way with the C library. Touches nothing but its
// own children and a folder of its own below /tmp.

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <system_error>
#include <unistd.h>
#include <vector>
#include <vesksystemd.hpp>

namespace
{

using VESK::Systemd::Process;

constexpr int kProcesses = 300;
constexpr int kFiles = 200;
constexpr int kDescriptors = 120;
constexpr int kSockets = 20;
constexpr int kMappings = 120;
constexpr int kPartsOfLargeProcess = 5000;
constexpr int kUnitFiles = 5000;
constexpr int kRounds = 15;

// A file system that no process has a file on, so that every file of every process is looked at.
constexpr const char* kMountPath = "/sys";

// Children and folders are gone by the time it is told.
[[noreturn]] void Fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

class Folder
{
public:
    Folder()
    {
        if (mkdtemp(m_path.data()) == nullptr) {
            Fail("mkdtemp");
        }
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string Path(const std::string& name, int number) const
    {
        return m_path + "/" + name + std::to_string(number);
    }

private:
    std::string m_path = "/tmp/vesk-scan-bench-XXXXXX";
};

// For a child: whatever happens there, what the parent owns is not the child's to remove.
[[noreturn]] void Hold(const std::function<void()>& hold, int ready) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    hold();
    close(ready);
    while (true) {
        pause();
    }
}

// Children that hold what they are told to, until this object ends or the benchmark does.
class Children
{
public:
    Children() = default;
    ~Children()
    {
        for (const pid_t pid : m_pids) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }
    Children(const Children&) = delete;
    Children& operator=(const Children&) = delete;

    pid_t Add(const std::function<void()>& hold)
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            Fail("pipe");
        }
        const pid_t pid = fork();
        if (pid == 0) {
            Hold(hold, ends[1]);
        }
        close(ends[1]);
        char nothing = 0;
        if (pid < 0 || read(ends[0], &nothing, 1) != 0) {
            Fail("fork");
        }
        close(ends[0]);
        m_pids.push_back(pid);
        return pid;
    }

private:
    std::vector<pid_t> m_pids;
};

void HoldFiles(const Folder& folder, int offset)
{
    for (int number = 0; number < kDescriptors; ++number) {
        open(folder.Path("file", (offset + number) % kFiles).c_str(), O_RDONLY);
    }
    for (int number = 0; number < kSockets; ++number) {
        socket(AF_UNIX, SOCK_STREAM, 0);
    }
    for (int number = 0; number < kMappings; ++number) {
        const int file = open(folder.Path("file", (offset + 7 * number) % kFiles).c_str(), O_RDONLY);
        mmap(nullptr, 4096, number % 2 == 0 ? PROT_READ : PROT_NONE, MAP_PRIVATE, file, 0);
        close(file);
    }
}

void HoldManyMappings()
{
    for (int number = 0; number < kPartsOfLargeProcess; ++number) {
        const int protection = number % 2 == 0 ? PROT_READ | PROT_WRITE : PROT_READ;
        mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    }
}

size_t ReadBarely(const std::string& path)
{
    static std::array<char, size_t{16} * 1024> buffer;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    size_t size = 0;
    for (ssize_t count = 1; file != -1 && count > 0;) {
        count = read(file, buffer.data(), buffer.size());
        size += count > 0 ? static_cast<size_t>(count) : 0;
    }
    close(file);
    return size;
}

void ForEachEntry(const std::string& folder, const std::function<bool(int, const char*)>& action)
{
    DIR* entries = opendir(folder.c_str());
    while (entries != nullptr) {
        const dirent* entry = readdir(entries);
        if (entry == nullptr || (entry->d_name[0] != '.' && !action(dirfd(entries), entry->d_name))) {
            break;
        }
    }
    if (entries != nullptr) {
        closedir(entries);
    }
}

struct Found {
    int processes = 0;
    int links = 0;
    size_t mapBytes = 0;
};

// Every link and every map of every process, and nothing made of them.
Found ScanBarely()
{
    Found found;
    std::array<char, PATH_MAX> target{};
    const auto readLink = [&](int folder, const char* name) {
        found.links += readlinkat(folder, name, target.data(), target.size()) > 0 ? 1 : 0;
        return true;
    };
    ForEachEntry("/proc/", [&](int, const char* pid) {
        if (std::isdigit(static_cast<unsigned char>(*pid)) != 0) {
            const std::string process = std::string("/proc/") + pid;
            ++found.processes;
            readLink(AT_FDCWD, (process + "/cwd").c_str());
            readLink(AT_FDCWD, (process + "/exe").c_str());
            ForEachEntry(process + "/fd/", readLink);
            found.mapBytes += ReadBarely(process + "/maps");
        }
        return true;
    });
    return found;
}

bool IsOn(dev_t device, const char* path)
{
    std::array<char, PATH_MAX> resolved{};
    struct stat status {
    };
    return realpath(path, resolved.data()) != nullptr &&
           ((stat(resolved.data(), &status) == 0 && status.st_dev == device) ||
            std::string(resolved.data()).rfind(kMountPath, 0) == 0);
}

bool MapsPlainly(dev_t device, const std::string& maps)
{
    FILE* stream = std::fopen(maps.c_str(), "re");
    char* line = nullptr;
    size_t size = 0;
    bool hit = false;
    std::array<char, PATH_MAX> path{};
    while (stream != nullptr && !hit && getline(&line, &size, stream) > 0) {
        hit = std::sscanf(line, "%*x-%*x %*s %*x %*s %*d %4095s", path.data()) == 1 &&
              IsOn(device, path.data());
    }
    std::free(line);
    if (stream != nullptr) {
        std::fclose(stream);
    }
    return hit;
}

// Each path resolved and tested, whether it was seen before or not.
int ScanPlainly()
{
    struct stat status {
    };
    stat(kMountPath, &status);
    const dev_t device = status.st_dev;
    int hits = 0;
    ForEachEntry("/proc/", [&](int, const char* pid) {
        if (std::isdigit(static_cast<unsigned char>(*pid)) != 0) {
            const std::string process = std::string("/proc/") + pid;
            bool hit = IsOn(device, (process + "/cwd").c_str()) || IsOn(device, (process + "/exe").c_str());
            if (!hit) {
                ForEachEntry(process + "/fd/", [&](int, const char* name) {
                    hit = IsOn(device, (process + "/fd/" + name).c_str());
                    return !hit;
                });
            }
            hits += hit || MapsPlainly(device, process + "/maps") ? 1 : 0;
        }
        return true;
    });
    return hits;
}

std::string Of(pid_t pid, const char* file)
{
    return "/proc/" + std::to_string(pid) + "/" + file;
}

void SampleBarely(pid_t pid)
{
    std::array<char, PATH_MAX> target{};
    if (readlink(Of(pid, "exe").c_str(), target.data(), target.size()) < 0) {
        Fail("readlink");
    }
    for (const std::string& file :
         {Of(pid, "stat"), Of(pid, "smaps"), Of(pid, "io"), std::string("/proc/stat")}) {
        ReadBarely(file);
    }
}

unsigned long long SamplePlainly(pid_t pid)
{
    std::array<char, PATH_MAX> target{};
    unsigned long long sum = realpath(Of(pid, "exe").c_str(), target.data()) != nullptr ? 1 : 0;
    for (const std::string& file :
         {Of(pid, "stat"), Of(pid, "smaps"), Of(pid, "io"), std::string("/proc/stat")}) {
        std::ifstream stream(file);
        for (std::string line; std::getline(stream, line);) {
            unsigned long long value = 0;
            sum += std::sscanf(line.c_str(), "Pss: %llu", &value) == 1 ? value : 0;
        }
    }
    return sum;
}

void WriteUnitFile(const std::string& path, int number)
{
    std::ofstream(path)
        << "# A service of the system.\n"
           "[Unit]\nDescription=Service number "
        << number
        << "\nAfter=network.target local-fs.target\nWants=network.target\nIgnoreOnIsolate=yes\n\n"
           "[Service]\nType=notify\nExecStart=/usr/bin/program --foreground \\\n"
           "    --configuration /etc/program.conf\nRestart=on-failure\nRestartSec=3\n"
           "Environment=LANG=C.UTF-8\nSlice=services.slice\nTimeoutStopSec=30\n\n"
           "[X-Veskline]\nName=Service\nVolumeDependency=partial\nSkipListByMntPath=no\n"
           "\n[Install]\nWantedBy=multi-user.target\n";
}

void ScanWithLibrary()
{
    std::vector<std::string> services;
    if (!VESKSystemdServiceListByMntPath(kMountPath, services)) {
        throw std::runtime_error("the scan failed");
    }
    if (!services.empty()) {
        throw std::runtime_error(services.front() + " uses " + kMountPath);
    }
}

// A process that has a file there is not looked at any further, so the ways would not do the same.
void ExpectNoUser()
{
    const int users = ScanPlainly();
    if (users != 0) {
        throw std::runtime_error("processes that use " + std::string(kMountPath) + ": " +
                                 std::to_string(users));
    }
}

struct Way {
    const char* name;
    std::function<void()> run;
    std::vector<double> microseconds;
};

// Takes turns, so that whatever else goes on hits all ways alike; the median of each.
void Compare(const char* title, std::vector<Way> ways)
{
    for (int round = 0; round < kRounds; ++round) {
        for (Way& way : ways) {
            const auto start = std::chrono::steady_clock::now();
            way.run();
            const std::chrono::duration<double, std::micro> elapsed =
                std::chrono::steady_clock::now() - start;
            way.microseconds.push_back(elapsed.count());
        }
    }
    std::printf("%s\n", title);
    double first = 0;
    for (Way& way : ways) {
        std::sort(way.microseconds.begin(), way.microseconds.end());
        const double median = way.microseconds[way.microseconds.size() / 2];
        first = first == 0 ? median : first;
        std::printf("  %-24s %12.1f us %8.2f\n", way.name, median, median / first);
    }
}

void CompareScans(const Folder& folder)
{
    for (int number = 0; number < kFiles; ++number) {
        std::ofstream(folder.Path("file", number)) << std::string(4096, 'x');
    }
    Children children;
    for (int number = 0; number < kProcesses; ++number) {
        children.Add([&] { HoldFiles(folder, number); });
    }
    const Found found = ScanBarely();
    std::printf("%d processes, %d links, %zu kB of maps\n", found.processes, found.links,
                found.mapBytes / 1024);
    Compare("scan for a mount path", {{"bare readings", [] { ScanBarely(); }, {}},
                                      {"library", ScanWithLibrary, {}},
                                      {"realpath, stat, sscanf", ExpectNoUser, {}}});
}

void CompareSamples()
{
    Children children;
    const pid_t small = children.Add([] {});
    const pid_t large = children.Add(HoldManyMappings);
    for (const auto& [title, pid] : {std::make_pair("sample of a small process", small),
                                     std::make_pair("sample of a process with 5000 mappings", large)}) {
        Compare(title, {{"bare readings", [pid = pid] { SampleBarely(pid); }, {}},
                        {"library", [pid = pid] { const Process process(pid); }, {}},
                        {"realpath, getline, sscanf", [pid = pid] { SamplePlainly(pid); }, {}}});
    }
}

void CompareUnitFiles(const Folder& folder)
{
    std::vector<std::string> paths;
    for (int number = 0; number < kUnitFiles; ++number) {
        paths.push_back(folder.Path("unit", number));
        WriteUnitFile(paths.back(), number);
    }
    const auto readKeys = [&] {
        std::array<char, 1024> value{};
        for (const std::string& path : paths) {
            if (VLIBCFileGetSectionValue(path.c_str(), "X-Veskline", "VolumeDependency", value.data(),
                                         static_cast<int>(value.size())) != 0) {
                Fail(path);
            }
        }
    };
    const auto readBarely = [&] {
        for (const std::string& path : paths) {
            ReadBarely(path);
        }
    };
    Compare("a key of 5000 unit files", {{"bare readings", readBarely, {}}, {"library", readKeys, {}}});
}

void CompareAll()
{
    // Whatever a scan finds is not to be told to the machine's log.
    setlogmask(LOG_MASK(LOG_DEBUG));
    const Folder folder;
    CompareScans(folder);
    CompareSamples();
    CompareUnitFiles(folder);
}

} // namespace

int main()
{
    try {
        CompareAll();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "scan_bench: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
