#include "live_options.hpp"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace VeskGround
{

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LiveOptions, WithoutACommandMeanAShell)
{
    EXPECT_THAT(ParseLiveOptions({}).command, ElementsAre("/bin/bash"));
    EXPECT_THAT(ParseLiveOptions({"--bind", "/a", "--"}).command, ElementsAre("/bin/bash"));
}

TEST(LiveOptions, EndAtTheCommandOrAtTwoDashes)
{
    EXPECT_THAT(ParseLiveOptions({"ls", "--bind", "/a"}).command, ElementsAre("ls", "--bind", "/a"));
    EXPECT_THAT(ParseLiveOptions({"--", "--bind", "--"}).command, ElementsAre("--bind", "--"));
    EXPECT_THAT(ParseLiveOptions({"ls", "--bind", "/a"}).folders, IsEmpty());
}

TEST(LiveOptions, CollectFoldersInTheirOrder)
{
    const LiveOptions options =
        ParseLiveOptions({"--bind", "/a", "--bind-rw", "/b", "--platform", "/c", "x"});
    ASSERT_EQ(options.folders.size(), 2U);
    EXPECT_EQ(options.folders[0].path, "/a");
    EXPECT_FALSE(options.folders[0].writable);
    EXPECT_EQ(options.folders[1].path, "/b");
    EXPECT_TRUE(options.folders[1].writable);
    EXPECT_EQ(options.platform, "/c");
}

TEST(LiveOptions, TakeThePlatformFromAnInstallPrefix)
{
    const LiveOptions options = ParseLiveOptions({"--install-prefix", "/p", "x"});
    ASSERT_EQ(options.folders.size(), 1U);
    EXPECT_EQ(options.folders[0].path, "/p");
    EXPECT_EQ(options.platform, "/p/libexec/vesk-platform");
}

TEST(LiveOptions, MeanThePlatformWithTheAdapterUnlessTheySayOtherwise)
{
    EXPECT_EQ(ParseLiveOptions({}).layout, CgroupLayout::Platform);
    EXPECT_TRUE(ParseLiveOptions({}).adapter);
    EXPECT_EQ(ParseLiveOptions({"--cgroup", "platform"}).layout, CgroupLayout::Platform);
    EXPECT_EQ(ParseLiveOptions({"--cgroup", "hybrid", "x"}).layout, CgroupLayout::Hybrid);
    const LiveOptions options = ParseLiveOptions({"--no-adapter", "--cgroup", "unified", "x"});
    EXPECT_EQ(options.layout, CgroupLayout::Unified);
    EXPECT_FALSE(options.adapter);
    EXPECT_THAT(options.command, ElementsAre("x"));
}

TEST(LiveOptions, AreRefusedWithTheReason)
{
    const auto reason = [](const std::vector<std::string>& arguments) -> std::string {
        try {
            ParseLiveOptions(arguments);
        } catch (const UsageError& error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(reason({"--no-such"}), "unknown option --no-such");
    EXPECT_EQ(reason({"-x", "ls"}), "unknown option -x");
    EXPECT_EQ(reason({"--bind"}), "--bind needs a folder");
    EXPECT_EQ(reason({"--cgroup"}), "--cgroup needs a layout");
    EXPECT_EQ(reason({"--cgroup", "v2"}), "--cgroup needs platform, hybrid or unified, not 'v2'");
    EXPECT_EQ(reason({"--platform", ""}), "--platform needs an absolute path, not ''");
    EXPECT_EQ(reason({"--bind-rw", "a/b"}), "--bind-rw needs an absolute path, not 'a/b'");
}

} // namespace

} // namespace VeskGround
