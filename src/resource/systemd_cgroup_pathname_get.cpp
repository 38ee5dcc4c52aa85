#include "vesksystemd.hpp"

#include <cerrno>

#include "core/file_text.hpp"
#include "core/log.hpp"
#include "resource/cgroup_layout.hpp"
#include "resource/cgroup_text.hpp"

using namespace VESK::Systemd;

namespace VESK::Systemd
{

CgroupText CgroupTextRead(int nPid)
{
    CgroupText text;
    try {
        if (!FileRead("/proc/" + std::to_string(nPid) + "/cgroup", text.strText)) {
            text.nError = errno;
        }
    } catch (const std::exception&) {
        text.exception = std::current_exception();
    }
    return text;
}

bool CgroupPathnameGet(const CgroupText& text, const std::string& strHierarchy, std::string& strPath)
{
    try {
        if (text.exception) {
            std::rethrow_exception(text.exception);
        }
        if (text.nError != 0) {
            errno = text.nError;
            return false;
        }
        const std::string strName = CgroupHierarchyGet(strHierarchy);
        Lines lines(text.strText);
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

} // namespace VESK::Systemd

bool VESKSystemdCgroupPathnameGet(int nPid, const std::string& strHierarchy, std::string& strPath)
{
    return CgroupPathnameGet(CgroupTextRead(nPid), strHierarchy, strPath);
}
