#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>
#include <veskcore.h>

#include "children.hpp"
#include "descriptors.hpp"
#include "files.hpp"
#include "run_program.hpp"
#include "system_call_filter.hpp"
#include "systemctl_script.hpp"

// What a child is started with, and what a start that fails leaves behind.

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* kSystemctl = "/usr/bin/systemctl";

class ChildStart : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_systemctl.OnAny();
        VLIBCErrSetEx(0, "", 0);
    }

    Call OnlyCall() const
    {
        const auto calls = m_systemctl.Calls();
        EXPECT_THAT(calls, SizeIs(1));
        return calls.empty() ? Call{} : calls.front();
    }

    ScriptedSystemctl m_systemctl;
};

TEST_F(ChildStart, GivesWhatTheProgramPrints)
{
    const Result result = RunScript("echo one; printf two; echo three >&2");
    EXPECT_EQ(result.output, "one\ntwo");
    EXPECT_EQ(result.status, ExitStatus(0));
}

TEST_F(ChildStart, MixesInErrorsWhenAskedTo)
{
    EXPECT_EQ(RunScript("echo one; echo two >&2; echo three", "rB").output, "one\ntwo\nthree\n");
}

TEST_F(ChildStart, PassesArgumentsUntouched)
{
    RunProgram({kSystemctl, "", "two words", "line\nfeed", "$HOME", "*", "--", "\xff"});
    EXPECT_THAT(OnlyCall().argv,
                ElementsAre(kSystemctl, "", "two words", "line\nfeed", "$HOME", "*", "--", "\xff"));
}

TEST_F(ChildStart, PassesTheArgumentsOfExecUpToTheFirstNull)
{
    EXPECT_EQ(VLIBCExec(kSystemctl, "a", "", nullptr, "d"), 0);
    EXPECT_THAT(OnlyCall().argv, ElementsAre(kSystemctl, "a", ""));
    m_systemctl.ForgetCalls();
    EXPECT_EQ(VLIBCExec(kSystemctl, "a", "b", "c", "d"), 0);
    EXPECT_THAT(OnlyCall().argv, ElementsAre(kSystemctl, "a", "b", "c", "d"));
}

TEST_F(ChildStart, PassesEnvironmentAndFolder)
{
    setenv("VESK_TEST", "a value", 1);
    ASSERT_EQ(chdir("/usr"), 0);
    RunProgram({kSystemctl});
    const Call call = OnlyCall();
    EXPECT_EQ(call.folder, "/usr");
    EXPECT_THAT(call.environment, ::testing::Contains("VESK_TEST=a value"));
}

TEST_F(ChildStart, GivesTheSameUmaskWhateverTheCallersIs)
{
    for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
        EXPECT_EQ(RunInChild([&] {
                      umask(mask);
                      const bool isPlain =
                          RunScript("umask").output == "0022\n" &&
                          VLIBCExec("/bin/mkdir", "-p", "/run/made/below", nullptr, nullptr) == 0;
                      return isPlain && umask(mask) == mask ? 0 : 1;
                  }),
                  Exited(0))
            << mask;
        EXPECT_EQ(Mode("/run/made"), 0755U);
        EXPECT_EQ(Mode("/run/made/below"), 0755U);
        RemoveAll("/run/made");
    }
}

