#include "vesksystemd.hpp"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

#include "core/directory.hpp"
#include "core/file_system.hpp"
#include "core/file_text.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"
#include "resource/cgroup_walk.hpp"

namespace VESK::Systemd
{
namespace
{

constexpr const char* kProcesses = "/cgroup.procs";

/** Whether a process has ended, or is about to: what is sampled goes before its last trace does. */
bool IsGone(int nPid)
{
    const std::string strFolder = "/proc/" + std::to_string(nPid);
    std::string strText;
    if (!FileRead(strFolder + "/stat", strText)) {
        return access(strFolder.c_str(), F_OK) != 0;
    }
    // The state follows the name, which stands in parentheses and may hold some of its own.
    const Texts vecFields = Pieces(strText.substr(std::min(strText.rfind(')') + 1, strText.size())), " ");
    constexpr unsigned long kExiting = 0x4;
    return vecFields.size() < 7 || vecFields[0] == "Z" || vecFields[0] == "X" ||
           (std::stoul(vecFields[6]) & kExiting) != 0;
}

/** Adds a sample of the process unless it has ended. False when it lives and cannot be sampled. */
bool ProcessAdd(int nPid, std::set<Process>& setProcesses)
{
    try {
        setProcesses.insert(Process(nPid));
        return true;
    } catch (const std::exception&) {
        return IsGone(nPid);
    }
}

/** The processes in a group's file of members; false when a line is no number. */
bool MembersAdd(const std::string& strPath, std::set<Process>& setProcesses)
{
    std::string strText;
    if (!FileRead(strPath, strText)) {
        // The folder of a unit goes with its last process; a group of threads has none of its own; a slice's own
        // files are no groups.
        return errno == ENOENT || errno == ENODEV || errno == EOPNOTSUPP || errno == ENOTDIR;
    }
    Lines lines(strText);
    for (std::string_view svLine; lines.Next(svLine);) {
        if (!ProcessAdd(std::stoi(std::string(svLine)), setProcesses)) {
            return false;
        }
    }
    return true;
}

/** The files of members of a slice; false when not all could be looked for. */
bool MembersFind(const CgroupTree& tree, const std::string& strFolder, Texts& vecPaths)
{
    if (tree.blNested) {
        // Units have groups in theirs, as those of systemd for users do.
        vecPaths.push_back(strFolder + kProcesses);
        return CgroupsBelow(strFolder,
                            [&](const std::string& strGroup) { vecPaths.push_back(strGroup + kProcesses); });
    }
    const std::string strMembers = "/" + tree.strMembers;
    Texts vecGroups{""};
    const int nError = VisibleEntriesAppend(strFolder, vecGroups);
    for (const std::string& strGroup : vecGroups) {
        vecPaths.push_back(strFolder + "/");
        vecPaths.back().append(strGroup).append(strMembers);
    }
    return !LeavesEntriesOpen(nError);
}

} // namespace

Slice::Slice(const std::string& strUnit)
    : m_strUnit(BeforeZero(strUnit))
{
    const bool blName = VESKSystemdNameGet(strUnit, m_strName);
    const bool blNameI18n = VESKSystemdNameI18nGet(strUnit, m_strNameI18n);
    if ((!blName && !blNameI18n) || !VESKSystemdIconGet(strUnit, m_icon) ||
        !ProcessList(strUnit, m_setProcesses)) {
        throw std::exception();
    }
}

std::string Slice::UnitNameGet() const
{
    return m_strUnit;
}

std::string Slice::NameGet() const
{
    return m_strName;
}

std::string Slice::NameI18nGet() const
{
    return m_strNameI18n;
}

Icon Slice::IconGet() const
{
    return m_icon;
}

std::set<Process> Slice::ProcessesGet() const
{
    return m_setProcesses;
}

bool Slice::ProcessList(const std::string& strSlice, std::set<Process>& setProcesses)
{
    const CgroupTree tree = MonitorTree();
    const std::string strFolder = CgroupSliceFolder(tree, BeforeZero(strSlice));
    Texts vecPaths;
    if (!IsDirectory(strFolder) || !MembersFind(tree, strFolder, vecPaths)) {
        return false;
    }
    std::set<Process> setFound;
    try {
        for (const std::string& strPath : vecPaths) {
            if (!MembersAdd(strPath, setFound)) {
                return false;
            }
        }
    } catch (const std::exception&) {
        return false;
    }
    setProcesses.merge(setFound);
    return true;
}

} // namespace VESK::Systemd
