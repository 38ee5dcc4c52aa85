// Trees of control groups that a sandbox cannot mount, since those of the machine would be the same ones.
#pragma once

#include <map>
#include <string>

namespace VeskTest
{

enum class CgroupVersion { V1, V2 };

// While it lives, statfs() says that such trees are mounted on these folders, and tells the truth of any other.
// One at a time.
class ShownMounts
{
public:
    explicit ShownMounts(std::map<std::string, CgroupVersion> mounts);
    ~ShownMounts();
    ShownMounts(const ShownMounts&) = delete;
    ShownMounts& operator=(const ShownMounts&) = delete;
};

} // namespace VeskTest
