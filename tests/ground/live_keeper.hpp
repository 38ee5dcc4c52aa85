// The keeper of a private system: a process outside of it, in a session of its own, that outlives its owner,
// takes the system down when the owner is gone for whatever reason, and removes the folders in the machine's
// hierarchies. Owner, keeper and a watcher over the keeper each clean up when the others are killed.
#pragma once

#include <string>

#include "descriptor.hpp"
#include "live_cgroups.hpp"
#include "live_options.hpp"
#include "live_root.hpp"

namespace VeskGround
{

struct LivePlan {
    CgroupPlan cgroups;
    std::vector<BoundFolder> folders;
    LiveRootSources sources;
};

// Starts the keeper and through it the system. The system lives until the returned end of the channel is
// closed or shut down for writing.
Descriptor StartLiveKeeper(const LivePlan& plan);

// What a keeper that was killed has left: its folders in the hierarchies. Puts the caller into a mount
// namespace of its own.
void CleanUpForKeeper(const CgroupPlan& cgroups);

} // namespace VeskGround
