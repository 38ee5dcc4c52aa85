#include "shown_mounts.hpp"

#include <linux/magic.h>
#include <sys/vfs.h>

#include "next_function.hpp"

namespace VeskTest
{

namespace
{

std::map<std::string, CgroupVersion>& Shown()
{
    static std::map<std::string, CgroupVersion> mounts;
    return mounts;
}

} // namespace

ShownMounts::ShownMounts(std::map<std::string, CgroupVersion> mounts)
{
    Shown() = std::move(mounts);
}

ShownMounts::~ShownMounts()
{
    Shown().clear();
}

} // namespace VeskTest

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the headers' own names are reserved ones
extern "C" [[gnu::visibility("default")]] int statfs(const char* path, struct statfs* result) noexcept
{
    static const auto real =
        VeskTest::NextFunction<int(const char*, struct statfs*)>(VeskTest::WideName("statfs", "statfs64"));
    const int answer = real(path, result);
    const auto shown = VeskTest::Shown().find(path);
    if (answer == 0 && shown != VeskTest::Shown().end()) {
        result->f_type =
            shown->second == VeskTest::CgroupVersion::V1 ? CGROUP_SUPER_MAGIC : CGROUP2_SUPER_MAGIC;
    }
    return answer;
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
