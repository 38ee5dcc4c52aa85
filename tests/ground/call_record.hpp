#pragma once

#include <string>
#include <vector>

#include "fields.hpp"

namespace VeskGround
{

// What a scripted program knows about the call that it is: arguments, environment, descriptors, signals.
// Tags: argv, env, fd (NUMBER, link target), cwd, pid, ppid, uid, blocked, ignored, caught (masks, bit 0 is
// signal 1).
std::vector<Field> DescribeThisProcess(int argc, char** argv);

// The "fd" fields alone.
std::vector<Field> DescribeDescriptors();

// The name under which the N-th record lies in the folder "calls".
std::string RecordName(std::uint64_t order);

} // namespace VeskGround
