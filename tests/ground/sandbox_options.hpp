#pragma once

#include <string>
#include <vector>

namespace VeskGround
{

struct BoundFolder {
    std::string path;
    bool writable = false;
};

struct SandboxOptions {
    std::vector<BoundFolder> folders;
    std::string systemctl;
    bool hasSystemctl = true;
    std::string platform;
    std::vector<std::string> command;
};

// Throws Error for a command line that makes no sense.
SandboxOptions ParseOptions(const std::vector<std::string>& arguments);

} // namespace VeskGround
