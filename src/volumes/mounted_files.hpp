#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unordered_map>
#include <vector>

#include "core/text.hpp"

namespace VESK::Systemd
{

/**
 * Which files lie on some mount paths, for one scan. What a path resolves to is the same for the whole scan, so each
 * is looked at once: all processes map the same libraries and many hold the same files.
 */
class MountedFiles
{
public:
    struct File {
        std::string strText;           ///< the path as it was asked for
        std::vector<size_t> vecMounts; ///< the mount paths that it lies on, by their places in the list
        std::string strPath;           ///< what it resolves to, for a file on one of them
        int nError = 0;                ///< what kept something of this from being told
    };

    explicit MountedFiles(const Texts& vecMntPaths);

    /** What kept a mount path itself from being looked at; 0 for none. */
    int Error(size_t nMount) const { return m_vecMounts[nMount].nError; }

    /** The file of a path, valid until the next call. One that could not be told is looked at again next time. */
    const File& Find(std::string_view svPath);

private:
    struct Mount {
        std::string strPath;
        dev_t device = 0;
        int nError = 0;
    };
    static Mount MountOf(const std::string& strPath);

    void Resolve(File& file);
    void ResolveIn(const std::string& strFolder, std::string_view svName, File& file);
    void ResolveLinks(File& file) const;
    void MountsFind(const std::string& strPath, dev_t device, File& file) const;
    /** What a folder resolves to, with a slash at its end; null, with errno set, when that cannot be told. */
    const std::string* FolderFind(const std::string& strFolder);

    std::vector<Mount> m_vecMounts;
    /** By their texts, which they own. */
    std::unordered_map<std::string_view, std::unique_ptr<const File>> m_mapFiles;
    std::unordered_map<std::string, std::string> m_mapFolders;
    File m_untold;
};

} // namespace VESK::Systemd
