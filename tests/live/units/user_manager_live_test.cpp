// An ordinary user, who controls the units of the user's own manager.

#include <cstdlib>
#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "journal_capture.hpp"
#include "live_units.hpp"
#include "shell.hpp"

namespace VeskTest
{
namespace
{

/**
 * From release 256 on systemd counts a user's manager among the sessions of logind, and logind lets root alone make
 * one: its PAM module tells an ordinary user nothing then.
 */
bool PamServesOrdinaryUsers()
{
    const ShellResult sessions = RunShell("loginctl list-sessions --no-legend");
    EXPECT_EQ(sessions.ending, Exited(0));
    return sessions.output.find(" manager ") == std::string::npos;
}

/** Without the adapter the library is the one for today's systemd, which does without PAM's help. */
bool CanFindTheManager()
{
    const ShellResult same = RunShell("cmp -s /usr/bin/systemctl /usr/lib/vesk-ground/systemctl");
    return same.ending == Exited(0) || PamServesOrdinaryUsers();
}

constexpr const char* kNotServed = "systemd's PAM module gives an ordinary user no environment";

std::string UserState()
{
    std::string state;
    return VESKSystemdShow("foo", "ActiveState", state) ? state : "";
}

TEST(UserManagerLive, AnOrdinaryUserStartsAndStopsAUnitOfItsOwnManager)
{
    StartUserManager(kAlice);
    if (!CanFindTheManager()) {
        GTEST_SKIP() << kNotServed;
    }
    AddUserUnit(kAlice, "foo.service", RunningService());

    const Ending ending = RunAsUser(kAlice, [] {
        if (!VESKSystemdStart("foo") || UserState() != "active") {
            return 1;
        }
        return VESKSystemdStop("foo") && UserState() == "inactive" ? 0 : 2;
    });

    EXPECT_EQ(ending, Exited(0));
    EXPECT_EQ(Property("foo.service", "LoadState"), "not-found");
}

TEST(UserManagerLive, ThePamSessionGivesTheEnvironmentThatFindsTheManager)
{
    StartUserManager(kAlice);
    if (!CanFindTheManager()) {
        GTEST_SKIP() << kNotServed;
    }

    const Ending ending = RunAsUser(kAlice, [] {
        if (getenv("XDG_RUNTIME_DIR") != nullptr) {
            return 1;
        }
        VESKSystemdPutEnvByPAMSystemd();
        const char* folder = getenv("XDG_RUNTIME_DIR");
        return folder != nullptr && std::string(folder) == "/run/user/1001" ? 0 : 2;
    });

    EXPECT_EQ(ending, Exited(0));
}

TEST(UserManagerLiveOnPlatform, WherePamGivesNothingTheCallerHasToNameTheFolderOfTheManager)
{
    StartUserManager(kAlice);
    if (PamServesOrdinaryUsers()) {
        GTEST_SKIP() << "systemd's PAM module gives an ordinary user its environment";
    }
    AddUserUnit(kAlice, "foo.service", RunningService());

    const Ending ending = RunAsUser(kAlice, [] {
        VESKSystemdPutEnvByPAMSystemd();
        if (getenv("XDG_RUNTIME_DIR") != nullptr || VESKSystemdStart("foo")) {
            return 1;
        }
        setenv("XDG_RUNTIME_DIR", "/run/user/1001", 1);
        return VESKSystemdStart("foo") && UserState() == "active" ? 0 : 2;
    });

    EXPECT_EQ(ending, Exited(0));
}

TEST(UserManagerLive, ForceSystemAsksTheSystemManagerWhoeverCalls)
{
    StartUserManager(kAlice);
    if (!CanFindTheManager()) {
        GTEST_SKIP() << kNotServed;
    }
    AddUserUnit(kAlice, "foo.service", RunningService());
    AddUnit("system.service", RunningService());
    MustSystemctl({"start", "system.service"});

    const Ending ending = RunAsUser(kAlice, [] {
        std::string ofSystem;
        std::string ofUser;
        const bool read = VESKSystemdShowSystem("system", "ActiveState", ofSystem) &&
                          VESKSystemdShow("system", "ActiveState", ofUser);
        return read && ofSystem == "active" && ofUser == "inactive" ? 0 : 1;
    });

    EXPECT_EQ(ending, Exited(0));
}

TEST(UserManagerLive, WithoutAManagerOfItsOwnAUsersStartFails)
{
    const Ending ending = RunAsUser(kBob, [] { return VESKSystemdStart("foo") ? 1 : 0; });
    EXPECT_EQ(ending, Exited(0));
}

} // namespace
} // namespace VeskTest
