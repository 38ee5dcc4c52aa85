// Many kinds of processes, scanned by the library and by resolving and testing one path after the other.
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <list>
#include <optional>
#include <random>
#include <sched.h>
#include <set>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "descriptors.hpp"
#include "error.hpp"
#include "mount_path_ground.hpp"

namespace VeskTest
{
namespace
{

// The plain scan: nothing is remembered, nothing is left out.
class PlainScan
{
public:
    explicit PlainScan(const std::string& mountPath)
        : m_mountPath(mountPath)
    {
        struct stat status {
        };
        m_device = stat(mountPath.c_str(), &status) == 0 ? status.st_dev : 0;
    }

    // The first file of the process that lies on the mount path.
    std::optional<std::string> FileOf(const std::string& pid) const
    {
        const std::string process = "/proc/" + pid;
        std::optional<std::string> file = Test(process + "/cwd");
        if (!file) {
            file = Test(process + "/exe");
        }
        if (!file) {
            file = Descriptor(process + "/fd/");
        }
        return file ? file : Mapping(process + "/maps");
    }

private:
    std::optional<std::string> Test(const std::string& path) const
    {
        char resolved[PATH_MAX];
        if (realpath(path.c_str(), resolved) == nullptr) {
            return std::nullopt;
        }
        struct stat status {
        };
        if (m_device != 0 && stat(resolved, &status) == 0 && status.st_dev == m_device) {
            return resolved;
        }
        const std::string text = resolved;
        if (text.rfind(m_mountPath, 0) != 0) {
            return std::nullopt;
        }
        const std::string rest = text.substr(m_mountPath.size());
        return rest.empty() || rest[0] == '/' ? std::optional<std::string>(text) : std::nullopt;
    }

    std::optional<std::string> Descriptor(const std::string& folder) const
    {
        std::optional<std::string> file;
        DIR* entries = opendir(folder.c_str());
        while (entries != nullptr && !file) {
            const dirent* entry = readdir(entries);
            if (entry == nullptr) {
                break;
            }
            if (entry->d_name != std::string(".") && entry->d_name != std::string("..")) {
                file = Test(folder + entry->d_name);
            }
        }
        if (entries != nullptr) {
            closedir(entries);
        }
        return file;
    }

    std::optional<std::string> Mapping(const std::string& maps) const
    {
        std::ifstream stream(maps);
        std::optional<std::string> file;
        for (std::string line; !file && std::getline(stream, line);) {
            std::string path(line.size() + 1, '\0');
            if (std::sscanf(line.c_str(), "%*x-%*x %*s %*x %*s %*d %s", path.data()) == 1) {
                file = Test(path.c_str());
            }
        }
        return file;
    }

    std::string m_mountPath;
    dev_t m_device = 0;
};

void MapPrivately(const std::string& path, int protection)
{
    const int file = VeskGround::Require(open(path.c_str(), O_RDONLY), "open", path);
    mmap(nullptr, 8192, protection, MAP_PRIVATE, file, 0);
    mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE, file, 0);
    close(file);
}

void ListenAt(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    VeskGround::Require(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), "bind", path);
}

// Deeper than a path can be told.
void WorkDeepIn(const std::string& folder)
{
    WorkIn(folder);
    const std::string name(250, 'd');
    for (int depth = 0; depth < 20; ++depth) {
        mkdir(name.c_str(), 0755);
        WorkIn(name);
    }
}

class MountPathComparison : public MountPathTest
{
protected:
    MountPathComparison()
    {
        for (const char* folder : {"/volume1/share", "/volume1/gone", "/volume1/root/inside",
                                   "/volume1/my files", "/volume1/deep", "/volume1x/share", "/bound"}) {
            MakeFolder(folder);
        }
        for (const char* file :
             {"/volume1/a", "/volume1/b", "/volume1/cut", "/volume1/cut here", "/volume1/not here",
              "/volume1/gone file", "/volume1/mapped", "/volume1/line\nfeed", "/volume1/x (deleted)",
              "/volume10/a", "/volume1/inner/a", "/volume1/share/[stack]", "/volume1x/share/a"}) {
            WriteText(file, std::string(8192, 'x'));
        }
        AddProgram("/volume1/program");
        AddProgram("/volume1/gone program");
        RemoveAll("/link");
        VeskGround::Require(symlink("volume1/share", "/link"), "link", "/link");
        VeskGround::Require(mount("/volume1/share", "/bound", nullptr, MS_BIND, nullptr), "bind", "/bound");
        AddFolders();
        AddFiles();
        AddOthers();
        for (const char* path :
             {"/volume1/gone", "/volume1/gone file", "/volume1/mapped", "/volume1/gone program"}) {
            RemoveAll(path);
        }
        WriteText("/volume1/mapped", "another one");
    }

    ~MountPathComparison() override { umount2("/bound", MNT_DETACH); }

