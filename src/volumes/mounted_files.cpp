#include "volumes/mounted_files.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <iterator>
#include <sys/stat.h>
#include <utility>

namespace VESK::Systemd
{
namespace
{

/** Whether a call failed since there is nothing at the path, which does not change from one moment to the next. */
bool IsAbsent(int nError)
{
    return nError == ENOENT || nError == ENOTDIR;
}

bool IsBelow(const std::string& strPath, const std::string& strFolder)
{
    return strPath.compare(0, strFolder.size(), strFolder) == 0 &&
           (strPath.size() == strFolder.size() || strPath[strFolder.size()] == '/');
}

/** Whether a name is that of an entry, and no way to another folder. */
bool IsEntry(std::string_view svName)
{
    return !svName.empty() && svName != "." && svName != "..";
}

} // namespace

MountedFiles::MountedFiles(const Texts& vecMntPaths)
{
    std::transform(vecMntPaths.begin(), vecMntPaths.end(), std::back_inserter(m_vecMounts), MountOf);
}

MountedFiles::Mount MountedFiles::MountOf(const std::string& strPath)
{
    struct stat status {
    };
    const int nError = stat(strPath.c_str(), &status) == 0 ? 0 : errno;
    return {strPath, nError == 0 ? status.st_dev : 0, nError};
}

const MountedFiles::File& MountedFiles::Find(std::string_view svPath)
{
    const auto it = m_mapFiles.find(svPath);
    if (it != m_mapFiles.end()) {
        return *it->second;
    }
    File file;
    file.strText = svPath;
    Resolve(file);
    if (file.nError != 0) {
        m_untold = std::move(file);
        return m_untold;
    }
    auto pFile = std::make_unique<const File>(std::move(file));
    const std::string_view svText = pFile->strText;
    return *m_mapFiles.emplace(svText, std::move(pFile)).first->second;
}

void MountedFiles::Resolve(File& file)
{
    const size_t nName = file.strText.rfind('/') + 1;
    const std::string_view svName = std::string_view(file.strText).substr(nName);
    if (nName != 0 && file.strText.front() == '/' && IsEntry(svName)) {
        ResolveIn(file.strText.substr(0, nName), svName, file);
    } else {
        ResolveLinks(file);
    }
}

void MountedFiles::ResolveIn(const std::string& strFolder, std::string_view svName, File& file)
{
    const std::string* pFolder = FolderFind(strFolder);
    std::string strPath = pFolder != nullptr ? *pFolder : std::string();
    strPath += svName;
    struct stat status {
    };
    if (pFolder == nullptr || lstat(strPath.c_str(), &status) != 0) {
        file.nError = IsAbsent(errno) ? 0 : errno;
    } else if (S_ISLNK(status.st_mode)) {
        ResolveLinks(file);
    } else {
        MountsFind(strPath, status.st_dev, file);
    }
}

const std::string* MountedFiles::FolderFind(const std::string& strFolder)
{
    const auto it = m_mapFolders.find(strFolder);
    if (it != m_mapFolders.end()) {
        return &it->second;
    }
    std::array<char, PATH_MAX> resolved;
    if (realpath(strFolder.c_str(), resolved.data()) == nullptr) {
        return nullptr;
    }
    std::string strResolved = resolved.data();
    strResolved += strResolved.back() == '/' ? "" : "/";
    return &m_mapFolders.emplace(strFolder, std::move(strResolved)).first->second;
}

void MountedFiles::ResolveLinks(File& file) const
{
    std::array<char, PATH_MAX> resolved;
    if (realpath(file.strText.c_str(), resolved.data()) == nullptr) {
        file.nError = IsAbsent(errno) ? 0 : errno;
        return;
    }
    struct stat status {
    };
    file.nError = stat(resolved.data(), &status) == 0 ? 0 : errno;
    MountsFind(resolved.data(), file.nError == 0 ? status.st_dev : 0, file);
}

void MountedFiles::MountsFind(const std::string& strPath, dev_t device, File& file) const
{
    for (size_t nMount = 0; nMount < m_vecMounts.size(); ++nMount) {
        const Mount& mount = m_vecMounts[nMount];
        if ((device != 0 && device == mount.device) || IsBelow(strPath, mount.strPath)) {
            file.vecMounts.push_back(nMount);
            file.strPath = strPath;
        }
    }
}

} // namespace VESK::Systemd
