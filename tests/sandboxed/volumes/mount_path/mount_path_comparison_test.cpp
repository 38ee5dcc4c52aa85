// Many kinds of processes, scanned by the library and by resolving and testing one path after the other.
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <list>
#include <optional>
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

TEST_F(MountPathComparison, FindsWhatThePlainScanFinds)
{
    ASSERT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    for (const char* path :
         {kVolume, "/volume1/", "/volume1/share", "/volume1/a", "/link", "/bound", "/volume10", "/volume1x",
          "/volume1/inner", "/nowhere", "/", "", "/proc", "/dev", "/tmp", "/usr", "/usr/lib", "[stack]"}) {
        ExpectSameFiles(path);
    }
    EXPECT_GE(m_counts.size(), 7U) << "or all of them are the same";
}

TEST_F(MountPathComparison, FindsTheSameWhereAFileIsCalledLikeAMappingOfNone)
{
    WorkIn("/volume1/share");
    for (const char* path : {kVolume, "/bound", "/volume10", ".", "[stack]"}) {
        ExpectSameFiles(path);
    }
    EXPECT_GT(*m_counts.rbegin(), m_zoo.size() - 5) << "nearly every process has a stack";
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
