// The default target, read and set, and the units that a target carries.

#include <array>
#include <cstring>
#include <gmock/gmock.h>
#include <vesksystemd.h>
#include <vesksystemd.hpp>

#include "library_log.hpp"
#include "systemctl_script.hpp"
#include "unit_files.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kGetFile = "systemd_default_target_get.cpp";
constexpr const char* kSetFile = "systemd_default_target_set.cpp";

class DefaultTarget : public ::testing::Test
{
protected:
    DefaultTarget() { VLIBCErrSetEx(0, "", 0); }

    Answering OnGet() { return systemctl.On({"get-default"}); }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
    std::string target = "untouched";
};

using DefaultTargetGet = DefaultTarget;
using DefaultTargetSet = DefaultTarget;

TEST_F(DefaultTargetGet, IsTheOneLineThatSystemctlPrintsWithoutBlanks)
{
    OnGet().Stdout(" \t graphical.target \r\n");
    EXPECT_TRUE(VESKSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "graphical.target");
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("get-default"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(DefaultTargetGet, ReadsALineWithoutItsLineFeed)
{
    OnGet().Stdout("a.target");
    EXPECT_TRUE(VESKSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "a.target");
}

TEST_F(DefaultTargetGet, RefusesAnyOtherNumberOfLines)
{
    OnGet().Stdout("").Then().Stdout("a.target\n\n").Then().Stdout("a.target\nb.target\n");
    for (const char* lines : {"", "a.target\n, \n", "a.target\n, b.target\n"}) {
        EXPECT_FALSE(VESKSystemdDefaultTargetGet(target));
        EXPECT_EQ(target, "untouched");
        EXPECT_THAT(log.Take(),
                    ElementsAre(Error(kGetFile, "vesksystemd: failed to get default target: result is "
                                                "invalid. Result: " +
                                                    std::string(lines))));
    }
}

TEST_F(DefaultTargetGet, TellsWhySystemctlFailed)
{
    OnGet().Stdout("a.target\n").Stderr("%s\n").Exit(3);
    EXPECT_FALSE(VESKSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "untouched");
    EXPECT_THAT(log.Take(), ElementsAre(Error(kGetFile, "vesksystemd: failed to get default target: "
                                                        "ret=[3], reason=[a.target\n, %s\n]")));
}

TEST_F(DefaultTargetGet, FailsWithoutSystemctl)
{
    systemctl.Remove();
    EXPECT_FALSE(VESKSystemdDefaultTargetGet(target));
    systemctl.Restore();
    EXPECT_EQ(target, "untouched");
    EXPECT_THAT(log.Take(), ElementsAre(NotStarted("get-default"),
                                        Error(kGetFile, "vesksystemd: failed to get default target.")));
}

TEST_F(DefaultTargetGet, FillsABufferThatHoldsItWithItsZeroAndNoShorterOne)
{
    OnGet().Stdout("foo.target\n");
    std::array<char, 16> buffer{};
    buffer.fill('x');
    EXPECT_EQ(VESKCSystemdDefaultTargetGet(buffer.data(), 11), true);
    EXPECT_STREQ(buffer.data(), "foo.target");
    EXPECT_EQ(buffer[11], 'x');
    EXPECT_EQ(VLIBCErrGet(), 0);

    for (const int size : {10, 1}) {
        buffer.fill('x');
        VLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(VESKCSystemdDefaultTargetGet(buffer.data(), size), false);
        EXPECT_EQ(VLIBCErrGet(), 0x0100);
        EXPECT_STREQ(VLIBCErrorGetFile(), kGetFile);
        EXPECT_EQ(std::string(buffer.data(), buffer.size()), std::string(buffer.size(), 'x'));
    }
}

TEST_F(DefaultTargetGet, RefusesABufferThatIsNoneBeforeItAsks)
{
    char place = 'x';
    EXPECT_EQ(VESKCSystemdDefaultTargetGet(nullptr, 10), false);
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    for (const int size : {0, -1}) {
        VLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(VESKCSystemdDefaultTargetGet(&place, size), false);
        EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    }
    EXPECT_EQ(place, 'x');
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument(kGetFile, "nullptr != szDefaultTarget"),
                                        RefusedArgument(kGetFile, "0 < cbDefaultTarget"),
                                        RefusedArgument(kGetFile, "0 < cbDefaultTarget")));
}

TEST_F(DefaultTargetGet, LeavesTheBufferAloneWhenSystemctlFails)
{
    OnGet().Exit(1);
    char place = 'x';
    EXPECT_EQ(VESKCSystemdDefaultTargetGet(&place, 1), false);
    EXPECT_EQ(place, 'x');
}

