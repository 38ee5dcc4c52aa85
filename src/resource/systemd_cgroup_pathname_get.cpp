#include "vesksystemd.hpp"

#include "core/file_text.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdCgroupPathnameGet(int nPid, const std::string& strHierarchy, std::string& strPath)
{
    try {
        std::string strText;
        if (!FileRead("/proc/" + std::to_string(nPid) + "/cgroup", strText)) {
            return false;
        }
        Lines lines(strText);
        for (std::string_view svLine; lines.Next(svLine);) {
            Texts vecFields;
            if (Split(std::string(svLine), vecFields, ":") && vecFields.size() == 3 &&
                vecFields[1] == strHierarchy) {
                strPath = vecFields[2];
                return true;
            }
        }
    } catch (const std::exception& error) {
        VESK_LOG(LOG_ERR, "%s:%d Exception: %s", VESK_HERE, error.what());
    }
    return false;
}
