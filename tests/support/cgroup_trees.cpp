#include "cgroup_trees.hpp"

#include <fstream>
#include <linux/magic.h>
#include <sys/vfs.h>

#include "error.hpp"
#include "files.hpp"

namespace VeskTest
{

namespace
{

const std::string kBase = "/sys/fs/cgroup";

bool IsUnifiedAlone()
{
    struct statfs status {
    };
    VeskGround::Require(statfs(kBase.c_str(), &status), "stat the file system of", kBase);
    return status.f_type == CGROUP2_SUPER_MAGIC;
}

CgroupTree NamedTree(const std::string& name)
{
    return {kBase + "/" + name, "name=" + name, "tasks"};
}

} // namespace

std::string CgroupTree::Folder(const std::string& cgroup) const
{
    return std::string(folder).append("/").append(cgroup);
}

std::string CgroupTree::Members(const std::string& cgroup) const
{
    return Folder(cgroup).append("/").append(members);
}

CgroupTree SystemdTree()
{
    return IsUnifiedAlone() ? CgroupTree{kBase, "", "cgroup.procs"} : NamedTree("systemd");
}

CgroupTree MonitoredTree()
{
    return Exists(kBase + "/veskmonitor") ? NamedTree("veskmonitor") : SystemdTree();
}

std::string KillFolder(const std::string& cgroup)
{
    return (IsUnifiedAlone() ? kBase : kBase + "/unified") + "/" + cgroup;
}

void MoveByHand(pid_t pid, const std::string& membersFile)
{
    std::ofstream members(membersFile);
    members << pid << std::flush;
    if (!members) {
        VeskGround::ThrowErrno("write a process to", membersFile);
    }
}

} // namespace VeskTest
