// The mark by which a test program knows that it runs in a test ground and not on the machine itself.
#pragma once

#include <string>

namespace VeskGround
{

// Called by the first process of a ground once it is in its own root: names the ground ("sandboxed", "live")
// and the pid namespace that it belongs to.
void WriteMarker(const std::string& ground);

// True when the calling process runs in a ground of that name.
bool IsInside(const std::string& ground);

} // namespace VeskGround
