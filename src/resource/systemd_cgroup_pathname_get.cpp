#include "vesksystemd.hpp"

#include "core/file_text.hpp"
#include "core/log.hpp"

bool VESKSystemdCgroupPathnameGet(int nPid, const std::string& strHierarchy, std::string& strPath)
{
    try {
        std::string strText;
        if (!VESK::Systemd::FileRead("/proc/" + std::to_string(nPid) + "/cgroup", strText)) {
            return false;
        }
        VESK::Systemd::Lines lines(strText);
        for (std::string_view svLine; lines.Next(svLine);) {
            std::vector<std::string> vecFields;
            if (VESK::Systemd::Split(std::string(svLine), vecFields, ":") && vecFields.size() == 3 &&
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
