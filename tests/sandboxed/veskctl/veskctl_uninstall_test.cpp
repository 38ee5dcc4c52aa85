#include <gmock/gmock.h>

#include "files.hpp"
#include "unit_files.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

namespace
{

// The instance foo@a.service of a template, with a drop-in of its own and one for all services.
class VeskctlUninstall : public ::testing::Test
{
protected:
    VeskctlUninstall()
    {
        systemctl.OnAny();
        systemctl.On(StateQuestion("foo@a.service")).Stdout(StateAnswer("active", "running"));
        systemctl.On({"show", "--property=FragmentPath", "--property=DropInPaths", "foo@a"})
            .Stdout("FragmentPath=" + file + "\nDropInPaths=" + own + " " + shared + "\n");
    }

    ScriptedSystemctl systemctl;
    const std::string file = WriteUnitFile(UnitFolder::Usr, "foo@.service", "[Service]\n");
    const std::string own = WriteDropIn(UnitFolder::Usr, "foo@a.service", "own.conf", "[Service]\n");
    const std::string shared = WriteDropIn(UnitFolder::Usr, "service", "all.conf", "[Service]\n");
};

TEST_F(VeskctlUninstall, ShowsTheFilesAndLeavesThoseThatOtherUnitsShare)
{
    const Use use = Veskctl("uninstall foo@a --yes");

    EXPECT_EQ(
        use,
        (Use{0,
             "UNIT           FILE                                              DELETED\n"
             "foo@a.service  /usr/lib/systemd/system/foo@.service              no, shared with other units\n"
             "foo@a.service  /usr/lib/systemd/system/foo@a.service.d/own.conf  yes\n"
             "foo@a.service  /usr/lib/systemd/system/service.d/all.conf        no, shared with other units\n",
             ""}));
    EXPECT_FALSE(Exists(own));
    EXPECT_TRUE(Exists(shared));
    EXPECT_TRUE(Exists(file));
    EXPECT_THAT(systemctl.Arguments(), Contains("stop foo@a"));
}

TEST_F(VeskctlUninstall, DeletesTheSharedFilesWhenToldTo)
{
    EXPECT_EQ(Veskctl("uninstall foo@a --yes --shared").exitCode, 0);

    EXPECT_FALSE(Exists(own));
    EXPECT_FALSE(Exists(shared));
    EXPECT_FALSE(Exists(file));
}

TEST_F(VeskctlUninstall, OnlyShowsTheFilesInADryRun)
{
    const Json::Value list = VeskctlJson("uninstall foo@a --dry-run");

    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[1]["unit"], "foo@a.service");
    EXPECT_EQ(list[1]["file"], own);
    EXPECT_EQ(list[1]["shared"], false);
    EXPECT_EQ(list[1]["deleted"], true);
    EXPECT_EQ(list[2]["shared"], true);
    EXPECT_EQ(list[2]["deleted"], false);
    EXPECT_TRUE(Exists(own));
    EXPECT_THAT(systemctl.Arguments(), Not(Contains("stop foo@a")));
}

TEST_F(VeskctlUninstall, DoesNothingWithoutAnAnswer)
{
    EXPECT_EQ(Veskctl("uninstall foo@a"),
              (Use{2, "", "veskctl: there is no terminal to ask on; --yes goes on without asking\n"}));
    EXPECT_TRUE(Exists(own));
}

TEST_F(VeskctlUninstall, AsksOnATerminal)
{
    const Use refused = VeskctlAtTerminal("uninstall foo@a", "n\n");

    EXPECT_THAT(refused.out, HasSubstr("Stop and uninstall foo@a? [y/N] "));
    EXPECT_THAT(refused.out, HasSubstr("veskctl: nothing was done"));
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(Exists(own));
    EXPECT_EQ(VeskctlAtTerminal("uninstall foo@a", "y\n").exitCode, 0);
    EXPECT_FALSE(Exists(own));
}

TEST_F(VeskctlUninstall, ExitsWithThreeForAUnitThatIsNotThere)
{
    systemctl.On(StateQuestion("bar.service")).Stdout(NotFoundAnswer("bar.service"));

    EXPECT_EQ(Veskctl("uninstall --yes foo@a bar"),
              (Use{3, "", "veskctl: bar: no such unit; nothing was done\n"}));
    EXPECT_TRUE(Exists(own));
}

} // namespace
