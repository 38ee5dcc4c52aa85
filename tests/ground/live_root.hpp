// What a private system's root holds instead of, or beside, the machine's.
#pragma once

#include <string>

namespace VeskGround
{

struct LiveRootSources {
    std::string adapter;  // the program that stands at /usr/bin/systemctl; empty for the machine's own
    std::string platform; // folder of the platform's programs; may be empty
};

// Fills the upper layer of an overlay over the machine's root.
void BuildLiveRoot(const std::string& upper, const LiveRootSources& sources);

} // namespace VeskGround