TEST_F(DefaultTargetSet, RunsSystemctlAndSaysSo)
{
    systemctl.OnAny().Stdout("Created symlink.\n");
    const auto done = Info(kSetFile, "vesksystemd: successfully set default target to [a b.target].");
    EXPECT_TRUE(VESKSystemdDefaultTargetSet("a b.target"));
    EXPECT_TRUE(VESKSystemdDefaultTargetSetInGenerator("a b.target"));
    EXPECT_TRUE(VESKSystemdIntDefaultTargetSet({"--force", "--quiet"}, "a b.target"));
    EXPECT_EQ(VESKCSystemdDefaultTargetSet("a b.target"), 1);
    EXPECT_EQ(VESKCSystemdDefaultTargetSetInGenerator("a b.target"), 1);
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("set-default a b.target", "set-default --root=/. a b.target",
                            "set-default --force --quiet a b.target", "set-default a b.target",
                            "set-default --root=/. a b.target"));
    EXPECT_EQ(systemctl.Calls().front().arguments.back(), "a b.target");
    EXPECT_THAT(log.Take(), ElementsAre(done, done, done, done, done));
}

TEST_F(DefaultTargetSet, TellsWhySystemctlFailed)
{
    systemctl.OnAny().Stderr("one\ntwo\n").Exit(5);
    EXPECT_FALSE(VESKSystemdDefaultTargetSet("a.target"));
    EXPECT_EQ(VESKCSystemdDefaultTargetSet("a.target"), 0);
    EXPECT_FALSE(VESKSystemdDefaultTargetSetInGenerator("a.target"));
    EXPECT_EQ(VESKCSystemdDefaultTargetSetInGenerator("a.target"), 0);
    const auto failed = Error(kSetFile, "vesksystemd: failed to set default target to [a.target]: "
                                        "ret=[5], reason=[one\n, two\n]");
    EXPECT_THAT(log.Take(), ElementsAre(failed, failed, failed, failed));
}

TEST_F(DefaultTargetSet, FailsWithoutSystemctl)
{
    systemctl.Remove();
    EXPECT_FALSE(VESKSystemdDefaultTargetSetInGenerator("a.target"));
    systemctl.Restore();
    EXPECT_THAT(log.Take(),
                ElementsAre(NotStarted("set-default --root=/. a.target"),
                            Error(kSetFile, "vesksystemd: failed to set default target to [a.target].")));
}

TEST_F(DefaultTargetSet, RefusesAnEmptyTargetAndANullOne)
{
    EXPECT_FALSE(VESKSystemdDefaultTargetSet(""));
    EXPECT_FALSE(VESKSystemdDefaultTargetSetInGenerator(""));
    EXPECT_FALSE(VESKSystemdIntDefaultTargetSet({"--force"}, ""));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    VLIBCErrSetEx(0, "", 0);
    EXPECT_EQ(VESKCSystemdDefaultTargetSet(nullptr), 0);
    EXPECT_EQ(VESKCSystemdDefaultTargetSetInGenerator(nullptr), 0);
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    const auto empty = RefusedArgument(kSetFile, "!strDefaultTarget.empty()");
    const auto null = RefusedArgument(kSetFile, "nullptr != szDefaultTarget");
    EXPECT_THAT(log.Take(), ElementsAre(empty, empty, empty, null, null));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

class TargetCarries : public DefaultTarget
{
protected:
    static void Carries(const std::string& value)
    {
        WriteUnitFile(UnitFolder::Usr, "foo.target", "[X-Veskline]\nCarries=" + value + "\n");
    }

    std::vector<std::string> units{"there.service"};
};

TEST_F(TargetCarries, AppendsTheFullNamesOfItsUnits)
{
    Carries("one two.socket three@x.service");
    EXPECT_TRUE(VESKSystemdTargetCarriesGet("foo.target", units));
    EXPECT_THAT(units, ElementsAre("there.service", "one.service", "two.socket", "three@x.service"));
}

TEST_F(TargetCarries, TakesAnEmptyFieldForAName)
{
    Carries("one  two");
    EXPECT_TRUE(VESKSystemdTargetCarriesGet("foo.target", units));
    EXPECT_THAT(units, ElementsAre("there.service", "one.service", ".service", "two.service"));
}

TEST_F(TargetCarries, AreNoneWithoutTheKey)
{
    Carries("");
    EXPECT_TRUE(VESKSystemdTargetCarriesGet("foo.target", units));
    WriteUnitFile(UnitFolder::Usr, "foo.target", "[Unit]\nCarries=one\n");
    EXPECT_TRUE(VESKSystemdTargetCarriesGet("foo.target", units));
    EXPECT_THAT(units, ElementsAre("there.service"));
}

TEST_F(TargetCarries, CannotBeToldOfATargetWithoutAFile)
{
    EXPECT_FALSE(VESKSystemdTargetCarriesGet("missing.target", units));
    EXPECT_EQ(VLIBCErrGet(), 0x0700);
    EXPECT_THAT(units, ElementsAre("there.service"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(TargetCarries, RefusesAnEmptyTarget)
{
    EXPECT_FALSE(VESKSystemdTargetCarriesGet("", units));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(units, ElementsAre("there.service"));
    EXPECT_THAT(log.Take(),
                ElementsAre(RefusedArgument("systemd_target_carries_get.cpp", "!strTarget.empty()")));
}

} // namespace
} // namespace VeskTest
