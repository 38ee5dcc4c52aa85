// XDG_RUNTIME_DIR with the library for today's systemd, whose sessions do not always tell it.

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "checks.hpp"
#include "files.hpp"
#include "holdings.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr uid_t kUser = 4711;
constexpr uid_t kOther = 4712;
const std::string kFolder = "/run/user/4711";

// A user with a folder, whose session tells nothing.
class RuntimeFolder : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!CanBecomeOtherUsers()) {
            GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
        }
        AddUser("tester", kUser);
        UseSession("session required pam_permit.so\n");
        unsetenv("XDG_RUNTIME_DIR");
        RemoveAll("/run/user");
        MakeOwnFolder();
    }
    void TearDown() override
    {
        unsetenv("XDG_RUNTIME_DIR");
        RemoveAll("/run/user");
    }

    static void UseSession(const std::string& text) { WriteText("/etc/pam.d/systemd-user", text); }
    static void MakeOwnFolder()
    {
        RemoveAll(kFolder);
        MakeFolder(kFolder);
        Give(kUser, 0700);
    }
    static void Give(uid_t owner, mode_t mode)
    {
        ASSERT_EQ(chown(kFolder.c_str(), owner, owner), 0);
        ASSERT_EQ(chmod(kFolder.c_str(), mode), 0);
    }
    // What the variable is after the call in a process of the user.
    static void ExpectVariable(const std::string& expected)
    {
        ExpectAsUser(kUser, [&] {
            const Holdings before = Holdings::Now();
            VESKSystemdPutEnvByPAMSystemd();
            const char* value = std::getenv("XDG_RUNTIME_DIR");
            EXPECT_EQ(value == nullptr ? "unset" : std::string(value), expected);
            EXPECT_EQ(Holdings::Now(), before);
        });
    }

    SyslogCapture log;
};

TEST_F(RuntimeFolder, IsTheUsersOwnWhereNothingElseTellsIt)
{
    ExpectVariable(kFolder);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(RuntimeFolder, IsToldWhenTheSessionIsRefusedToo)
{
    UseSession("session required pam_deny.so\n");
    ExpectVariable(kFolder);
    EXPECT_THAT(log.Take(), SizeIs(2)) << "the refusal is logged as ever";
}

TEST_F(RuntimeFolder, IsWhatTheSessionTells)
{
    UseSession("session required pam_env.so conffile=/etc/test-conf envfile=/etc/test-environment\n");
    WriteText("/etc/test-conf", "");
    WriteText("/etc/test-environment", "XDG_RUNTIME_DIR=/run/session\n");
    ExpectVariable("/run/session");
}

TEST_F(RuntimeFolder, StaysWhatTheEnvironmentTells)
{
    for (const char* value : {"/run/before", ""}) {
        setenv("XDG_RUNTIME_DIR", value, 1);
        ExpectVariable(value);
    }
}

TEST_F(RuntimeFolder, IsNoneThatIsNotThere)
{
    RemoveAll(kFolder);
    ExpectVariable("unset");
    WriteText(kFolder, "");
    Give(kUser, 0700);
    ExpectVariable("unset");
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(RuntimeFolder, IsNoneOfAnotherUsers)
{
    for (const uid_t owner : {uid_t{0}, kOther}) {
        Give(owner, 0700);
        ExpectVariable("unset");
    }
}

TEST_F(RuntimeFolder, IsNoneThatIsOpenToOthers)
{
    for (const mode_t mode : {0710U, 0720U, 0740U, 0701U, 0702U, 0704U, 01777U}) {
        Give(kUser, mode);
        ExpectVariable("unset");
    }
}

TEST_F(RuntimeFolder, IsNoLink)
{
    ASSERT_EQ(rename(kFolder.c_str(), "/run/user/own"), 0);
    ASSERT_EQ(symlink("/run/user/own", kFolder.c_str()), 0);
    ASSERT_EQ(lchown(kFolder.c_str(), kUser, kUser), 0);
    ExpectVariable("unset");
}

TEST_F(RuntimeFolder, IsNotLookedForByRoot)
{
    RemoveAll("/run/user/0");
    MakeFolder("/run/user/0");
    ASSERT_EQ(chmod("/run/user/0", 0700), 0);
    VESKSystemdPutEnvByPAMSystemd();
    EXPECT_EQ(std::getenv("XDG_RUNTIME_DIR"), nullptr);
}

} // namespace
} // namespace VeskTest
