#include "volume_holders.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <sys/stat.h>
#include <unistd.h>

#include <vesksystemd.hpp>

#include "core/directory.hpp"
#include "core/file_text.hpp"
#include "mount_table.hpp"
#include "output.hpp"
#include "volumes/mount_path_files.hpp"
#include "volumes/mount_path_services.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

constexpr std::string_view kDeleted = " (deleted)";

const char* UseWord(FileUse use)
{
    switch (use) {
    case FileUse::WorkingFolder:
        return "working folder";
    case FileUse::Program:
        return "program";
    case FileUse::Open:
        return "open";
    case FileUse::Mapped:
        break;
    }
    return "mapped";
}

/** Looks for what one volume is held by. */
class Scan
{
public:
    explicit Scan(const std::string& strVolume)
        : m_strVolume(strVolume)
        , m_files(strVolume)
    {
        struct stat status {
        };
        m_nDevice = stat(strVolume.c_str(), &status) == 0 ? status.st_dev : 0;
    }

    Holders Run();

private:
    void ProcessLook(int nPid);
    void LinkLook(const std::string& strLink, const char* szHow);
    void FolderLook(const std::string& strFolder, const char* szHow);
    void KernelLook();
    void LoopDevicesLook();
    void SwapLook();
    void Add(const std::string& strHow, const std::string& strPath, bool blDeleted = false);
    void StopMark();

    std::string m_strVolume;
    MountPathFiles m_files;
    dev_t m_nDevice = 0;
    /** Of the process that is looked at. */
    Holder m_current;
    Holders m_vecFound;
    /** The services that an unmount action finds. */
    std::set<std::string> m_setStopped;
};

void Scan::Add(const std::string& strHow, const std::string& strPath, bool blDeleted)
{
    const bool blKnown = std::any_of(m_vecFound.begin(), m_vecFound.end(), [&](const Holder& holder) {
        return holder.nPid == m_current.nPid && holder.strHow == strHow && holder.strPath == strPath;
    });
    if (blKnown) {
        return;
    }
    Holder holder = m_current;
    holder.strHow = strHow;
    holder.strPath = strPath;
    holder.blDeleted = blDeleted;
    m_vecFound.push_back(holder);
}

/** What a link of /proc leads to on the volume's device, whatever it is called: a deleted file has no other name. */
void Scan::LinkLook(const std::string& strLink, const char* szHow)
{
    struct stat status {
    };
    std::array<char, PATH_MAX> target{};
    if (stat(strLink.c_str(), &status) != 0 || status.st_dev != m_nDevice) {
        return;
    }
    const ssize_t cbTarget = readlink(strLink.c_str(), target.data(), target.size());
    std::string strPath(target.data(), static_cast<size_t>(std::max<ssize_t>(cbTarget, 0)));
    const bool blDeleted = status.st_nlink == 0 && strPath.size() > kDeleted.size() &&
                           strPath.compare(strPath.size() - kDeleted.size(), kDeleted.size(), kDeleted) == 0;
    if (blDeleted) {
        strPath.resize(strPath.size() - kDeleted.size());
    }
    Add(szHow, strPath, blDeleted);
}

void Scan::FolderLook(const std::string& strFolder, const char* szHow)
{
    Directory entries(strFolder);
    while (const char* szEntry = entries.Next()) {
        LinkLook(strFolder + "/" + szEntry, szHow);
    }
}

void Scan::ProcessLook(int nPid)
{
    const size_t nBefore = m_vecFound.size();
    m_current = Holder{m_strVolume, nPid, "", "", "", ""};
    bool blSeen = false;
    m_files.Uses(nPid, [&](FileUse use, const std::string& strFile) {
        Add(UseWord(use), strFile);
        blSeen = true;
        return true;
    });
    const std::string strProcess = "/proc/" + std::to_string(nPid);
    LinkLook(strProcess + "/cwd", "working folder");
    LinkLook(strProcess + "/exe", "program");
    LinkLook(strProcess + "/root", "root folder");
    FolderLook(strProcess + "/fd", "open");
    FolderLook(strProcess + "/map_files", "mapped");
    if (m_vecFound.size() == nBefore) {
        return;
    }
    std::string strUnit;
    std::string strSystemUnit;
    std::string strName;
    VESKSystemdGetByPid(nPid, strUnit);
    Process::NameGet(nPid, strName);
    if (blSeen && SystemUnitGet(nPid, strSystemUnit) && IsListedForMountPath(strSystemUnit)) {
        m_setStopped.insert(strSystemUnit);
    }
    for (size_t i = nBefore; i < m_vecFound.size(); ++i) {
        m_vecFound[i].strProcess = strName;
        m_vecFound[i].strUnit = strUnit;
    }
}

