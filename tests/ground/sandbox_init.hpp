#pragma once

#include <string>
#include <vector>

namespace VeskGround
{

// Process 1 of a sandbox: collects syslog, runs COMMAND, reaps orphans, and returns the command's exit code
// (128 and the number for a signal) as soon as the command itself has ended.
int RunAsInit(const std::vector<std::string>& command);

} // namespace VeskGround
