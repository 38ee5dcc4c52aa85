// That the tests of a ground run with the library that belongs there.

#include <dlfcn.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <vesksystemd.hpp>

namespace VeskTest
{
namespace
{

std::filesystem::path LoadedLibrary()
{
    Dl_info info{};
    EXPECT_NE(dladdr(reinterpret_cast<void*>(&VESKCSystemdIsJobEnqueued), &info), 0);
    return info.dli_fname;
}

TEST(LibraryOnPlatform, IsTheOneForThePlatformsSystemd)
{
    EXPECT_TRUE(std::filesystem::equivalent(LoadedLibrary(), VESK_LIBRARY_PLATFORM)) << LoadedLibrary();
}

TEST(LibraryOnCurrent, IsTheOneForTodaysSystemd)
{
    EXPECT_TRUE(std::filesystem::equivalent(LoadedLibrary(), VESK_LIBRARY_CURRENT)) << LoadedLibrary();
}

} // namespace
} // namespace VeskTest
