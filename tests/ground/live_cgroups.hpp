// The control group hierarchies of a private systemd: the named v1 hierarchies "systemd" and "veskmonitor"
// and the machine's cgroup2 tree, with one folder of the system's own in each.
//
// The folders are the only thing of a system that the machine sees; whoever outlives the system removes them.
#pragma once

#include <array>
#include <string>

#include "descriptor.hpp"

namespace VeskGround
{

constexpr std::array<const char*, 3> kHierarchies = {"systemd", "veskmonitor", "unified"};

// Mounts them as folders of BASE. For the first cgroup namespace only: no other may make a named hierarchy.
void MountHierarchies(const std::string& base);

// A name for the folders of the calling process's system. Folders of this form whose process is gone are
// abandoned.
std::string NameForCgroups();

using CgroupFolders = std::array<Descriptor, kHierarchies.size()>;

CgroupFolders CreateCgroups(const std::string& base, const std::string& name);

// Moves the calling process.
void EnterCgroups(const CgroupFolders& folders);

// Removes the folders with all below them, waiting for dying processes to leave, and abandoned ones, then
// lets go of the hierarchies. Throws what could not be removed in time.
void RemoveCgroups(const std::string& base, const std::string& name);

} // namespace VeskGround
