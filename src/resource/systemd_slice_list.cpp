#include "vesksystemd.hpp"

#include "core/c_forms.hpp"
#include "core/directory.hpp"
#include "core/log.hpp"
#include "core/text.hpp"
#include "resource/cgroup_layout.hpp"

using namespace VESK::Systemd;

namespace
{

/** Appends the slices in a folder, and where they are nested those in them; false when these may not be all. */
bool SlicesAppend(const std::string& strFolder, bool blNested, Texts& vecSlices)
{
    const std::string strPrefix = strFolder + "/";
    Texts vecEntries;
    bool blAll = !LeavesEntriesOpen(VisibleEntriesAppend(strFolder, vecEntries));
    for (const std::string& strEntry : vecEntries) {
        if (UnitTypeGet(strEntry) == "slice") {
            vecSlices.push_back(strEntry);
            blAll = blAll && (!blNested || SlicesAppend(strPrefix + strEntry, blNested, vecSlices));
        }
    }
    return blAll;
}

} // namespace

bool VESKSystemdSliceList(Texts& vecSlices)
{
    const CgroupTree tree = MonitorTree();
    Texts vecFound;
    if (!SlicesAppend(tree.strFolder, tree.blNested, vecFound) || vecFound.empty()) {
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