void Scan::LoopDevicesLook()
{
    Directory devices("/sys/block");
    while (const char* szDevice = devices.Next()) {
        std::string strFile;
        if (FileRead(std::string("/sys/block/") + szDevice + "/loop/backing_file", strFile) &&
            IsAtOrBelow(Trimmed(strFile), m_strVolume)) {
            Add("loop device", Trimmed(strFile));
        }
    }
}

void Scan::SwapLook()
{
    std::string strText;
    FileRead("/proc/swaps", strText);
    Lines lines(strText);
    for (std::string_view svLine; lines.Next(svLine);) {
        const std::string strPath(svLine.substr(0, svLine.find(' ')));
        if (IsAtOrBelow(strPath, m_strVolume)) {
            Add("swap", strPath);
        }
    }
}

void Scan::KernelLook()
{
    m_current = Holder{m_strVolume, 0, "kernel", "", "", ""};
    for (const Mount& mount : MountsGet()) {
        if (mount.strPath != m_strVolume && IsAtOrBelow(mount.strPath, m_strVolume)) {
            Add("mount", mount.strPath);
        }
    }
    LoopDevicesLook();
    SwapLook();
}

/** A service is stopped whole, also its processes that the action has not seen. */
void Scan::StopMark()
{
    for (Holder& holder : m_vecFound) {
        holder.blStopped = holder.nPid != 0 && m_setStopped.count(holder.strUnit) != 0;
    }
}

Holders Scan::Run()
{
    Texts vecEntries;
    VisibleEntriesAppend("/proc/", vecEntries);
    std::vector<int> vecPids;
    for (const std::string& strEntry : vecEntries) {
        if (strEntry.find_first_not_of("0123456789") == std::string::npos) {
            vecPids.push_back(std::stoi(strEntry));
        }
    }
    std::sort(vecPids.begin(), vecPids.end());
    for (const int nPid : vecPids) {
        ProcessLook(nPid);
    }
    KernelLook();
    StopMark();
    return m_vecFound;
}

} // namespace

Holders HoldersGet(const Texts& vecVolumes)
{
    Holders vecHolders;
    for (const std::string& strVolume : vecVolumes) {
        const Holders vecFound = Scan(strVolume).Run();
        vecHolders.insert(vecHolders.end(), vecFound.begin(), vecFound.end());
    }
    return vecHolders;
}

Json::Value HoldersJson(const Holders& vecHolders)
{
    Json::Value list(Json::arrayValue);
    for (const Holder& holder : vecHolders) {
        Json::Value value;
        value["volume"] = holder.strVolume;
        value["pid"] = holder.nPid == 0 ? Json::Value() : Json::Value(holder.nPid);
        value["process"] = holder.strProcess;
        value["unit"] = holder.strUnit;
        value["how"] = holder.strHow;
        value["path"] = holder.strPath;
        value["deleted"] = holder.blDeleted;
        value["stoppedByUnmount"] = holder.blStopped;
        list.append(value);
    }
    return list;
}

void HoldersPrint(const Holders& vecHolders)
{
    Table table({"UNIT", "PID", "PROCESS", "HOW", "STOPPED BY AN UNMOUNT", "PATH"});
    for (const Holder& holder : vecHolders) {
        table.Row({holder.strUnit, holder.nPid == 0 ? "" : std::to_string(holder.nPid), holder.strProcess,
                   holder.strHow + (holder.blDeleted ? ", deleted" : ""),
                   holder.blStopped ? Cell("yes", Colour::Good) : Cell("no", Colour::Bad), holder.strPath});
    }
    table.Print();
}

} // namespace Veskctl
