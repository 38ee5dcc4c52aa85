#include "resource/cgroup_walk.hpp"

#include <cerrno>

#include "core/directory.hpp"
#include "core/file_system.hpp"
#include "core/text.hpp"

namespace VESK::Systemd
{
namespace
{

/** Appends what is in a folder; false when that is not all. */
bool EntriesAppend(const std::string& strFolder, Texts& vecEntries)
{
    const int nError = VisibleEntriesAppend(strFolder, vecEntries);
    return nError == 0 || IsNoGroup(nError);
}

} // namespace

bool IsNoGroup(int nError)
{
    return nError == ENOENT || nError == ENODEV || nError == ENAMETOOLONG;
}

bool CgroupsBelow(const std::string& strFolder, const std::function<void(const std::string& strGroup)>& visit)
{
    // However deep the groups are, one folder is open at a time.
    const std::string strPrefix = strFolder + "/";
    Texts vecEntries;
    bool blSearched = EntriesAppend(strFolder, vecEntries);
    for (const std::string& strName : vecEntries) {
        const std::string strEntry = strPrefix + strName;
        errno = 0;
        // A symbolic link is no group, and following it might never end.
        if (!IsOwnDirectory(strEntry)) {
            blSearched = blSearched && (errno == 0 || IsNoGroup(errno));
            continue;
        }
        visit(strEntry);
        blSearched = CgroupsBelow(strEntry, visit) && blSearched;
    }
    return blSearched;
}

} // namespace VESK::Systemd
