#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <gmock/gmock.h>
#include <pwd.h>
#include <security/pam_appl.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <vesksystemd.hpp>

#include "c_library_faults.hpp"
#include "checks.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "syslog_capture.hpp"
#include "systemctl_script.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::SizeIs;

constexpr uid_t kUser = 4711;
constexpr const char* kService = "/etc/pam.d/systemd-user";

auto PamError(const std::string& message)
{
    return Error("systemd_putenv_by_pam_systemd.cpp", message);
}

auto FinalError(uid_t user = kUser)
{
    return PamError("Failed to put env by pam systemd for " + std::to_string(user));
}

auto SessionError()
{
    return PamError(std::string("Failed to pam_open_session (") + pam_strerror(nullptr, PAM_SESSION_ERR) +
                    ")");
}

// VALUE, or "unset".
std::string Variable(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? "unset" : value;
}

std::vector<std::string> Environment()
{
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
}

// A user whose session sets three variables.
class PamEnvironment : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!CanBecomeOtherUsers()) {
            GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
        }
        AddUser("tester", kUser);
        UseService("session required pam_permit.so\n"
                   "session required pam_env.so conffile=/etc/test-conf envfile=/etc/test-environment\n");
        WriteText("/etc/test-conf", "");
        WriteText("/etc/test-environment",
                  "VESK_FIRST=first\nVESK_SECOND=a b=c\nXDG_RUNTIME_DIR=/run/user/4711\n");
        unsetenv("XDG_RUNTIME_DIR");
        setenv("VESK_FIRST", "before", 1);
    }

    static void UseService(const std::string& text) { WriteText(kService, text); }

    // The call in a process of that user, which must leave the environment as it is.
    static void ExpectNoChange(uid_t user = kUser)
    {
        ExpectAsUser(user, [] {
            const Holdings before = Holdings::Now();
            const std::vector<std::string> environment = Environment();
            VESKSystemdPutEnvByPAMSystemd();
            EXPECT_EQ(Environment(), environment);
            EXPECT_EQ(Holdings::Now(), before);
        });
    }

    // The library's own lines, which PAM's may precede.
    void ExpectErrors(const std::string& message)
    {
        std::vector<SyslogLine> lines = log.Take();
        lines.erase(
            std::remove_if(lines.begin(), lines.end(), [](const auto& line) { return line.file.empty(); }),
            lines.end());
        EXPECT_THAT(lines, ElementsAre(PamError(message), FinalError()));
    }

    SyslogCapture log;
};

