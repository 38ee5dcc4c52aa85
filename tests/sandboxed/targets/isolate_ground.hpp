#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <sys/types.h>
#include <vector>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "file_locks.hpp"
#include "files.hpp"
#include "library_log.hpp"
#include "paths.hpp"
#include "platform_spy.hpp"
#include "process_list.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{

constexpr const char* kIsolateFile = "systemd_isolate_target.cpp";

// No outcome of a wait: what an untouched place still holds.
constexpr auto kUntouched = static_cast<VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT>(3);

// A caller with ways of its own: a handler of SIGTERM that makes a file, SIGUSR1 blocked, SIGHUP ignored, umask 0.
constexpr const char* kHandled = "/tmp/handled";
void TakeOwnWays();
// That a child has none of these, nor the caller's standard descriptors.
void ExpectPlainWays(pid_t child);

// The line of the lock's file for a lock that could not be taken, and the one that says what it was for.
LogMatchers LockFailure(const std::string& lock, const std::string& what);

// A machine whose queue is empty and which isolates to every target, until the test says otherwise. The
// status monitor's script does nothing. At the end no process that the test has forked is left, no lock is
// taken and, unless the test says otherwise, no flag is there.
class IsolateTest : public ::testing::Test
{
protected:
    IsolateTest();
    void TearDown() override;

    bool Isolate(const std::string& target = "foo.target");

    // What systemctl says of its queue; the jobs stand there as "1 foo.service stop running", joined with
    // line feeds. With Then() come the later answers.
    Answering Queue(const std::string& jobs);
    static void Jobs(Answering& answer, const std::string& jobs);

    // Systemctl isolates and waits until it is let go.
    void HoldIsolation();
    static bool AwaitIsolation();
    static void LetIsolationGo();

    // The lines of an isolation without waiting.
    static LogMatchers Begin(const std::string& target = "foo.target");
    static LogMatchers Done(const std::string& target = "foo.target", const std::string& suffix = "");
    static ::testing::Matcher<const SyslogLine&> WaitLine(const std::string& units);
    static ::testing::Matcher<const SyslogLine&> QueueLost();

    PlatformSpy spy;
    ScriptedSystemctl systemctl;
    ScriptedProgram script{kMonitorScript};
    SyslogCapture log;
    VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result = kUntouched;
    bool flagMayStay = false;
};

} // namespace VeskTest
