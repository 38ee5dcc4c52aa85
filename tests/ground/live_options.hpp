// The command line of vesk-live.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "live_cgroups.hpp"
#include "sandbox_options.hpp"

namespace VeskGround
{

struct LiveOptions {
    std::vector<BoundFolder> folders;
    std::string platform;
    CgroupLayout layout = CgroupLayout::Platform;
    bool adapter = true;
    std::vector<std::string> command;
    bool help = false;
};

class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

extern const char* const kLiveUsage;

// ARGUMENTS without the program's name. Without a command it is a shell. Throws UsageError.
LiveOptions ParseLiveOptions(const std::vector<std::string>& arguments);

} // namespace VeskGround
