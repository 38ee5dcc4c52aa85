#include "volumes/mount_path_files.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/directory.hpp"
#include "core/file_system.hpp"
#include "core/file_text.hpp"
#include "resource/proc_parse.hpp"

namespace VESK::Systemd
{

MountPathFiles::MountPathFiles(const std::string& strMntPath)
    : m_strMntPath(strMntPath)
{
    DeviceGet(m_strMntPath, m_device);
}

void MountPathFiles::Uses(int nPid, const Visit& visit)
{
    m_blIncomplete = false;
    const std::string strProcess = "/proc/" + std::to_string(nPid);
    const auto linkVisit = [&](const char* szLink, FileUse use) {
        std::string strFile;
        return !IsLinkOnMountPath(AT_FDCWD, (strProcess + szLink).c_str(), strFile) || visit(use, strFile);
    };
    if (linkVisit("/cwd", FileUse::WorkingFolder) && linkVisit("/exe", FileUse::Program) &&
        OpenVisit(strProcess, visit)) {
        MapsVisit(strProcess, visit);
    }
}

bool MountPathFiles::IsUsedBy(int nPid, std::string& strFile)
{
    bool blUsed = false;
    Uses(nPid, [&](FileUse, const std::string& strFound) {
        strFile = strFound;
        blUsed = true;
        return false;
    });
    return blUsed;
}

MountPathFiles::File MountPathFiles::OnMountPath(std::string_view svPath)
{
    m_strPath = svPath;
    const auto it = m_mapResolved.find(m_strPath);
    if (it != m_mapResolved.end()) {
        return it->second;
    }
    File file;
    // The next process may find what this one could not be asked for.
    if (Resolve(m_strPath, file)) {
        m_mapResolved.emplace(m_strPath, file);
    }
    return file;
}

bool MountPathFiles::Resolve(const std::string& strPath, File& file)
{
    std::array<char, PATH_MAX> resolved;
    if (realpath(strPath.c_str(), resolved.data()) == nullptr) {
        return PassOver(errno);
    }
    dev_t device = 0;
    const bool blBelow = IsBelowMountPath(resolved.data());
    if (!blBelow && m_device != 0 && !DeviceGet(resolved.data(), device)) {
        return false;
    }
    if (blBelow || (m_device != 0 && device == m_device)) {
        file = resolved.data();
    }
    return true;
}

bool MountPathFiles::DeviceGet(const std::string& strPath, dev_t& device)
{
    struct stat status {
    };
    if (stat(strPath.c_str(), &status) != 0) {
        return PassOver(errno);
    }
    device = status.st_dev;
    return true;
}

bool MountPathFiles::IsBelowMountPath(const std::string& strResolved) const
{
    if (strResolved.compare(0, m_strMntPath.size(), m_strMntPath) != 0) {
        return false;
    }
    return strResolved.size() == m_strMntPath.size() || strResolved[m_strMntPath.size()] == '/';
}

bool MountPathFiles::PassOver(int nError)
{
    const bool blShortage = IsShortage(nError);
    m_blIncomplete = m_blIncomplete || blShortage;
    return !blShortage;
}

bool MountPathFiles::IsLinkOnMountPath(int fdFolder, const char* szLink, std::string& strFile)
{
    std::array<char, PATH_MAX> target;
    const ssize_t cbTarget = readlinkat(fdFolder, szLink, target.data(), target.size());
    if (cbTarget < 0) {
        PassOver(errno);
    }
    // What is no file, as a socket, has no absolute path to resolve.
    if (cbTarget <= 0 || target[0] != '/') {
        return false;
    }
    const File file = OnMountPath({target.data(), static_cast<size_t>(cbTarget)});
    if (file) {
        strFile = *file;
    }
    return file.has_value();
}

bool MountPathFiles::OpenVisit(const std::string& strProcess, const Visit& visit)
{
    Directory descriptors(strProcess + "/fd/");
    if (descriptors.Error() != 0) {
        PassOver(descriptors.Error());
        return true;
    }
    std::string strFile;
    while (const char* szDescriptor = descriptors.Next()) {
        if (IsLinkOnMountPath(descriptors.Descriptor(), szDescriptor, strFile) &&
            !visit(FileUse::Open, strFile)) {
            return false;
        }
    }
    // A list that breaks off may hold more, but that of a process that ends.
    const int nError = descriptors.Error();
    m_blIncomplete = m_blIncomplete || (nError != 0 && nError != ENOENT && nError != ESRCH);
    return true;
}

void MountPathFiles::MapsVisit(const std::string& strProcess, const Visit& visit)
{
    const bool blRead = FilePiecesRead(strProcess + "/maps",
                                       [&](std::string_view svPiece) { return MappedVisit(svPiece, visit); });
    if (!blRead) {
        PassOver(errno);
    }
}

bool MountPathFiles::MappedVisit(std::string_view svMaps, const Visit& visit)
{
    Lines lines(svMaps);
    std::string_view svLast;
    for (std::string_view svLine; lines.Next(svLine);) {
        const std::string_view svPath = MapsPathParse(svLine);
        // A file is mapped in several parts, which follow each other.
        if (svPath.empty() || svPath == svLast) {
            continue;
        }
        svLast = svPath;
        const File file = OnMountPath(svPath);
        if (file && !visit(FileUse::Mapped, *file)) {
            return false;
        }
    }
    return true;
}

} // namespace VESK::Systemd
