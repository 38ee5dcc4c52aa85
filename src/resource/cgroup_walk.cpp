#include "resource/cgroup_walk.hpp"

#include "core/file_system.hpp"
#include "core/glob_result.hpp"

namespace VESK::Systemd
{

bool CgroupsBelow(const std::string& strFolder, const std::function<void(const std::string& strGroup)>& visit)
{
    GlobResult entries;
    const int nResult = entries.Add(strFolder, "/*");
    bool blSearched = nResult == 0 || nResult == GLOB_NOMATCH;
    for (const std::string strEntry : entries) {
        // A symbolic link is no group, and following it might never end.
        if (!IsOwnDirectory(strEntry)) {
            continue;
        }
        visit(strEntry);
        blSearched = CgroupsBelow(strEntry, visit) && blSearched;
    }
    return blSearched;
}

} // namespace VESK::Systemd
