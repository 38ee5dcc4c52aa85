#include <gmock/gmock.h>

#include "files.hpp"
#include "unit_files.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::Contains;
using ::testing::HasSubstr;

namespace
{

// A systemctl that isolates, and has nothing queued.
class Isolating : public ScriptedSystemctl
{
public:
    Isolating()
    {
        On(StateQuestion("rescue.target")).Stdout(StateAnswer("inactive", "dead"));
        OnLeading({"list-jobs"}).Exit(1);
        OnLeading({"isolate"});
    }
};

TEST(VeskctlTarget, GetsTheDefault)
{
    ScriptedSystemctl systemctl;
    systemctl.On({"get-default"}).Stdout("multi-user.target\n");

    EXPECT_EQ(Veskctl("target get"), (Use{0, "multi-user.target\n", ""}));
    EXPECT_EQ(VeskctlJson("target get")["defaultTarget"], "multi-user.target");
}

TEST(VeskctlTarget, SetsTheDefaultToATargetThatIsThere)
{
    Isolating systemctl;
    systemctl.OnLeading({"set-default"});

    EXPECT_EQ(Veskctl("target set rescue"), (Use{0, "", ""}));
    EXPECT_THAT(systemctl.Arguments(), Contains(HasSubstr("rescue.target")).Times(2));
}

TEST(VeskctlTarget, RefusesWhatIsNoTargetOrNotThere)
{
    ScriptedSystemctl systemctl;
    systemctl.On(StateQuestion("frob.target")).Stdout(NotFoundAnswer("frob.target"));

    EXPECT_EQ(Veskctl("target set foo.service").exitCode, 2);
    for (const char* verb : {"target set frob", "isolate frob", "target run frob -- /bin/true"}) {
        EXPECT_EQ(Veskctl(verb),
                  (Use{3, "",
                       "veskctl: frob.target: no such target; 'veskctl list --type target' shows "
                       "those that there are\n"}));
    }
}

TEST(VeskctlTarget, ShowsWhatATargetCarries)
{
    WriteUnitFile(UnitFolder::Usr, "foo.target", "[X-Veskline]\nCarries=a b.mount\n");

    EXPECT_EQ(Veskctl("target carries foo"), (Use{0, "a.service\nb.mount\n", ""}));
    EXPECT_EQ(VeskctlJson("target carries foo")["target"], "foo.target");
    EXPECT_EQ(VeskctlJson("target carries foo")["carries"][1], "b.mount");
    EXPECT_EQ(Veskctl("target carries bar").exitCode, 3);
}

TEST(VeskctlTarget, IsolatesTheSystem)
{
    Isolating systemctl;

    EXPECT_EQ(Veskctl("isolate rescue"), (Use{0, "", ""}));
    EXPECT_THAT(systemctl.Arguments(), Contains(HasSubstr("isolate")));
    EXPECT_EQ(Veskctl("isolate --no-block rescue").exitCode, 0);
    EXPECT_THAT(systemctl.Arguments(), Contains(HasSubstr("--no-block")));
}

TEST(VeskctlTarget, RunsACommandInATargetAndComesBack)
{
    Isolating systemctl;

    EXPECT_EQ(Veskctl("target run rescue -- echo here"), (Use{0, "here\n", ""}));
    EXPECT_THAT(systemctl.Arguments(), Contains("isolate default.target"));
}

TEST(VeskctlTarget, TellsSystemctlsReasonWhenItRefuses)
{
    const std::string refusal = "Failed to start rescue.target: Operation refused, unit may not be isolated.";
    Isolating systemctl;
    systemctl.OnLeading({"isolate"}).Stderr(refusal + "\n").Exit(4);
    systemctl.OnLeading({"set-default"}).Stderr("Failed to set default target: File exists\n").Exit(1);

    EXPECT_EQ(Veskctl("isolate rescue"),
              (Use{1, "", "veskctl: rescue.target: isolate failed: inactive: " + refusal + "\n"}));
    EXPECT_THAT(
        Veskctl("target run rescue -- echo here"),
        (Use{1, "",
             "veskctl: the command was not run, since the system could not be isolated to rescue.target: " +
                 refusal + "\n"}));
    EXPECT_EQ(Veskctl("target set rescue"), (Use{1, "",
                                                 "veskctl: rescue.target: it could not be made the default: "
                                                 "Failed to set default target: File exists\n"}));
}

TEST(VeskctlTarget, TellsACommandThatCannotBeRun)
{
    Isolating systemctl;

    EXPECT_EQ(
        Veskctl("target run rescue -- /nowhere/frob"),
        (Use{1, "",
             "veskctl: /nowhere/frob: No such file or directory\nveskctl: /nowhere/frob ended with 127\n"}));
}

TEST(VeskctlTarget, TellsACommandThatFailsAndComesBackAllTheSame)
{
    Isolating systemctl;

    const Use use = Veskctl("target run rescue -- sh -c 'exit 3'");

    EXPECT_EQ(use.exitCode, 1);
    EXPECT_THAT(use.err, HasSubstr("veskctl: sh ended with 3\n"));
    EXPECT_THAT(systemctl.Arguments(), Contains(HasSubstr("default.target")));
}

} // namespace
