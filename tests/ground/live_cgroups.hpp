// The control group hierarchies of a private systemd, with one folder of the system's own in each of the machine's.
//
// The folders are the only thing of a system that the machine sees; whoever outlives the system removes them.
#pragma once

#include <string>
#include <vector>

#include "descriptor.hpp"

namespace VeskGround
{

enum class CgroupLayout {
    Platform, // the named v1 hierarchies "systemd" and "veskmonitor", and the cgroup2 tree
    Hybrid,   // "systemd" and the cgroup2 tree
    Unified   // the cgroup2 tree alone
};

struct CgroupPlan {
    CgroupLayout layout = CgroupLayout::Platform;
    std::string name; // of the system's folder in each hierarchy
};

// What the hierarchies are called below BASE and, but for the unified layout, below /sys/fs/cgroup.
std::vector<std::string> HierarchiesOf(CgroupLayout layout);

// Mounts them as folders of BASE. No cgroup namespace but the first may make a named one.
void MountHierarchies(const std::string& base, CgroupLayout layout);

// A name for the folders of the calling process's system. Folders of this form whose process is gone are
// abandoned.
std::string NameForCgroups();

// The folder that is the root of a hierarchy for the system. Between it and the machine's root is another one,
// which hands no controller on: a folder that has some may not hold processes beside other folders.
std::string SystemFolder(const std::string& base, const std::string& hierarchy, const std::string& name);

using CgroupFolders = std::vector<Descriptor>;

CgroupFolders CreateCgroups(const std::string& base, const CgroupPlan& plan);

// Moves the calling process.
void EnterCgroups(const CgroupFolders& folders);

// Removes the folders with all below them, waiting for dying processes to leave, and abandoned ones, then
// lets go of the hierarchies. Throws what could not be removed in time.
void RemoveCgroups(const std::string& base, const CgroupPlan& plan);

} // namespace VeskGround
