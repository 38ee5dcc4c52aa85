// The trees of control groups of the private system that a live test runs in, whatever their layout.
#pragma once

#include <string>
#include <sys/types.h>

namespace VeskTest
{

struct CgroupTree {
    std::string folder;    // where it is mounted
    std::string hierarchy; // its name in /proc/PID/cgroup, "" for cgroup v2
    std::string members;   // the file in each of its folders that lists the processes and takes new ones

    std::string Folder(const std::string& cgroup) const;
    std::string Members(const std::string& cgroup) const;
};

// The one in which systemd has its units.
CgroupTree SystemdTree();

// The one whose slices are measured: the platform's own, elsewhere systemd's.
CgroupTree MonitoredTree();

// The folder in which systemd looks for the processes of a control group that it is to kill.
std::string KillFolder(const std::string& cgroup);

// As somebody does who knows nothing of units.
void MoveByHand(pid_t pid, const std::string& membersFile);

} // namespace VeskTest
