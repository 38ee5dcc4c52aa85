#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/file_system.hpp"
#include "core/glob_result.hpp"
#include "core/log.hpp"
#include "core/text.hpp"

using namespace VESK::Systemd;

bool VESKSystemdSliceList(Texts& vecSlices)
{
    GlobResult slices;
    if (slices.Add("/sys/fs/cgroup/veskmonitor/", "*.slice") != 0) {
        return false;
    }
    for (const std::string strPath : slices) {
        vecSlices.push_back(BaseName(strPath));
    }
    return true;
}

int VESKCSystemdSliceList(VLIBCSzList** ppListSlices)
{
    return CForm([&] {
        return VESK_ARGUMENT(nullptr != ppListSlices) && VESK_ARGUMENT(nullptr != *ppListSlices) &&
               // Programs of the platform have come to rely on getting services here.
               ListForm(ppListSlices, VESKSystemdServiceList);
    });
}
