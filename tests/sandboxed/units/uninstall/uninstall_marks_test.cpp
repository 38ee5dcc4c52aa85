// Flags and reasons of the units.

#include <filesystem>
#include <optional>

#include "paths.hpp"
#include "uninstall_ground.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

LogMatchers FlagWarning(const std::string& unit)
{
    return {Warning("systemd_uninstall.cpp",
                    "vesksystemd: Failed to remove enable-status-changed flag for [" + unit + "]")};
}

LogMatchers ReasonsWarning(const std::string& unit)
{
    return {Warning("systemd_uninstall.cpp", "vesksystemd: Failed to remove reasons for [" + unit + "]")};
}

// A scripted rm in place of the real one, which comes back at the end.
class ScriptedRm
{
public:
    ScriptedRm()
    {
        std::filesystem::copy_file(kPath, kKept);
        program.emplace(kPath);
        program->OnAny();
    }
    ~ScriptedRm()
    {
        std::filesystem::remove(kPath);
        std::filesystem::copy_file(kKept, kPath);
        std::filesystem::remove(kKept);
    }
    ScriptedRm(const ScriptedRm&) = delete;
    ScriptedRm& operator=(const ScriptedRm&) = delete;

    ScriptedProgram* operator->() { return &*program; }

private:
    static constexpr const char* kPath = "/bin/rm";
    static constexpr const char* kKept = "/tmp/rm";

    std::optional<ScriptedProgram> program;
};

TEST_F(Uninstall, RemovesTheFlagAndTheReasonsOfEachUnitAndOfNoOther)
{
    for (const char* unit : {"foo.service", "bar.timer", "other.service"}) {
        WriteText(Mark(unit), "");
        WriteText(Reasons(unit) + "/.hidden", "");
        WriteText(Reasons(unit) + "/folder/reason", "");
    }

    EXPECT_TRUE(Run({"foo", "bar.timer"}));

    EXPECT_THAT(ListFolder(Mark("")), ElementsAre("other.service"));
    EXPECT_THAT(ListFolder(Reasons("")), ElementsAre("other.service"));
    EXPECT_TRUE(Exists(Reasons("other.service") + "/folder/reason"));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, bar.timer")));
}

TEST_F(Uninstall, TakesTheLinkOfReasonsAwayAndNotWhatItLeadsTo)
{
    WriteText("/tmp/elsewhere/reason", "");
    MakeFolder(Reasons(""));
    std::filesystem::create_symlink("/tmp/elsewhere", Reasons("foo.service"));
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_FALSE(Exists(Reasons("foo.service")));
    EXPECT_TRUE(Exists("/tmp/elsewhere/reason"));
}

TEST_F(Uninstall, RunsTheRemovalOfReasonsAsACommandOfTwoArguments)
{
    ScriptedRm rm;
    EXPECT_TRUE(Run({"foo", "a b.service"}));
    ASSERT_EQ(rm->Calls().size(), 2U);
    EXPECT_THAT(rm->Calls()[0].argv, ElementsAre("/bin/rm", "-rf", ReasonsOf("foo.service")));
    EXPECT_THAT(rm->Calls()[1].argv, ElementsAre("/bin/rm", "-rf", ReasonsOf("a b.service")));
}

TEST_F(Uninstall, WarnsOfAFlagThatCannotBeRemovedAndSucceeds)
{
    MakeFolder(Mark("foo.service"));
    WriteText(Mark("bar.service"), "");
    EXPECT_TRUE(Run({"foo", "bar"}));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_TRUE(Exists(Mark("foo.service")));
    EXPECT_FALSE(Exists(Mark("bar.service")));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, bar", FlagWarning("foo"))));
}

TEST_F(Uninstall, WarnsOfReasonsThatCannotBeRemovedAndSucceeds)
{
    ScriptedRm rm;
    rm->OnAny().Exit(1).Then();
    WriteText(Mark("bar.service"), "");
    EXPECT_TRUE(Run({"foo", "bar"}));
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_FALSE(Exists(Mark("bar.service")));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo, bar", ReasonsWarning("foo"))));
}

TEST_F(Uninstall, WarnsOfReasonsWhenRmIsMissing)
{
    ScriptedRm rm;
    rm->Remove();
    EXPECT_TRUE(Run({"foo"}));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo", ReasonsWarning("foo"))));
}

TEST_F(Uninstall, NeverLeavesTheFoldersForANameWithASlash)
{
    WriteText(std::string(kStateFolder) + "/kept.service", "");
    WriteText(std::string(kRunFolder) + "/kept.service", "");
    WriteText(ReasonsOf("foo.service/kept.service"), "");
    for (const std::string& unit : Words{"../kept", "foo.service/kept", "/", "../reasons/foo"}) {
        EXPECT_TRUE(Run({unit})) << unit;
        EXPECT_THAT(log.Take(),
                    ElementsAreArray(LogOf(unit, InOrder({FlagWarning(unit), ReasonsWarning(unit)}))));
    }
    EXPECT_TRUE(Exists(std::string(kStateFolder) + "/kept.service"));
    EXPECT_TRUE(Exists(std::string(kRunFolder) + "/kept.service"));
    EXPECT_TRUE(Exists(ReasonsOf("foo.service/kept.service")));
}

TEST_F(Uninstall, TakesNamesUpToTheirFirstZeroByte)
{
    WriteText(Mark("foo.service"), "");
    WriteText(Reasons("foo.service") + "/why", "");
    WriteText(Mark("kept.service"), "");
    WriteText(Reasons("kept.service") + "/why", "");
    EXPECT_TRUE(Run({std::string("foo\0/../kept", 12)}));
    EXPECT_THAT(ListFolder(Mark("")), ElementsAre("kept.service"));
    EXPECT_THAT(ListFolder(Reasons("")), ElementsAre("kept.service"));
    EXPECT_THAT(log.Take(), ElementsAreArray(LogOf("foo")));
}

TEST_F(Uninstall, RefusesANameOfZeroBytesAsAnEmptyOne)
{
    EXPECT_FALSE(VESKSystemdUninstall(std::string(16, '\0')));
    EXPECT_EQ(VLIBCErrGet(), 0x0D00);
    EXPECT_THAT(log.Take(), ElementsAre(RefusedArgument("systemd_uninstall.cpp", "!strUnit.empty()")));
    EXPECT_THAT(systemctl.Calls(), IsEmpty());
}

TEST_F(Uninstall, KeepsTheFoldersThemselvesWhateverTheName)
{
    WriteText(Mark("kept.service"), "");
    WriteText(Reasons("kept.service") + "/why", "");
    EXPECT_TRUE(Run({".", "..", "*", "?", "", std::string(16, '\0')}));
    EXPECT_TRUE(Exists(Mark("kept.service")));
    EXPECT_TRUE(Exists(Reasons("kept.service") + "/why"));
}

} // namespace
} // namespace VeskTest
