#pragma once

#include <map>
#include <string>

namespace VeskTest
{

// The open descriptors of this process and what each refers to, as /proc/self/fd shows it. Two snapshots that
// are equal mean that nothing was left open, closed or replaced in between.
std::map<int, std::string> OpenDescriptors();

} // namespace VeskTest