    void Add(const std::function<void()>& hold)
    {
        m_zoo.emplace_back("zoo-" + std::to_string(m_zoo.size()) + ".service", hold);
    }

    void AddFolders()
    {
        for (const char* folder :
             {"/", "/tmp", "/proc", "/dev", kVolume, "/volume1/share", "/volume1/my files", "/volume1/gone",
              "/volume10", "/volume1x/share", "/volume1/inner", "/bound", "/link"}) {
            Add([=] { WorkIn(folder); });
        }
        Add([] { WorkDeepIn("/volume1/deep"); });
    }

    void AddFiles()
    {
        for (const char* file :
             {"/volume1/a", "/volume1/share", "/volume1/gone file", "/volume1/line\nfeed",
              "/volume1/x (deleted)", "/volume10/a", "/volume1/inner/a", "/proc/self/maps"}) {
            Add([=] { OpenFile(file); });
        }
        for (const char* file :
             {"/volume1/a", "/volume1/cut here", "/volume1/not here", "/volume1/gone file", "/volume1/mapped",
              "/volume1/line\nfeed", "/volume1/x (deleted)", "/volume10/a", "/volume1x/share/a"}) {
            Add([=] { MapPrivately(file, PROT_READ | PROT_WRITE); });
        }
        Add([] { RunProgram("/volume1/program"); });
        Add([] { RunProgram("/volume1/gone program"); });
        Add([] {
            WorkIn("/tmp");
            OpenFile("/volume10/a");
            OpenFile("/volume1/b");
            MapFile("/volume1/a");
        });
    }

    void AddOthers()
    {
        Add([] { VeskGround::Require(memfd_create("/volume1/a", 0), "make", "a memory file"); });
        Add([] { ListenAt("/volume1/socket"); });
        Add([] {
            std::thread([] {
                OpenFile("/volume1/a");
                pause();
            }).detach();
        });
        Add([] {
            VeskGround::Require(chroot("/volume1/root"), "enter", "a root");
            WorkIn("/inside");
        });
        Add([] {
            VeskGround::Require(unshare(CLONE_NEWNS), "leave", "the mount namespace");
            VeskGround::Require(mount("own", kVolume, "tmpfs", 0, nullptr), "mount", kVolume);
            MakeFolder("/volume1/share");
            WorkIn("/volume1/share");
        });
        Add([] {
            VeskGround::Require(unshare(CLONE_NEWNS), "leave", "the mount namespace");
            WorkIn("/volume1/share");
            VeskGround::Require(umount2(kVolume, MNT_DETACH), "unmount", kVolume);
        });
        Add([] { WorkIn("/volume1/share"); });
        m_zoo.back().Kill();
    }

    // The files of the services, as the plain scan finds them.
    Words PlainFiles(const std::string& mountPath) const
    {
        const PlainScan scan(mountPath);
        Words files;
        for (const ServiceProcess& process : m_zoo) {
            if (const auto file = scan.FileOf(std::to_string(process.Pid()))) {
                files.push_back(*file);
            }
        }
        return files;
    }

    void ExpectSameFiles(const std::string& mountPath)
    {
        log.Take();
        const Words services = Services(mountPath);
        const Words files = Files();
        EXPECT_EQ(files, PlainFiles(mountPath)) << mountPath;
        EXPECT_EQ(services.size(), files.size()) << "each has one process";
        m_counts.insert(files.size());
    }

    const OwnFileSystem tenth{"/volume10"};
    const OwnFileSystem inner{"/volume1/inner"};
    std::list<ServiceProcess> m_zoo;
    std::set<size_t> m_counts;
};

// How far the kernel lets itself be asked for single mappings: to the end, never, as one before 6.11, or until it fails.
struct Asking {
    const char* name;
    int error;
    int answers;
};

class MountPathAsking : public MountPathComparison, public ::testing::WithParamInterface<Asking>
{
protected:
    MountPathAsking() { spy.FailAsking(GetParam().error, GetParam().answers); }
};

INSTANTIATE_TEST_SUITE_P(, MountPathAsking,
                         ::testing::Values(Asking{"All", 0, 0}, Asking{"None", ENOTTY, 0},
                                           Asking{"Some", ENOMEM, 300}),
                         [](const auto& row) { return row.param.name; });

TEST_P(MountPathAsking, FindsWhatThePlainScanFinds)
{
    ASSERT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    for (const char* path :
         {kVolume, "/volume1/", "/volume1/share", "/volume1/a", "/link", "/bound", "/volume10", "/volume1x",
          "/volume1/inner", "/nowhere", "/", "", "/proc", "/dev", "/tmp", "/usr", "/usr/lib", "[stack]"}) {
        ExpectSameFiles(path);
    }
    EXPECT_GE(m_counts.size(), 7U) << "or all of them are the same";
}

TEST_P(MountPathAsking, FindsTheSameWhereAFileIsCalledLikeAMappingOfNone)
{
    WorkIn("/volume1/share");
    for (const char* path : {kVolume, "/bound", "/volume10", ".", "[stack]"}) {
        ExpectSameFiles(path);
    }
    EXPECT_GT(*m_counts.rbegin(), m_zoo.size() - 5) << "nearly every process has a stack";
}

