// The first process of a private system, up to the moment when it becomes systemd.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "descriptor.hpp"
#include "live_cgroups.hpp"
#include "sandbox_options.hpp"

namespace VeskGround
{

struct LiveStage {
    std::string folder; // a tmpfs of the keeper's mount namespace: "upper" and "cgroup" are filled
    CgroupPlan cgroupPlan;
    CgroupFolders cgroups;
    std::vector<BoundFolder> folders;
};

struct LiveInit {
    pid_t pid = -1;
    Descriptor pidfd;
};

// Starts systemd in namespaces of its own; it dies with the caller. Returns once it has been executed, throws
// what failed before that.
LiveInit StartLiveInit(const LiveStage& stage);

} // namespace VeskGround
