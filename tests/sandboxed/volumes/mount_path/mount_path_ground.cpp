#include "mount_path_ground.hpp"

#include <algorithm>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

#include "error.hpp"
#include "paths.hpp"

namespace VeskTest
{

OwnFileSystem::OwnFileSystem(const std::string& folder)
    : m_folder(folder)
{
    MakeFolder(folder);
    VeskGround::Require(mount("volume", folder.c_str(), "tmpfs", 0, nullptr), "mount", folder);
}

OwnFileSystem::~OwnFileSystem()
{
    umount2(m_folder.c_str(), MNT_DETACH);
}

void WorkIn(const std::string& folder)
{
    VeskGround::Require(chdir(folder.c_str()), "change to", folder);
}

void OpenFile(const std::string& path)
{
    VeskGround::Require(open(path.c_str(), O_RDONLY), "open", path);
}

void MapFile(const std::string& path)
{
    const int file = VeskGround::Require(open(path.c_str(), O_RDONLY), "open", path);
    VeskGround::Require(reinterpret_cast<intptr_t>(mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE, file, 0)),
                        "map", path);
    close(file);
}

void RunProgram(const std::string& path)
{
    VeskGround::Require(execl(path.c_str(), "program", "1000", nullptr), "run", path);
}

void AddProgram(const std::string& path)
{
    WriteText(path, ReadText("/usr/bin/sleep"), 0755);
}

MountPathTest::MountPathTest()
{
    for (const std::string& name : ListFolder(kUsrUnits)) {
        RemoveAll("/usr/lib/systemd/system/" + name);
    }
}

Words MountPathTest::Services(const std::string& path)
{
    Words services{"what was there before"};
    EXPECT_TRUE(VESKSystemdServiceListByMntPath(path, services));
    std::sort(services.begin(), services.end());
    return services;
}

Words MountPathTest::Files()
{
    Words files;
    for (const SyslogLine& line : log.Take()) {
        const std::string begin = "vesksystemd: file used: [";
        EXPECT_EQ(line.level, 6) << line;
        EXPECT_EQ(line.file, kScanFile) << line;
        EXPECT_EQ(line.message.substr(0, begin.size()), begin) << line;
        EXPECT_EQ(line.message.back(), ']') << line;
        files.push_back(line.message.substr(begin.size(), line.message.size() - begin.size() - 1));
    }
    return files;
}

std::string MountPathTest::Of(const ServiceProcess& process, const std::string& file)
{
    return "/proc/" + std::to_string(process.Pid()) + "/" + file;
}

} // namespace VeskTest
