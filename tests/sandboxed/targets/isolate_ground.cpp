#include "isolate_ground.hpp"
#include "paths.hpp"

#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "descriptor.hpp"

namespace VeskTest
{

namespace
{

constexpr const char* kIsolating = "/tmp/isolating";
constexpr const char* kLetGo = "/tmp/let-go";

// The rest of the line of /proc/PID/status that begins so, without blanks.
std::string StatusOf(pid_t pid, const std::string& name)
{
    std::istringstream status(ReadText("/proc/" + std::to_string(pid) + "/status"));
    for (std::string word; status >> word;) {
        if (word == name + ":") {
            status >> word;
            return word;
        }
    }
    return "";
}

} // namespace

void TakeOwnWays()
{
    RemoveAll(kHandled);
    signal(SIGTERM, [](int) { close(open(kHandled, O_CREAT | O_WRONLY | O_CLOEXEC, 0600)); });
    signal(SIGHUP, SIG_IGN);
    sigset_t user;
    sigemptyset(&user);
    sigaddset(&user, SIGUSR1);
    sigprocmask(SIG_BLOCK, &user, nullptr);
    umask(0);
}

void ExpectPlainWays(pid_t child)
{
    const std::string none(16, '0');
    // All are blocked for a moment whenever a program is started.
    EXPECT_TRUE(Eventually([&] { return StatusOf(child, "SigBlk") == none; }));
    EXPECT_EQ(StatusOf(child, "SigIgn"), none);
    EXPECT_EQ(StatusOf(child, "SigCgt"), none);
    EXPECT_EQ(StatusOf(child, "Umask"), "0022");
    for (const char* descriptor : {"0", "1", "2"}) {
        EXPECT_EQ(VeskGround::ReadLink("/proc/" + std::to_string(child) + "/fd/" + descriptor), "/dev/null");
    }
}

LogMatchers LockFailure(const std::string& lock, const std::string& what)
{
    using ::testing::AllOf;
    using ::testing::Field;
    using ::testing::StartsWith;
    return {
        AllOf(Field(&SyslogLine::level, 3), Field(&SyslogLine::file, "lock.cpp"),
              Field(&SyslogLine::message, StartsWith("vesksystemd: failed to get lock [" + lock + "] [0x"))),
        Error("lock.cpp", "vesksystemd: failed to get lock for [" + what + "], lock is [" + lock + "].")};
}

IsolateTest::IsolateTest()
{
    RemoveAll(kRunFolder);
    RemoveAll(kIsolating);
    RemoveAll(kLetGo);
    Queue("");
    systemctl.OnLeading({"isolate"});
    script.OnAny();
}

void IsolateTest::TearDown()
{
    EXPECT_TRUE(Eventually([] { return OtherProcessesOfThisProgram().empty(); }));
    for (const char* lock : {kOperationLock, kIsolateLock, kExitLock}) {
        // A process that is exiting has no program any more, but may still have its descriptors.
        EXPECT_TRUE(Eventually([&] { return IsLockFree(lock); })) << lock;
    }
    EXPECT_TRUE(flagMayStay || !Exists(kFlag));
}

bool IsolateTest::Isolate(const std::string& target)
{
    return VESKSystemdIsolateTarget(target, &result);
}

Answering IsolateTest::Queue(const std::string& jobs)
{
    Answering answer = systemctl.On({"list-jobs", "--no-legend"});
    Jobs(answer, jobs);
    return answer;
}

void IsolateTest::Jobs(Answering& answer, const std::string& jobs)
{
    answer.Stdout(jobs.empty() ? "" : jobs + "\n").Exit(1);
}

void IsolateTest::HoldIsolation()
{
    systemctl.OnLeading({"isolate"}).CreateFile(kIsolating).WaitForFile(kLetGo);
}

bool IsolateTest::AwaitIsolation()
{
    return Eventually([] { return Exists(kIsolating); });
}

void IsolateTest::LetIsolationGo()
{
    WriteText(kLetGo, "");
}

LogMatchers IsolateTest::Begin(const std::string& target)
{
    return {Info(kIsolateFile, "vesksystemd: isolating to [" + target + "].")};
}

LogMatchers IsolateTest::Done(const std::string& target, const std::string& suffix)
{
    return {Info(kIsolateFile, "vesksystemd: isolated to [" + target + "]" + suffix + ".")};
}

::testing::Matcher<const SyslogLine&> IsolateTest::WaitLine(const std::string& units)
{
    return Info(kIsolateFile, "vesksystemd: wait stop service [" + units + "]");
}

::testing::Matcher<const SyslogLine&> IsolateTest::QueueLost()
{
    return Error(kIsolateFile, "vesksystemd: Failed to get systemd jobs");
}

} // namespace VeskTest
