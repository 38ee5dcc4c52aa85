#include "resource/cgroup_layout.hpp"

#include <algorithm>
#include <linux/magic.h>
#include <string_view>
#include <sys/vfs.h>

#include "core/file_system.hpp"
#include "vesksystemd.hpp"

namespace VESK::Systemd
{
namespace
{

constexpr const char* kRoot = "/sys/fs/cgroup";
constexpr const char* kSystemd = "/sys/fs/cgroup/systemd";
constexpr const char* kMonitor = "/sys/fs/cgroup/veskmonitor";
constexpr const char* kUnified = "/sys/fs/cgroup/unified";

CgroupMount MountGet(const char* szFolder)
{
    struct statfs status {
    };
    if (statfs(szFolder, &status) != 0) {
        return CgroupMount::None;
    }
    switch (status.f_type) {
    case CGROUP_SUPER_MAGIC:
        return CgroupMount::V1;
    case CGROUP2_SUPER_MAGIC:
        return CgroupMount::V2;
    default:
        return CgroupMount::None;
    }
}

/** The platform's trees are where they are, and nobody has to look for them. */
CgroupMounts MountsGet()
{
    if (kSystemdBuilt == SystemdKind::Platform) {
        return {};
    }
    return {MountGet(kRoot), MountGet(kSystemd), MountGet(kMonitor)};
}

CgroupTree NamedTree(const char* szFolder, const char* szHierarchy)
{
    return {szFolder, szHierarchy, "tasks", false};
}

CgroupTree UnifiedTree(const char* szFolder)
{
    return {szFolder, "", "cgroup.procs", true};
}

bool IsUnitName(const std::string& strName)
{
    return NormalizedUnitNameGet(strName) == strName;
}

/** The name of a group's unit: a "_" keeps apart what the kernel would take for a file of its own. */
std::string Unescaped(const std::string& strPart)
{
    return strPart.substr(strPart.rfind('_', 0) == 0 ? 1 : 0);
}

/** Without what the kernel adds where the group of a process that ends has gone before it. */
std::string WithoutMark(const std::string& strPath)
{
    constexpr std::string_view kMark = " (deleted)";
    const size_t nMark = strPath.rfind(kMark);
    const bool blMarked = nMark != std::string::npos && nMark + kMark.size() == strPath.size();
    return strPath.substr(0, blMarked ? nMark : strPath.size());
}

/**
 * The first unit among parts of a path that is no slice, or the last of the slices if there is none. What a
 * unit has below its own group is for it to name. `nPart` gets the number of the part after it.
 */
std::string FirstUnit(const Texts& vecParts, size_t& nPart)
{
    std::string strSlice;
    while (nPart < vecParts.size()) {
        std::string strUnit = Unescaped(vecParts[nPart]);
        if (!IsUnitName(strUnit)) {
            break;
        }
        ++nPart;
        if (UnitTypeGet(strUnit) != "slice") {
            return strUnit;
        }
        strSlice = strUnit;
    }
    return strSlice;
}

bool IsUserManager(const std::string& strUnit)
{
    return strUnit.rfind("user@", 0) == 0 && UnitTypeGet(strUnit) == "service";
}

/** "a-b.slice" as "a.slice/a-b.slice". A name that systemd would not take for a slice's stays as it is. */
std::string NestedSlice(const std::string& strSlice)
{
    const std::string strStem = "-" + UnitNameWithoutFileExtensionGet(strSlice) + "-";
    if (UnitTypeGet(strSlice) != "slice" || strSlice.find('/') != std::string::npos ||
        strStem.find("--") != std::string::npos) {
        return strSlice;
    }
    std::string strPath;
    for (size_t nDash = strSlice.find('-'); nDash != std::string::npos;
         nDash = strSlice.find('-', nDash + 1)) {
        strPath += strSlice.substr(0, nDash) + ".slice/";
    }
    return strPath + strSlice;
}

} // namespace

CgroupTree SystemdTreeOf(SystemdKind kind, const CgroupMounts& mounts)
{
    CgroupTree named = NamedTree(kSystemd, "name=systemd");
    if (kind == SystemdKind::Platform) {
        return named;
    }
    if (mounts.root == CgroupMount::V2) {
        return UnifiedTree(kRoot);
    }
    if (mounts.systemd == CgroupMount::V1) {
        named.blNested = true;
        return named;
    }
    return UnifiedTree(mounts.systemd == CgroupMount::V2 ? kSystemd : kUnified);
}

CgroupTree MonitorTreeOf(SystemdKind kind, const CgroupMounts& mounts)
{
    const bool blOwn = kind == SystemdKind::Platform || mounts.monitor == CgroupMount::V1;
    return blOwn ? NamedTree(kMonitor, "name=veskmonitor") : SystemdTreeOf(kind, mounts);
}

CgroupTree SystemdTree()
{
    return SystemdTreeOf(kSystemdBuilt, MountsGet());
}

CgroupTree MonitorTree()
{
    return MonitorTreeOf(kSystemdBuilt, MountsGet());
}

CgroupTree CgroupTreeGet(const std::string& strFolderName)
{
    if (strFolderName == "systemd") {
        return SystemdTree();
    }
    if (strFolderName == "veskmonitor") {
        return MonitorTree();
    }
    return NamedTree((std::string(kRoot) + "/" + strFolderName).c_str(), "");
}

std::string CgroupHierarchyGet(const std::string& strHierarchy)
{
    if (strHierarchy == "name=systemd") {
        return SystemdTree().strHierarchy;
    }
    return strHierarchy == "name=veskmonitor" ? MonitorTree().strHierarchy : strHierarchy;
}

bool CgroupLineParse(const std::string& strLine, const std::string& strHierarchy, std::string& strPath,
                     SystemdKind kind)
{
    const Texts vecFields = Pieces(strLine, ":");
    if (vecFields.size() < 3 || vecFields[1] != strHierarchy) {
        return false;
    }
    if (kind == SystemdKind::Platform) {
        strPath = vecFields.size() == 3 ? vecFields[2] : strPath;
        return vecFields.size() == 3;
    }
    // Names of units may hold colons, as those of services that a message bus starts do.
    const std::string strFound = Joined({vecFields.begin() + 2, vecFields.end()}, ":");
    strPath = WithoutMark(strFound);
    return true;
}

std::string CgroupUnitGet(const Texts& vecParts, SystemdKind kind)
{
    if (kind == SystemdKind::Platform) {
        const bool blUnit = !vecParts.empty() && vecParts.back().find('.') != std::string::npos;
        return blUnit ? vecParts.back() : std::string();
    }
    // The path begins with "/", so the first part is empty.
    size_t nPart = 1;
    const std::string strUnit = FirstUnit(vecParts, nPart);
    const std::string strUsers = IsUserManager(strUnit) ? FirstUnit(vecParts, nPart) : std::string();
    return strUsers.empty() ? strUnit : strUsers;
}

void CgroupUnitAdd(const std::string& strPath, Texts& vecUnits, SystemdKind kind)
{
    if (kind == SystemdKind::Platform) {
        vecUnits.push_back(BaseName(strPath));
        return;
    }
    const Texts vecParts = Pieces(strPath, "/");
    size_t nPart = 1;
    const std::string strUnit = FirstUnit(vecParts, nPart);
    // A unit may have several groups.
    if (!strUnit.empty() && std::find(vecUnits.begin(), vecUnits.end(), strUnit) == vecUnits.end()) {
        vecUnits.push_back(strUnit);
    }
}

std::string CgroupSliceGet(const CgroupTree& tree, const Texts& vecParts)
{
    std::string strSlice;
    // The path begins with "/", so the first part is empty.
    for (size_t nPart = 1; nPart < vecParts.size() && UnitTypeGet(vecParts[nPart]) == "slice"; ++nPart) {
        strSlice = vecParts[nPart];
        if (!tree.blNested) {
            break;
        }
    }
    return strSlice;
}

std::string CgroupSliceFolder(const CgroupTree& tree, const std::string& strSlice)
{
    return tree.strFolder + "/" + (tree.blNested ? NestedSlice(strSlice) : strSlice);
}

} // namespace VESK::Systemd
