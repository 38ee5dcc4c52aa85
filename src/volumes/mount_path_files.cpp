#include "volumes/mount_path_files.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/directory.hpp"
#include "core/file_text.hpp"
#include "resource/proc_parse.hpp"

namespace VESK::Systemd
{
namespace
{

/** The device that a file lies on, 0 when it cannot be told. */
dev_t DeviceOf(const std::string& strPath)
{
    struct stat status {
    };
    return stat(strPath.c_str(), &status) == 0 ? status.st_dev : 0;
}

} // namespace

bool IsShortage(int nError)
{
    return nError == EMFILE || nError == ENFILE || nError == ENOMEM;
}

MountPathFiles::MountPathFiles(const std::string& strMntPath)
    : m_strMntPath(strMntPath)
    , m_device(DeviceOf(strMntPath))
{
}

bool MountPathFiles::IsUsedBy(int nPid, std::string& strFile)
{
    m_blIncomplete = false;
    const std::string strProcess = "/proc/" + std::to_string(nPid);
    return IsLinkOnMountPath(AT_FDCWD, (strProcess + "/cwd").c_str(), strFile) ||
           IsLinkOnMountPath(AT_FDCWD, (strProcess + "/exe").c_str(), strFile) ||
           HoldsOpen(strProcess, strFile) || Maps(strProcess, strFile);
}

const MountPathFiles::File& MountPathFiles::OnMountPath(std::string_view svPath)
{
    m_strPath = svPath;
    const auto it = m_mapResolved.find(m_strPath);
    return it != m_mapResolved.end() ? it->second
                                     : m_mapResolved.emplace(m_strPath, Resolved(m_strPath)).first->second;
}

MountPathFiles::File MountPathFiles::Resolved(const std::string& strPath)
{
    std::array<char, PATH_MAX> resolved;
    if (realpath(strPath.c_str(), resolved.data()) == nullptr) {
        PassOver(errno);
        return std::nullopt;
    }
    return IsOnMountPath(resolved.data()) ? File(resolved.data()) : std::nullopt;
}

bool MountPathFiles::IsOnMountPath(const std::string& strResolved) const
{
    if (m_device != 0 && DeviceOf(strResolved) == m_device) {
        return true;
    }
    if (strResolved.compare(0, m_strMntPath.size(), m_strMntPath) != 0) {
        return false;
    }
    return strResolved.size() == m_strMntPath.size() || strResolved[m_strMntPath.size()] == '/';
}

void MountPathFiles::PassOver(int nError)
{
    m_blIncomplete = m_blIncomplete || IsShortage(nError);
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
    const File& file = OnMountPath({target.data(), static_cast<size_t>(cbTarget)});
    if (file) {
        strFile = *file;
    }
    return file.has_value();
}

bool MountPathFiles::HoldsOpen(const std::string& strProcess, std::string& strFile)
{
    Directory descriptors(strProcess + "/fd/");
    PassOver(descriptors.Error());
    while (const char* szDescriptor = descriptors.Next()) {
        if (IsLinkOnMountPath(descriptors.Descriptor(), szDescriptor, strFile)) {
            return true;
        }
    }
    return false;
}

bool MountPathFiles::Maps(const std::string& strProcess, std::string& strFile)
{
    bool blFound = false;
    const bool blRead = FilePiecesRead(strProcess + "/maps", [&](std::string_view svPiece) {
        blFound = IsMapped(svPiece, strFile);
        return !blFound;
    });
    if (!blRead) {
        PassOver(errno);
    }
    return blFound;
}

bool MountPathFiles::IsMapped(std::string_view svMaps, std::string& strFile)
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
        if (const File& file = OnMountPath(svPath)) {
            strFile = *file;
            return true;
        }
    }
    return false;
}

} // namespace VESK::Systemd