TEST_F(ChildStart, WithholdsWhatChangesWhatSystemctlSaysOrWhomItAsks)
{
    const std::vector<std::string> withheld = {"SYSTEMD_LOG_LEVEL",
                                               "SYSTEMD_LOG_TARGET",
                                               "SYSTEMD_COLORS",
                                               "SYSTEMD_PAGER",
                                               "SYSTEMD_PAGERSECURE",
                                               "SYSTEMD_LESS",
                                               "SYSTEMD_LESSCHARSET",
                                               "SYSTEMD_URLIFY",
                                               "SYSTEMD_OFFLINE",
                                               "SYSTEMD_IGNORE_CHROOT",
                                               "SYSTEMD_UNIT_PATH",
                                               "SYSTEMD_BUS_TIMEOUT",
                                               "SYSTEMD_IN_INITRD",
                                               "SYSTEMCTL_FORCE_BUS",
                                               "SYSTEMCTL_INSTALL_CLIENT_SIDE",
                                               "SYSTEMCTL_SKIP_SYSV",
                                               "PAGER",
                                               "LESS",
                                               "LESSCHARSET",
                                               "NO_COLOR",
                                               "COLORTERM",
                                               "DBUS_SYSTEM_BUS_ADDRESS",
                                               "DBUS_STARTER_ADDRESS",
                                               "DBUS_STARTER_BUS_TYPE",
                                               "COLUMNS",
                                               "LINES",
                                               "POSIXLY_CORRECT",
                                               "PS_FORMAT",
                                               "PS_PERSONALITY",
                                               "PS_COLORS",
                                               "CMD_ENV",
                                               "UNIX95",
                                               "I_WANT_A_BROKEN_PS"};
    const std::vector<std::string> kept = {
        "XDG_RUNTIME_DIR", "DBUS_SESSION_BUS_ADDRESS", "LC_ALL", "TZ",     "SYSTEMD",
        "NOTIFY_SOCKET",   "MY_SYSTEMD_COLORS",        "PAGERS", "LESSER", "PS"};
    clearenv();
    std::vector<std::string> expected;
    for (const std::string& name : withheld) {
        setenv(name.c_str(), "value", 1);
    }
    for (const std::string& name : kept) {
        setenv(name.c_str(), "value", 1);
        expected.push_back(name + "=value");
    }
    RunProgram({kSystemctl});
    VLIBCExec(kSystemctl, nullptr, nullptr, nullptr, nullptr);
    const auto calls = m_systemctl.Calls();
    ASSERT_THAT(calls, SizeIs(2));
    for (const Call& call : calls) {
        EXPECT_THAT(call.environment, ::testing::UnorderedElementsAreArray(expected));
    }
    EXPECT_STREQ(getenv("SYSTEMD_COLORS"), "value") << "the caller's own";
}

TEST_F(ChildStart, WorksWithoutAnyEnvironment)
{
    EXPECT_EQ(RunInChild([] {
                  environ = nullptr;
                  return RunScript("echo text").output == "text\n" ? 0 : 1;
              }),
              Exited(0));
}

TEST_F(ChildStart, GivesDescriptorsZeroToTwoAndNoOther)
{
    RunProgram({kSystemctl});
    EXPECT_THAT(OnlyCall().descriptors,
                ElementsAre(Pair(0, "/dev/null"), Pair(1, StartsWith("pipe:")), Pair(2, "/dev/null")));
}

TEST_F(ChildStart, GivesOnePipeForOutputAndErrors)
{
    RunProgram({kSystemctl}, "rB");
    const auto descriptors = OnlyCall().descriptors;
    EXPECT_THAT(descriptors, ElementsAre(Pair(0, "/dev/null"), Pair(1, StartsWith("pipe:")),
                                         Pair(2, StartsWith("pipe:"))));
    EXPECT_EQ(descriptors.at(1), descriptors.at(2));
}

