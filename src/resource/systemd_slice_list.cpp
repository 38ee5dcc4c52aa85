#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/file_system.hpp"
#include "core/glob_result.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"

using namespace VESK::Systemd;

namespace
{

/** Appends the slices in a folder, and where they are nested those in them; the result of glob(3) there. */
int SlicesAppend(const std::string& strFolder, bool blNested, Texts& vecSlices)
{
    GlobResult slices;
    const int nResult = slices.Add(strFolder + "/", "*.slice");
    for (const std::string strPath : slices) {
        vecSlices.push_back(BaseName(strPath));
        const int nBelow = blNested ? SlicesAppend(strPath, blNested, vecSlices) : 0;
        if (nBelow != 0 && nBelow != GLOB_NOMATCH) {
            return nBelow;
        }
    }
    return nResult;
}

} // namespace

bool VESKSystemdSliceList(Texts& vecSlices)
{
    const CgroupTree tree = MonitorTree();
    Texts vecFound;
    if (SlicesAppend(tree.strFolder, tree.blNested, vecFound) != 0) {
        return false;
    }
    vecSlices.insert(vecSlices.end(), vecFound.begin(), vecFound.end());
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
