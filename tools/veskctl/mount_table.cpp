#include "mount_table.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/file_text.hpp"
#include "output.hpp"

namespace Veskctl
{
namespace
{

constexpr const char* kKernelTypes[] = {
    "autofs",   "binfmt_misc", "bpf",    "cgroup", "cgroup2", "configfs",   "debugfs", "devpts", "devtmpfs",
    "efivarfs", "hugetlbfs",   "mqueue", "proc",   "pstore",  "securityfs", "sysfs",   "tracefs"};

bool IsOctal(char c)
{
    return c >= '0' && c <= '7';
}

/** The text with "\040" and the like as what they stand for. */
std::string Unescaped(const std::string& strText)
{
    std::string strResult;
    for (size_t i = 0; i < strText.size(); ++i) {
        if (strText[i] == '\\' && i + 3 < strText.size() && IsOctal(strText[i + 1])) {
            strResult += static_cast<char>(std::stoi(strText.substr(i + 1, 3), nullptr, 8));
            i += 3;
        } else {
            strResult += strText[i];
        }
    }
    return strResult;
}

/** A line of mountinfo: its fifth field is the path; after a field "-" come the type and the source. */
bool MountParse(const std::string& strLine, Mount& mount)
{
    const Texts vecFields = VESK::Systemd::Pieces(strLine, " ");
    const auto dash = std::find(vecFields.begin(), vecFields.end(), "-");
    if (vecFields.size() < 5 || vecFields.end() - dash < 3) {
        return false;
    }
    mount = {Unescaped(vecFields[4]), *(dash + 1), Unescaped(*(dash + 2))};
    return true;
}

/** The path without links, dots and blanks at wrong places; empty with errno set for what is not there. */
std::string Canonical(const std::string& strPath)
{
    const std::unique_ptr<char, void (*)(void*)> pResolved(realpath(strPath.c_str(), nullptr), free);
    return pResolved == nullptr ? "" : pResolved.get();
}

} // namespace

std::vector<Mount> MountsGet()
{
    std::string strText;
    VESK::Systemd::FileRead("/proc/self/mountinfo", strText);
    std::vector<Mount> vecMounts;
    VESK::Systemd::Lines lines(strText);
    Mount mount;
    for (std::string_view svLine; lines.Next(svLine);) {
        if (MountParse(std::string(svLine), mount)) {
            vecMounts.push_back(mount);
        }
    }
    return vecMounts;
}

bool IsMountPoint(const std::string& strPath)
{
    const std::vector<Mount> vecMounts = MountsGet();
    return std::any_of(vecMounts.begin(), vecMounts.end(),
                       [&](const Mount& mount) { return mount.strPath == strPath; });
}

bool IsAtOrBelow(const std::string& strPath, const std::string& strFolder)
{
    return strPath == strFolder || strPath.compare(0, strFolder.size() + 1, strFolder + "/") == 0;
}

Texts MountedVolumes()
{
    Texts vecVolumes;
    for (const Mount& mount : MountsGet()) {
        const bool blKernel =
            std::count(std::begin(kKernelTypes), std::end(kKernelTypes), mount.strType) != 0;
        if (!blKernel && mount.strPath != "/") {
            vecVolumes.push_back(mount.strPath);
        }
    }
    return vecVolumes;
}

Exit VolumesResolve(const Texts& vecGiven, bool blForce, Texts& vecVolumes)
{
    for (const std::string& strGiven : vecGiven) {
        const std::string strVolume = Canonical(strGiven);
        if (strVolume.empty()) {
            Complain(strGiven + ": " + strerror(errno));
            return errno == EACCES ? Exit::NotPermitted : Exit::NotFound;
        }
        if (strVolume == "/") {
            Complain(strGiven + ": the root of the system is no volume");
            return Exit::WrongUse;
        }
        if (!blForce && !IsMountPoint(strVolume)) {
            Complain(strVolume +
                     ": no mount point, so it would stand for everything on the file system that it lies "
                     "on; --force insists");
            return Exit::NotFound;
        }
        if (std::count(vecVolumes.begin(), vecVolumes.end(), strVolume) == 0) {
            vecVolumes.push_back(strVolume);
        }
    }
    return Exit::Done;
}

} // namespace Veskctl
