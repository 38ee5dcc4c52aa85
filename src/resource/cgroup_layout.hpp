#pragma once

/**
 * Where control groups are and how they are read, which differs between the platform's systemd and today's.
 * Nothing else knows. What is given a kind, or a tree, is pure; the rest is for this build and this machine.
 */

#include <string>

#include "core/systemd_kind.hpp"
#include "core/text.hpp"

namespace VESK::Systemd
{

/** What is mounted on a folder: a tree of control groups of that version, if any. */
enum class CgroupMount { None, V1, V2 };

/** The folders below /sys/fs/cgroup, and that one itself, that tell where the trees are. */
struct CgroupMounts {
    CgroupMount root = CgroupMount::None;
    CgroupMount systemd = CgroupMount::None;
    CgroupMount monitor = CgroupMount::None;
};

/** A tree of control groups. */
struct CgroupTree {
    std::string strFolder;
    std::string strHierarchy; ///< what its lines in /proc/PID/cgroup call it
    std::string strMembers;   ///< the file of a group that takes a process, and lists the platform's
    bool blNested = false;    ///< whether "a-b.slice" is in "a.slice", and units are in their slices
};

/** The tree that systemd keeps its units in, and the one whose slices are monitored. */
CgroupTree SystemdTreeOf(SystemdKind kind, const CgroupMounts& mounts);
CgroupTree MonitorTreeOf(SystemdKind kind, const CgroupMounts& mounts);

/** The same on this machine. */
CgroupTree SystemdTree();
CgroupTree MonitorTree();

/** The tree of a hierarchy that is named as a folder of /sys/fs/cgroup: "systemd", "veskmonitor". */
CgroupTree CgroupTreeGet(const std::string& strFolderName);

/** What /proc/PID/cgroup calls a hierarchy: "name=systemd", "name=veskmonitor", or another as it is. */
std::string CgroupHierarchyGet(const std::string& strHierarchy);

/** A line of /proc/PID/cgroup: the path in the hierarchy that it calls so; false for any other line. */
bool CgroupLineParse(const std::string& strLine, const std::string& strHierarchy, std::string& strPath,
                     SystemdKind kind = kSystemdBuilt);

/** The unit that holds what is at a path in systemd's tree, given by its parts; empty when none does. */
std::string CgroupUnitGet(const Texts& vecParts, SystemdKind kind = kSystemdBuilt);

/** Adds the unit to stop for a group in a slice, given by its path below the slice, if there is one. */
void CgroupUnitAdd(const std::string& strPath, Texts& vecUnits, SystemdKind kind = kSystemdBuilt);

/** The slice that holds what is at a path in a tree, given by its parts; empty when none does. */
std::string CgroupSliceGet(const CgroupTree& tree, const Texts& vecParts);

/** The folder of a slice. */
std::string CgroupSliceFolder(const CgroupTree& tree, const std::string& strSlice);

} // namespace VESK::Systemd
