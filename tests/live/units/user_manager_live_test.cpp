// An ordinary user, who controls the units of the user's own manager.

#include <cstdlib>
#include <gmock/gmock.h>
#include <vesksystemd.hpp>

#include "journal_capture.hpp"
#include "live_units.hpp"

namespace VeskTest
{
namespace
{

using ::testing::Contains;

std::string UserState()
{
    std::string state;
    return VESKSystemdShow("foo", "ActiveState", state) ? state : "";
}

TEST(UserManagerLive, AnOrdinaryUserStartsAndStopsAUnitOfItsOwnManager)
{
    StartUserManager(kAlice);
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

TEST(UserManagerLive, ForceSystemAsksTheSystemManagerWhoeverCalls)
{
    StartUserManager(kAlice);
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