TEST_P(MountPathAsking, FindsTheSameFromAFolderWithManyFiles)
{
    MakeFolder("/volume1/many");
    for (int number = 0; number < 1100; ++number) {
        WriteText("/volume1/many/" + std::to_string(number), "");
    }
    WriteText("/volume1/many/[stack]", "");
    WorkIn("/volume1/many");
    ExpectSameFiles("/volume1/many/[stack]");
    EXPECT_GT(*m_counts.rbegin(), m_zoo.size() - 5);
}

// Processes that use whatever comes, in folders and files whose names are made of odd pieces.
class MountPathAtRandom : public MountPathAsking
{
protected:
    std::string Name()
    {
        const Words pieces{"a",  "b",    " ",      "\n", "\t",         "\r", "\\", "..",  ".",
                           "[h", "\xff", "\u00e4", "%s", " (deleted)", "x",  "\f", "012", "]"};
        std::string name = "n";
        for (size_t count = Number(5); count != 0; --count) {
            name.insert(Number(name.size() + 1), One(pieces));
        }
        return Number(30) == 0 ? name + std::string(200, 'l') : name;
    }

    size_t Number(size_t below) { return std::uniform_int_distribution<size_t>(0, below - 1)(m_random); }
    const std::string& One(const Words& words) { return words[Number(words.size())]; }

    void GrowTree()
    {
        m_files.clear();
        m_links.clear();
        m_folders = {kVolume, "/volume1/share", "/volume10", "/volume1/inner", "/bound", "/volume1x/share"};
        for (int count = 0; count < 40; ++count) {
            const std::string path = One(m_folders) + "/" + Name();
            if (Number(4) == 0) {
                // May be there already.
                (void)symlink(One(m_folders).c_str(), path.c_str());
            } else if (mkdir(path.c_str(), 0755) == 0) {
                m_folders.push_back(path);
            }
        }
        for (int count = 0; count < 120; ++count) {
            const std::string path = One(m_folders) + "/" + Name();
            if (Number(6) == 0 && symlink(One(m_folders).c_str(), path.c_str()) == 0) {
                m_links.push_back(path);
            } else if (!Exists(path)) {
                WriteText(path, std::string(8192, 'x'));
                m_files.push_back(path);
            }
        }
    }

    void UseSomething()
    {
        switch (Number(5)) {
        case 0:
            return WorkIn(One(m_folders));
        case 1:
            VeskGround::Require(open(One(m_links).c_str(), O_PATH | O_NOFOLLOW), "open", "a link");
            return;
        case 2:
            return MapPrivately(One(m_files), PROT_READ | PROT_WRITE);
        default:
            return OpenFile(One(m_files));
        }
    }

    // Files that go, and files and links that come in the place of others.
    void Disturb()
    {
        for (int count = 0; count < 60; ++count) {
            const std::string path = One(m_files);
            unlink(path.c_str());
            if (Number(3) == 0) {
                (void)symlink(One(m_files).c_str(), path.c_str());
            } else if (Number(2) == 0) {
                (void)rename(One(m_files).c_str(), path.c_str());
            }
        }
        for (int count = 0; count < 8; ++count) {
            (void)rename(One(m_folders).c_str(), ("/volume1/moved-" + std::to_string(count)).c_str());
        }
    }

    std::mt19937 m_random;
    Words m_folders;
    Words m_files;
    Words m_links;
};

INSTANTIATE_TEST_SUITE_P(, MountPathAtRandom,
                         ::testing::Values(Asking{"All", 0, 0}, Asking{"None", ENOTTY, 0},
                                           Asking{"Some", EINTR, 400}),
                         [](const auto& row) { return row.param.name; });

TEST_P(MountPathAtRandom, FindsWhatThePlainScanFinds)
{
    for (unsigned seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE(seed);
        m_random.seed(seed);
        m_zoo.clear();
        GrowTree();
        for (int count = 0; count < 30; ++count) {
            const size_t uses = Number(4);
            m_random.discard(1);
            Add([this, uses] {
                WorkIn("/");
                for (size_t use = 0; use <= uses; ++use) {
                    UseSomething();
                }
            });
        }
        Disturb();
        for (const std::string& path : Words{kVolume, "/volume10", "/volume1/inner", "/bound", "/volume1x",
                                             "/nowhere", "/", One(m_folders), One(m_files), One(m_links)}) {
            ExpectSameFiles(path);
        }
    }
    EXPECT_GE(m_counts.size(), 5U);
}

TEST_F(MountPathComparison, LeavesNoDescriptorOpen)
{
    // From the first line on, syslog has one.
    Services();
    const auto descriptors = OpenDescriptors();
    Services();
    Services("/nowhere");
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

} // namespace
} // namespace VeskTest
