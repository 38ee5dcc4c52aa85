#include "vesksystemd.hpp"

#include <unistd.h>

#include "core/c_forms.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"
#include "resource/pid_write.hpp"

using namespace VESK::Systemd;

namespace VESK::Systemd
{
namespace
{

bool IsSliceName(const std::string& strSlice)
{
    return strSlice.find('/') == std::string::npos && UnitTypeGet(strSlice) == "slice";
}

} // namespace

bool MoveToCgroupSlice(const std::string& strGivenSlice, const std::string& strHierarchy)
{
    const std::string strSlice = BeforeZero(strGivenSlice);
    if (!VESK_ARGUMENT(!strSlice.empty() && IsSliceName(strSlice)) ||
        !VESK_ARGUMENT(IsEntryName(strHierarchy))) {
        return false;
    }
    const CgroupTree tree = CgroupTreeGet(BeforeZero(strHierarchy));
    const std::string strPath = CgroupSliceFolder(tree, strSlice) + "/" + tree.strMembers;
    if (VLIBCFileExist(strPath.c_str()) == 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: %s not found", VESK_HERE, strPath.c_str());
        return false;
    }
    const int nPid = getpid();
    const PidWriteResult result = PidWrite(strPath.c_str(), nPid);
    if (!result.blOpened) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to open %s", VESK_HERE, strPath.c_str());
        return false;
    }
    if (!result.blWritten) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to write pid[%d] to %s", VESK_HERE, nPid,
                 strPath.c_str());
        return false;
    }
    if (!result.blClosed) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: fclose failed", VESK_HERE);
        return false;
    }
    return true;
}

} // namespace VESK::Systemd

bool VESKSystemdCgroupMonitorSliceMove(const std::string& strSlice)
{
    return MoveToCgroupSlice(strSlice, "veskmonitor");
}

bool VESKSystemdCgroupSystemdSliceMove(const std::string& strSlice)
{
    return MoveToCgroupSlice(strSlice, "systemd") && MoveToCgroupSlice(strSlice, "veskmonitor");
}

int VESKCSystemdCgroupMonitorSliceMove(const char* szSlice)
{
    return CForm(
        [&] { return VESK_ARGUMENT(nullptr != szSlice) && VESKSystemdCgroupMonitorSliceMove(szSlice); });
}

int VESKCSystemdCgroupSystemdSliceMove(const char* szSlice)
{
    return CForm(
        [&] { return VESK_ARGUMENT(nullptr != szSlice) && VESKSystemdCgroupSystemdSliceMove(szSlice); });
}