TEST_F(ChildStart, GivesNothingOfTheCallersToExec)
{
    EXPECT_EQ(VLIBCExec(kSystemctl, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_THAT(OnlyCall().descriptors,
                ElementsAre(Pair(0, "/dev/null"), Pair(1, "/dev/null"), Pair(2, "/dev/null")));
}

TEST_F(ChildStart, LeaksNoneOfTenThousandDescriptors)
{
    ASSERT_TRUE(OpenInheritable(10000));
    RunProgram({kSystemctl}, "rB");
    EXPECT_THAT(OnlyCall().descriptors, SizeIs(3));
    m_systemctl.ForgetCalls();
    EXPECT_EQ(VLIBCExec(kSystemctl, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_THAT(OnlyCall().descriptors, SizeIs(3));
}

TEST_F(ChildStart, LeaksNoDescriptorAboveALimitThatWasLowered)
{
    ASSERT_EQ(dup2(STDIN_FILENO, 900), 900);
    const rlimit lowered{100, 100};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
    RunProgram({kSystemctl});
    EXPECT_THAT(OnlyCall().descriptors, SizeIs(3));
}

TEST_F(ChildStart, LeavesTheCallersDescriptorsAsTheyWere)
{
    const auto before = OpenDescriptors();
    RunProgram({kSystemctl}, "rB");
    VLIBCExec(kSystemctl, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(RunProgram({"/none"}).started, false);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(ChildStart, HoldsOnlyDescriptorsThatAreClosedOnExec)
{
    const auto before = OpenDescriptors();
    FILE* stream = OpenProgram({"/bin/sleep", "100"});
    ASSERT_NE(stream, nullptr);
    for (const auto& [number, target] : OpenDescriptors()) {
        if (before.count(number) == 0) {
            EXPECT_GT(number, STDERR_FILENO);
            EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC) << target;
        }
    }
    kill(ListChildren().running.at(0), SIGKILL);
    EXPECT_EQ(VLIBCPclose(stream), SIGKILL);
}

TEST_F(ChildStart, GivesAStreamWithANumberThatCanBePolled)
{
    FILE* stream = OpenProgram({"/bin/sh", "-c", "echo text"});
    ASSERT_NE(stream, nullptr);
    pollfd readable{fileno(stream), POLLIN, 0};
    EXPECT_EQ(poll(&readable, 1, 30000), 1);
    EXPECT_EQ(ReadLines(stream), "text\n");
    EXPECT_EQ(VLIBCPclose(stream), ExitStatus(0));
}

bool AreClosed(const std::vector<int>& numbers)
{
    return std::all_of(numbers.begin(), numbers.end(), [](int number) { return fcntl(number, F_GETFD) < 0; });
}

/** 0 when children get and give what they should in a caller without these descriptors, which stay closed. */
int StartWithout(const std::vector<int>& numbers)
{
    for (const int number : numbers) {
        close(number);
    }
    FILE* stream = OpenProgram({"/bin/sh", "-c", "echo out; echo err >&2; cat"}, "rB");
    if (stream == nullptr || !AreClosed(numbers)) {
        return 1;
    }
    if (ReadLines(stream) != "out\nerr\n" || VLIBCPclose(stream) != ExitStatus(0)) {
        return 2;
    }
    if (RunScript("echo err >&2; echo out").output != "out\n" ||
        VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr) != 0) {
        return 3;
    }
    return AreClosed(numbers) ? 0 : 4;
}

TEST_F(ChildStart, WorksWithTheStandardDescriptorsClosed)
{
    for (const std::vector<int>& closed :
         std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1}, {1, 2}, {0, 2}, {0, 1, 2}}) {
        EXPECT_EQ(RunInChild([&] { return StartWithout(closed); }), Exited(0))
            << ::testing::PrintToString(closed);
    }
}

/** Takes descriptors until there are none left and says how many that were. */
int TakeAllDescriptors()
{
    int count = 0;
    while (dup(STDIN_FILENO) >= 0) {
        ++count;
    }
    return count;
}

TEST_F(ChildStart, TakesNoneOfTheStandardDescriptorsThatItsCallerLacks)
{
    EXPECT_EQ(RunInChild([] {
                  close(0);
                  close(1);
                  close(2);
                  FILE* stream = OpenProgram({"/bin/cat"});
                  int taken = 0;
                  for (int number = 0; number <= 2; ++number) {
                      taken += fcntl(number, F_GETFD) >= 0 ? 1 : 0;
                  }
                  return stream != nullptr && VLIBCPclose(stream) >= 0 ? taken : 9;
              }),
              Exited(0));
}

void LimitDescriptors()
{
    const rlimit few{64, 64};
    setrlimit(RLIMIT_NOFILE, &few);
}

TEST_F(ChildStart, FailsCleanlyWithoutFreeDescriptors)
{
    EXPECT_EQ(RunInChild([] {
                  LimitDescriptors();
                  TakeAllDescriptors();
                  const bool isRefused = OpenProgram({"/bin/true"}) == nullptr && errno == EMFILE &&
                                         ErrorRecord() == "0x0400 children.cpp";
                  return isRefused && TakeAllDescriptors() == 0 ? 0 : 1;
              }),
              Exited(0));
}

long PagesMapped()
{
    return std::stol(ReadText("/proc/self/statm"));
}

TEST_F(ChildStart, KeepsNoMemoryMapped)
{
    constexpr long kStarts = 100;
    EXPECT_TRUE(RunProgram({"/bin/true"}).started);
    const long before = PagesMapped();
    for (long start = 0; start < kStarts; ++start) {
        EXPECT_TRUE(RunProgram({"/bin/true"}).started);
    }
    EXPECT_LT(PagesMapped() - before, kStarts) << "not a page for each";
}

TEST_F(ChildStart, TellsWhatIsUsedUpFromOtherFailures)
{
    const std::pair<int, const char*> failures[] = {
        {EAGAIN, "0x0400"}, {EMFILE, "0x0400"}, {ENFILE, "0x0400"}, {ENOMEM, "0x0400"}, {EPERM, "0x0300"}};
    for (const auto& [error, code] : failures) {
        EXPECT_EQ(RunInChild([error = error, code = code] {
                      FailSystemCall(SYS_clone, error);
                      const bool isRefused = OpenProgram({"/bin/true"}) == nullptr && errno == error;
                      return isRefused && ErrorRecord() == std::string(code) + " children.cpp" ? 0 : 1;
                  }),
                  Exited(0))
            << error;
    }
}

TEST_F(ChildStart, LeavesNothingBehindHoweverFewDescriptorsAreFree)
{
    for (int free = 0; free < 5; ++free) {
        EXPECT_EQ(RunInChild([free] {
                      LimitDescriptors();
                      TakeAllDescriptors();
                      for (int number = 10; number < 10 + free; ++number) {
                          close(number);
                      }
                      const Result result = RunScript("echo text");
                      const bool isWhole = !result.started || result.output == "text\n";
                      const bool isExecRight =
                          VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr) == 0;
                      if (!isWhole || !isExecRight || TakeAllDescriptors() != free) {
                          return 1;
                      }
                      for (int number = 10; number < 15; ++number) {
                          close(number);
                      }
                      return ListChildren().zombies.empty() ? 0 : 2;
                  }),
                  Exited(0))
            << free << " free";
    }
}

struct Unstartable {
    const char* name;
    int error;
};

class UnstartableProgram : public ::testing::TestWithParam<Unstartable>
{
protected:
    void SetUp() override
    {
        WriteText("/run/programs/plain", "#!/bin/sh\n", 0644);
        WriteText("/run/programs/no-interpreter", "#!/none\n", 0755);
        WriteText("/run/programs/empty", "", 0755);
        WriteText("/run/programs/text", "echo text\n", 0755);
        MakeFolder("/run/programs/folder");
    }
};

TEST_P(UnstartableProgram, FailsWithItsReasonAndLeavesNothing)
{
    const auto before = OpenDescriptors();
    errno = 0;
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(OpenProgram({GetParam().name}), nullptr);
    EXPECT_EQ(errno, GetParam().error);
    EXPECT_EQ(ErrorRecord(), "0x0300 children.cpp");
    errno = 0;
    VLIBCErrSetEx(0, "", 0);
    EXPECT_LT(VLIBCExec(GetParam().name, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(errno, GetParam().error);
    EXPECT_EQ(ErrorRecord(), "0x0300 children.cpp");
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_THAT(ListChildren().zombies, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, UnstartableProgram,
                         ::testing::Values(Unstartable{"/run/programs/missing", ENOENT},
                                           Unstartable{"", ENOENT}, Unstartable{"true", ENOENT},
                                           Unstartable{"/run/programs/plain", EACCES},
                                           Unstartable{"/run/programs/folder", EACCES},
                                           Unstartable{"/run/programs/plain/below", ENOTDIR},
                                           Unstartable{"/run/programs/no-interpreter", ENOENT},
                                           Unstartable{"/run/programs/empty", ENOEXEC},
                                           Unstartable{"/run/programs/text", ENOEXEC}));

TEST_F(ChildStart, FailsForArgumentsThatTheKernelRefuses)
{
    EXPECT_EQ(OpenProgram({"/bin/true", std::string(1U << 20U, 'a')}), nullptr);
    EXPECT_EQ(errno, E2BIG);
    EXPECT_EQ(VLIBCErrGet(), VLIBC_ERR_EXEC);
}

TEST_F(ChildStart, WorksInACallerOfTwoGigabytes)
{
    constexpr std::size_t kSize = 2UL << 30U;
    void* memory =
        mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    for (int count = 0; count < 50; ++count) {
        ASSERT_EQ(RunScript("echo text").output, "text\n");
    }
    EXPECT_EQ(VLIBCExec("/bin/true", nullptr, nullptr, nullptr, nullptr), 0);
    munmap(memory, kSize);
}

TEST_F(ChildStart, GivesAHundredMegabytesWhole)
{
    FILE* stream = OpenProgram({"/bin/sh", "-c", "yes 'a line of text' | head -c 100000000"});
    ASSERT_NE(stream, nullptr);
    const std::string text = ReadLines(stream);
    EXPECT_EQ(text.size(), 100000000U);
    EXPECT_EQ(text.substr(text.size() - 20), "e of text\na line of ");
    EXPECT_EQ(VLIBCPclose(stream), ExitStatus(0));
}

} // namespace
} // namespace VeskTest
