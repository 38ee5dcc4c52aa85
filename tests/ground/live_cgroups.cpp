#include "live_cgroups.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#include "error.hpp"
#include "mounts.hpp"

namespace VeskGround
{

namespace
{

namespace fs = std::filesystem;

const std::string kPrefix = "vesk-live-";
const std::string kUnified = "unified";
const std::string kMonitor = "veskmonitor";

// A line of mountinfo: its fields, an optional part, " - ", the type.
bool IsUnifiedRoot(const std::string& line, std::string& mountPoint)
{
    std::istringstream fields(line);
    std::string id;
    std::string parent;
    std::string device;
    std::string root;
    fields >> id >> parent >> device >> root >> mountPoint;
    return root == "/" && line.find(" - cgroup2 ") != std::string::npos;
}

std::string FolderOf(const std::string& base, const std::string& hierarchy, const std::string& name)
{
    return std::string(base).append("/").append(hierarchy).append("/").append(name);
}

std::string UnifiedMountPoint()
{
    std::ifstream mounts("/proc/self/mountinfo");
    std::string mountPoint;
    for (std::string line; std::getline(mounts, line);) {
        if (IsUnifiedRoot(line, mountPoint)) {
            return mountPoint;
        }
    }
    throw Error("no cgroup2 tree is mounted here", kExitUnsupported);
}

void MountNamed(const std::string& base, const std::string& name)
{
    const std::string target = base + "/" + name;
    MakeDirectories(target);
    const std::string data = "none,name=" + name;
    if (mount("cgroup", target.c_str(), "cgroup", MS_NOSUID | MS_NODEV | MS_NOEXEC, data.c_str()) != 0) {
        ThrowRefused("mount the cgroup hierarchy " + data + " on", target);
    }
}

bool TryFor(std::chrono::milliseconds limit, const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::vector<fs::path> FoldersOf(const fs::path& folder)
{
    std::vector<fs::path> found;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_directory(error)) {
            found.push_back(entry.path());
        }
    }
    return found;
}

// Gone, also when it never was there; errno says why not.
bool RemoveTree(const fs::path& folder)
{
    for (const fs::path& child : FoldersOf(folder)) {
        RemoveTree(child);
    }
    return rmdir(folder.c_str()) == 0 || errno == ENOENT;
}

bool HasProcess(const fs::path& folder)
{
    std::ifstream members(folder / "cgroup.procs");
    const std::vector<fs::path> children = FoldersOf(folder);
    return members.peek() != std::ifstream::traits_type::eof() ||
           std::any_of(children.begin(), children.end(), HasProcess);
}

// An owner's id tells whether it lives in its own pid namespace alone, and machines in namespaces share hierarchies.
std::string PrefixForCgroups()
{
    struct stat status {
    };
    Require(stat("/proc/self/ns/pid", &status), "look at", "/proc/self/ns/pid");
    return kPrefix + std::to_string(status.st_ino) + "-";
}

bool IsAbandoned(const fs::path& folder)
{
    const std::string name = folder.filename();
    const std::string prefix = PrefixForCgroups();
    if (name.rfind(prefix, 0) != 0) {
        return false;
    }
    const std::size_t begin = prefix.size();
    const std::string owner = name.substr(begin, name.find('-', begin) - begin);
    return access(("/proc/" + owner).c_str(), F_OK) != 0 && !HasProcess(folder);
}

// What a system has left whose owner, keeper and watcher were killed all at once.
void RemoveAbandoned(const std::string& hierarchy)
{
    for (const fs::path& folder : FoldersOf(hierarchy)) {
        if (IsAbandoned(folder)) {
            RemoveTree(folder);
        }
    }
}

bool HierarchyExists(const std::string& name)
{
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        if (line.find(":name=" + name + ":") != std::string::npos) {
            return true;
        }
    }
    return false;
}

bool GoesAfterUnmount(const std::string& target, const std::string& name)
{
    umount2(target.c_str(), MNT_DETACH);
    return TryFor(std::chrono::milliseconds(100), [&] { return !HierarchyExists(name); });
}

// The kernel takes a hierarchy apart some time after its last mount is gone. One that was unmounted while a
// removed folder of it was not quite gone stays, and goes when it is mounted and unmounted once more; unless
// another system uses it. A folder is not quite gone as long as a process that died in it is not reaped, and
// the machine's init may take a second for that.
void ForgetHierarchy(const std::string& base, const std::string& name)
{
    const std::string target = base + "/" + name;
    for (int attempt = 0; attempt < 50; ++attempt) {
        if (!FoldersOf(target).empty() || GoesAfterUnmount(target, name)) {
            return;
        }
        MountNamed(base, name);
    }
}

} // namespace

std::vector<std::string> HierarchiesOf(CgroupLayout layout)
{
    switch (layout) {
    case CgroupLayout::Unified:
        return {kUnified};
    case CgroupLayout::Hybrid:
        return {"systemd", kUnified};
    case CgroupLayout::Platform:
        break;
    }
    return {"systemd", kMonitor, kUnified};
}

void MountHierarchies(const std::string& base, CgroupLayout layout)
{
    for (const std::string& name : HierarchiesOf(layout)) {
        if (name == kUnified) {
            Bind(UnifiedMountPoint(), base + "/" + name);
        } else {
            MountNamed(base, name);
        }
    }
}

std::string NameForCgroups()
{
    std::random_device random;
    return PrefixForCgroups() + std::to_string(getpid()) + "-" + std::to_string(random());
}

std::string SystemFolder(const std::string& base, const std::string& hierarchy, const std::string& name)
{
    return FolderOf(base, hierarchy, name) + "/system";
}

CgroupFolders CreateCgroups(const std::string& base, const CgroupPlan& plan)
{
    CgroupFolders folders;
    for (const std::string& hierarchy : HierarchiesOf(plan.layout)) {
        const std::string path = SystemFolder(base, hierarchy, plan.name);
        MakeDirectories(path);
        folders.push_back(OpenPath(path));
    }
    return folders;
}

void EnterCgroups(const CgroupFolders& folders)
{
    for (const Descriptor& folder : folders) {
        const Descriptor members(Require(openat(folder.Get(), "cgroup.procs", O_WRONLY | O_CLOEXEC), "open",
                                         "cgroup.procs of the system's cgroup"));
        WriteAll(members.Get(), "0", "cgroup.procs of the system's cgroup");
    }
}

void RemoveCgroups(const std::string& base, const CgroupPlan& plan)
{
    for (const std::string& hierarchy : HierarchiesOf(plan.layout)) {
        const std::string path = FolderOf(base, hierarchy, plan.name);
        if (!TryFor(std::chrono::seconds(10), [&] { return RemoveTree(path); })) {
            ThrowErrno("remove", path);
        }
        RemoveAbandoned(base + "/" + hierarchy);
    }
    if (plan.layout == CgroupLayout::Platform) {
        ForgetHierarchy(base, kMonitor);
    }
}

} // namespace VeskGround
