#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "shell.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::Key;
using ::testing::UnorderedElementsAre;

/** The entries of a folder that lead to folders bound into the sandbox, as a build tree below /tmp. */
std::vector<std::string> BoundBelow(const std::string& folder)
{
    std::vector<std::string> entries;
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string path;
        for (int field = 0; field < 5; ++field) {
            fields >> path;
        }
        if (path.compare(0, folder.size() + 1, folder + "/") == 0) {
            entries.push_back(
                path.substr(folder.size() + 1, path.find('/', folder.size() + 1) - folder.size() - 1));
        }
    }
    return entries;
}

TEST(Sandbox, StartsWithEmptyFoldersForEverythingThatIsWritten)
{
    for (const char* path :
         {"/etc/systemd/system", "/usr/lib/systemd/system", "/usr/local/lib/systemd/system",
          "/run/systemd/system", "/tmp", "/dev/shm", "/var/log", "/var/packages", "/sys/fs/cgroup"}) {
        EXPECT_THAT(ListFolder(path), IsSubsetOf(BoundBelow(path))) << path;
        WriteText(std::string(path) + "/file", "text");
        EXPECT_EQ(ReadText(std::string(path) + "/file"), "text");
    }
    EXPECT_THAT(ListFolder("/run"), ElementsAre("sandbox", "systemd"));
    EXPECT_THAT(ListFolder("/usr/vesk"), IsSubsetOf({"bin", "lib"}));
}

TEST(Sandbox, HasOnlyHarmlessDevices)
{
    EXPECT_THAT(ListFolder("/dev"), ElementsAre("fd", "full", "log", "null", "ptmx", "pts", "random", "shm",
                                                "stderr", "stdin", "stdout", "tty", "urandom", "zero"));
}

TEST(Sandbox, ShowsNoProcessesButItsOwn)
{
    EXPECT_THAT(RunShell("ps -e -o pid= | wc -l").output, ::testing::MatchesRegex(" *[3-6]\n"));
    EXPECT_EQ(RunShell("tr '\\0' '\\n' < /proc/1/cmdline | head -1 | xargs basename").output,
              "vesk-sandbox\n");
}

TEST(Sandbox, PassesNoDescriptorsButTheStandardOnes)
{
    EXPECT_THAT(OpenDescriptors(), UnorderedElementsAre(Key(0), Key(1), Key(2)));
}

TEST(Sandbox, CannotTuneTheKernel)
{
    EXPECT_NE(access("/proc/sys/kernel/hostname", W_OK), 0);
    EXPECT_NE(RunShell("echo x 2>/dev/null > /proc/sys/kernel/hostname").ending, Exited(0));
    EXPECT_NE(RunShell("mknod /tmp/node b 1 1 2>/dev/null").ending, Exited(0));
}

TEST(Sandbox, HasItsOwnNetworkAndHostName)
{
    EXPECT_EQ(
        RunShell("tail -n +3 /proc/net/dev | cut -d: -f1 | tr -d ' ' | grep -vE '^(sit0|tunl0|ip6tnl0)$'")
            .output,
        "lo\n");
}

TEST(Sandbox, LetsTheRestOfTheMachineBeChangedInItsOwnCopy)
{
    WriteText("/volume1/some/file", "text");
    EXPECT_EQ(ReadText("/volume1/some/file"), "text");
    WriteUnitFile(UnitFolder::Etc, "foo.service", "[Unit]\n");
    EXPECT_EQ(ReadText("/etc/systemd/system/foo.service"), "[Unit]\n");
}

TEST(Sandbox, ReapsOrphans)
{
    const ShellResult result = RunShell("sh -c 'true & exec true'; sh -c '(sleep 0.01 & echo $!)'");
    const pid_t orphan = std::stoi(result.output);
    EXPECT_TRUE(Eventually([orphan] { return !Exists("/proc/" + std::to_string(orphan)); }));
}

TEST(Children, AreListedRunningOrAsZombies)
{
    EXPECT_THAT(ListChildren().running, IsEmpty());
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    EXPECT_THAT(ListChildren().running, ElementsAre(child));
    kill(child, SIGKILL);
    EXPECT_TRUE(Eventually([] { return !ListChildren().zombies.empty(); }));
    EXPECT_THAT(ListChildren().zombies, ElementsAre(child));
    waitpid(child, nullptr, 0);
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
}

TEST(RunInChild, TellsExitCodesSignalsExceptionsAndTimeoutsApart)
{
    EXPECT_EQ(RunInChild([] { return 3; }), Exited(3));
    EXPECT_EQ(RunInChild([] { return raise(SIGTERM); }), Signalled(SIGTERM));
    EXPECT_EQ(RunInChild([]() -> int { throw std::runtime_error("x"); }), Exited(99));
    EXPECT_EQ(RunInChild([] { return pause(); }, std::chrono::milliseconds(20)),
              (Ending{Ending::Kind::TimedOut, 0}));
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
}

} // namespace
} // namespace VeskTest
