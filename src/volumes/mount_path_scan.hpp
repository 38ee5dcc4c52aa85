#pragma once

#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "core/text.hpp"
#include "resource/cgroup_text.hpp"

namespace VESK::Systemd
{

/** What a walk over all processes has found of one mount path. */
struct MountPathUsers {
    /** A process that uses files on it. */
    struct User {
        std::string strFile; ///< that of the first found
        std::shared_ptr<const CgroupText> pGroups;
    };
    std::vector<User> vecUsers;   ///< in the order of the list of processes
    bool blComplete = true;       ///< false when descriptors or memory ended before all were looked at
    std::exception_ptr exception; ///< what ended the walk, if anything did
};

/**
 * Looks at all processes once, whatever the number of mount paths. Gives what it has found of each, as if that
 * one had been looked for alone.
 */
std::vector<MountPathUsers> MountPathScan(const Texts& vecMntPaths);

} // namespace VESK::Systemd