TEST_F(PamEnvironment, IsNotAskedForByRoot)
{
    const std::vector<std::string> before = Environment();
    VESKSystemdPutEnvByPAMSystemd();
    EXPECT_EQ(Environment(), before);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(PamEnvironment, IsThatOfTheUsersSession)
{
    ExpectAsUser(kUser, [] {
        const Holdings before = Holdings::Now();
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(Variable("VESK_FIRST"), "first");
        EXPECT_EQ(Variable("VESK_SECOND"), "a b=c");
        EXPECT_EQ(Variable("XDG_RUNTIME_DIR"), "/run/user/4711");
        EXPECT_EQ(Holdings::Now(), before);
    });
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(PamEnvironment, StaysTheSameWhenItIsPutAgain)
{
    ExpectAsUser(kUser, [] {
        VESKSystemdPutEnvByPAMSystemd();
        const std::vector<std::string> once = Environment();
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(Environment(), once);
    });
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(PamEnvironment, KeepsTheProcessesOwnWhenTheSessionHasNone)
{
    UseService("session required pam_permit.so\n");
    ExpectNoChange();
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(PamEnvironment, IsNotAddedToByTheLibrary)
{
    UseService("session required pam_permit.so\n");
    MakeFolder("/run/user/4711");
    ASSERT_EQ(chown("/run/user/4711", kUser, kUser), 0);
    ASSERT_EQ(chmod("/run/user/4711", 0700), 0);
    ExpectNoChange();
    EXPECT_THAT(log.Take(), IsEmpty());
}

// The first calls of a process, in which its environment grows, side by side with children that get it.
TEST_F(PamEnvironment, ReachesSystemctlWholeFromSixteenThreads)
{
    constexpr int kThreads = 16;
    constexpr int kRounds = 5;
    ScriptedSystemctl systemctl;
    systemctl.OnAny().Stdout("answer\n").Exit(3);
    ExpectAsUser(kUser, [] {
        std::atomic<int> right{0};
        std::vector<std::thread> threads;
        for (int number = 0; number < kThreads; ++number) {
            threads.emplace_back([&right] {
                for (int round = 0; round < kRounds; ++round) {
                    VESKSystemdSystemctl("show", {"a"}, [&right](int code, const auto& lines) {
                        right += code == 3 && lines == std::vector<std::string>{"answer\n"} ? 1 : 0;
                        return true;
                    });
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(right, kThreads * kRounds);
    });
    const std::vector<Call> calls = systemctl.Calls();
    EXPECT_THAT(calls, SizeIs(kThreads * kRounds));
    for (const Call& call : calls) {
        EXPECT_THAT(call.environment, IsSupersetOf({"VESK_FIRST=first", "VESK_SECOND=a b=c",
                                                    "XDG_RUNTIME_DIR=/run/user/4711"}));
        EXPECT_THAT(call.argv, ElementsAre("/usr/bin/systemctl", "show", "--user", "a"));
    }
    EXPECT_THAT(log.Take(), Each(Field(&SyslogLine::level, 6)));
}

TEST_F(PamEnvironment, LogsATransactionThatDoesNotStart)
{
    const CLibraryFault fault(CLibraryFault::PamStart);
    ExpectNoChange();
    EXPECT_THAT(log.Take(), ElementsAre(PamError("Failed to pam_start (System error)"), FinalError()));
}

TEST_F(PamEnvironment, LogsAServiceThatThereIsNot)
{
    RemoveAll("/etc/pam.d");
    RemoveAll("/usr/lib/pam.d");
    ExpectNoChange();
    ExpectErrors("Failed to pam_open_session (Permission denied)");
}

TEST_F(PamEnvironment, LogsASessionThatIsDenied)
{
    UseService("session required pam_deny.so\n");
    ExpectNoChange();
    EXPECT_THAT(log.Take(), ElementsAre(SessionError(), FinalError()));
}

TEST_F(PamEnvironment, LogsAModuleThatThereIsNot)
{
    UseService("session required pam_no_such_module.so\n");
    ExpectNoChange();
    ExpectErrors("Failed to pam_open_session (Module is unknown)");
}

TEST_F(PamEnvironment, LogsAListThatCannotBeHad)
{
    const CLibraryFault fault(CLibraryFault::PamGetenvlist);
    ExpectNoChange();
    EXPECT_THAT(log.Take(),
                ElementsAre(PamError("Failed to pam_getenvlist (Memory buffer error)"), FinalError()));
}

TEST_F(PamEnvironment, IsPutEvenWhenTheTransactionDoesNotEndWell)
{
    const CLibraryFault fault(CLibraryFault::PamEnd);
    ExpectAsUser(kUser, [] {
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(Variable("VESK_FIRST"), "first");
    });
    EXPECT_THAT(log.Take(), ElementsAre(PamError("Failed to pam_end (System error)")));
}

TEST_F(PamEnvironment, EndsTheTransactionWithTheResultOfItsLastStep)
{
    ExpectAsUser(kUser, [] {
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(CLibraryFault::StatusOfPamEnd(), PAM_SUCCESS);
    });
    ExpectAsUser(kUser, [] {
        const CLibraryFault fault(CLibraryFault::PamGetenvlist);
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(CLibraryFault::StatusOfPamEnd(), PAM_BUF_ERR);
    });
    UseService("session required pam_deny.so\n");
    ExpectAsUser(kUser, [] {
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(CLibraryFault::StatusOfPamEnd(), PAM_SESSION_ERR);
    });
}

TEST_F(PamEnvironment, LogsATransactionThatDoesNotEndWellBeforeTheUser)
{
    const CLibraryFault fault(CLibraryFault::PamEnd);
    UseService("session required pam_deny.so\n");
    ExpectNoChange();
    EXPECT_THAT(log.Take(),
                ElementsAre(SessionError(), PamError("Failed to pam_end (System error)"), FinalError()));
}

TEST_F(PamEnvironment, LogsAVariableThatCannotBeSetAndSetsTheOthers)
{
    const CLibraryFault fault(CLibraryFault::Putenv, "VESK_SECOND");
    ExpectAsUser(kUser, [] {
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(Variable("VESK_FIRST"), "first");
        EXPECT_EQ(Variable("VESK_SECOND"), "unset");
        EXPECT_EQ(Variable("XDG_RUNTIME_DIR"), "/run/user/4711");
    });
    EXPECT_THAT(log.Take(), ElementsAre(PamError("Failed to putenv (Cannot allocate memory)")));
}

TEST_F(PamEnvironment, LogsAUserWithoutAnEntry)
{
    ExpectNoChange(12345);
    EXPECT_THAT(log.Take(), ElementsAre(PamError("Failed to GetUsername"), FinalError(12345)));
}

TEST_F(PamEnvironment, LogsEntriesThatCannotBeRead)
{
    const CLibraryFault fault(CLibraryFault::Getpwuid);
    ExpectNoChange();
    EXPECT_THAT(log.Take(), ElementsAre(PamError("Failed to getpwuid_r (Input/output error)"),
                                        PamError("Failed to GetUsername"), FinalError()));
}

TEST_F(PamEnvironment, LogsANameThatCannotBeCopied)
{
    ExpectAsUser(kUser, [] {
        // Only now, since the C library copies texts itself when it first looks for a user.
        EXPECT_NE(getpwuid(kUser), nullptr);
        const CLibraryFault fault(CLibraryFault::Strdup);
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(Variable("VESK_SECOND"), "unset");
    });
    EXPECT_THAT(log.Take(), ElementsAre(PamError("Failed to strdup (Cannot allocate memory)"), FinalError()));
}

TEST_F(PamEnvironment, IsFoundForAnEntryOfAnyLength)
{
    AddUser("long", 4712, std::string(5000, 'x'));
    ExpectAsUser(4712, [] {
        VESKSystemdPutEnvByPAMSystemd();
        EXPECT_EQ(Variable("VESK_FIRST"), "first");
    });
    const auto tooSmall = PamError("Failed to getpwuid_r (Numerical result out of range)");
    EXPECT_THAT(log.Take(), ElementsAre(tooSmall, tooSmall, tooSmall)) << "for 1024, 2048 and 4096 bytes";
}

} // namespace
} // namespace VeskTest
