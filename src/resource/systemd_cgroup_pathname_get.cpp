#include "vesksystemd.hpp"

#include <cerrno>

#include "core/file_text.hpp"
#include "core/log.hpp"
#include "resource/cgroup_layout.hpp"

using namespace VESK::Systemd;

bool VESKSystemdCgroupPathnameGet(int nPid, const std::string& strHierarchy, std::string& strPath)
{
    try {
        std::string strText;
        if (!FileRead("/proc/" + std::to_string(nPid) + "/cgroup", strText)) {
            return false;
        }
        const std::string strName = CgroupHierarchyGet(strHierarchy);
        Lines lines(strText);
        for (std::string_view svLine; lines.Next(svLine);) {
            if (CgroupLineParse(std::string(svLine), strName, strPath)) {
                return true;
            }
        }
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d Exception: %s", VESK_HERE, error.what());
        // Memory, which is all that can be lacking here, tells nothing of the process.
        errno = ENOMEM;
    }
    return false;
}
