#pragma once

/** Who holds a volume, and how. */

#include <set>
#include <string>
#include <vector>

#include <json/value.h>

#include "command.hpp"

namespace Veskctl
{

struct Holder {
    std::string strVolume;
    int nPid = 0; ///< 0 for the kernel
    std::string strProcess;
    std::string strUnit;
    /** "open", "mapped", "working folder", "program", "root folder", "mount", "loop device", "swap". */
    std::string strHow;
    std::string strPath;
    bool blDeleted = false;
    /** Whether an unmount action stops it, with the service that it belongs to. */
    bool blStopped = false;
};

using Holders = std::vector<Holder>;

/** All that hold the volumes, by volume and process. */
Holders HoldersGet(const Texts& vecVolumes);

Json::Value HoldersJson(const Holders& vecHolders);
void HoldersPrint(const Holders& vecHolders);

} // namespace Veskctl
