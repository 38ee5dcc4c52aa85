#pragma once

/** What is mounted where, and which volume a path names. */

#include <string>
#include <vector>

#include "command.hpp"

namespace Veskctl
{

struct Mount {
    std::string strPath;
    std::string strType;
    std::string strSource;
};

/** All mounts that this process sees; of those on one path the last is the one that is seen there. */
std::vector<Mount> MountsGet();

bool IsMountPoint(const std::string& strPath);

/** Whether a path is the other one or lies below it. */
bool IsAtOrBelow(const std::string& strPath, const std::string& strFolder);

/** The paths of volumes that a user may have meant. */
Texts MountedVolumes();

/**
 * Makes the volumes' paths canonical. Refuses, with a complaint, what is not there, what is no mount point unless
 * `blForce` is set, and the root of the system.
 */
Exit VolumesResolve(const Texts& vecGiven, bool blForce, Texts& vecVolumes);

} // namespace Veskctl
