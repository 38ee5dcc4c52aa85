#include <gmock/gmock.h>
#include <memory>
#include <unistd.h>

#include "boot_step.hpp"
#include "checks.hpp"
#include "files.hpp"
#include "queued_jobs.hpp"
#include "runner_call.hpp"
#include "syslog_capture.hpp"

namespace VeskTest
{
namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VESK::Systemd::SystemctlOpts;
using VESK::Systemd::SystemctlOptsBuilder;

constexpr uid_t kUser = 4711;

Words ArgvOf(const ScriptedProgram& program)
{
    const std::vector<Call> calls = program.Calls();
    return calls.size() == 1 ? calls[0].argv : Words{std::to_string(calls.size()) + " calls"};
}

// A systemctl that answers every call with success.
class RunnerCommandLine : public ::testing::Test
{
protected:
    RunnerCommandLine()
    {
        systemctl.OnAny();
        ClearBootStep();
    }

    static void UseSomeSessionOfTheUser()
    {
        AddUser("tester", kUser);
        WriteText("/etc/pam.d/systemd-user", "session required pam_permit.so\n");
    }

    ScriptedSystemctl systemctl;
    SyslogCapture log;
};

TEST_F(RunnerCommandLine, HasTheVerbThenTheOptionsThenTheUnitsInTheirOrder)
{
    const Words options{"--job-mode=replace", "-q"};
    EXPECT_TRUE(
        VESKSystemdSystemctl("start", options, {"b", "a", "b"}, [](int, const Words&) { return true; }));
    EXPECT_THAT(ArgvOf(systemctl),
                ElementsAre("/usr/bin/systemctl", "start", "--job-mode=replace", "-q", "b", "a", "b"));
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(RunnerCommandLine, HasNoOptionsUnlessTheyAreGiven)
{
    EXPECT_TRUE(VESKSystemdSystemctl("stop", {"foo.socket"}, [](int, const Words&) { return true; }));
    EXPECT_THAT(ArgvOf(systemctl), ElementsAre("/usr/bin/systemctl", "stop", "foo.socket"));
}

TEST_F(RunnerCommandLine, IsTheVerbAloneForAnEmptyUnitList)
{
    EXPECT_TRUE(RunSystemctl("daemon-reload", {}).result);
    EXPECT_THAT(ArgvOf(systemctl), ElementsAre("/usr/bin/systemctl", "daemon-reload"));
}

TEST_F(RunnerCommandLine, PassesWordsOnAsTheyAre)
{
    const Words units{"",         " ",     "-x", "a b",       "$HOME",   "`id`",
                      "x;reboot", "\"'\\", "*",  "new\nline", "\xff\xfe"};
    EXPECT_TRUE(RunSystemctl("show", units).result);
    Words expected{"/usr/bin/systemctl", "show"};
    expected.insert(expected.end(), units.begin(), units.end());
    EXPECT_EQ(ArgvOf(systemctl), expected);
}

TEST_F(RunnerCommandLine, PassesAnEmptyVerbOn)
{
    EXPECT_TRUE(RunSystemctl("", {"foo"}).result);
    EXPECT_THAT(ArgvOf(systemctl), ElementsAre("/usr/bin/systemctl", "", "foo"));
}

TEST_F(RunnerCommandLine, EndsEachWordAtItsFirstZeroByte)
{
    systemctl.Remove();
    EXPECT_TRUE(RunSystemctl(std::string("show\0x", 6), {std::string("a\0b", 3), "c"}).refused);
    systemctl.Restore();
    EXPECT_TRUE(RunSystemctl(std::string("show\0x", 6), {std::string("a\0b", 3), "c"}).result);
    EXPECT_THAT(ArgvOf(systemctl), ElementsAre("/usr/bin/systemctl", "show", "a", "c"));
    EXPECT_THAT(log.Take(), ElementsAre(Error(
                                kRunnerFile, "vesksystemd: fail to execute [/usr/bin/systemctl show a c].")));
}

TEST_F(RunnerCommandLine, TakesThousandsOfUnits)
{
    Words units;
    for (int number = 0; number < 5000; ++number) {
        units.push_back("unit-" + std::to_string(number));
    }
    EXPECT_TRUE(RunSystemctl("show", units).result);
    EXPECT_EQ(systemctl.Calls().at(0).arguments.size(), 5001U);
    EXPECT_EQ(systemctl.Calls().at(0).arguments.back(), "unit-4999");
}

TEST_F(RunnerCommandLine, HasNoUserOptionForRoot)
{
    for (const bool forceSystem : {false, true}) {
        EXPECT_TRUE(
            RunSystemctl("show", SystemctlOptsBuilder().SetForceSystem(forceSystem).Build(), {"a"}).result);
    }
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("show a", "show a"));
}

TEST_F(RunnerCommandLine, HasTheUserOptionRightAfterTheVerbForAnyOtherUser)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
    }
    UseSomeSessionOfTheUser();
    SetBootStep(5);
    systemctl.On({"list-jobs", "--user", "--no-legend", "a"}).Stdout("7 a.service start running\n").Exit(1);
    ExpectAsUser(kUser, [] {
        const Words options{"--quiet"};
        EXPECT_TRUE(
            RunSystemctl("reload", SystemctlOptsBuilder().SetCmdOpts(&options).Build(), {"a"}).result);
    });
    EXPECT_THAT(systemctl.Arguments(),
                ElementsAre("list-jobs --user --no-legend a", "list-jobs --user --no-legend a",
                            "reload --user --quiet --no-block a"));
    EXPECT_EQ(systemctl.Calls().back().user, kUser);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(RunnerCommandLine, HasNoUserOptionWhenTheSystemIsForced)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
    }
    ExpectAsUser(kUser, [] {
        EXPECT_TRUE(RunSystemctl("show", SystemctlOptsBuilder().SetForceSystem(true).Build(), {"a"}).result);
    });
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("show a"));
    EXPECT_THAT(log.Take(), IsEmpty()) << "no session was asked for";
}

TEST_F(RunnerCommandLine, GoesByTheRealUser)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
    }
    UseSomeSessionOfTheUser();
    ExpectInChild([] {
        ASSERT_EQ(setresuid(kUser, 0, 0), 0);
        EXPECT_TRUE(RunSystemctl("show", {"a"}).result);
    });
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("show --user a"));
}

TEST_F(RunnerCommandLine, RunsForAUserWithoutASessionToo)
{
    if (!CanBecomeOtherUsers()) {
        GTEST_SKIP() << "the sandbox of an ordinary user knows no other users";
    }
    ExpectAsUser(4712, [] { EXPECT_TRUE(RunSystemctl("show", {"a"}).result); });
    EXPECT_THAT(systemctl.Arguments(), ElementsAre("show --user a"));
    EXPECT_THAT(log.Take(), ElementsAre(Error("systemd_putenv_by_pam_systemd.cpp", "Failed to GetUsername"),
                                        Error("systemd_putenv_by_pam_systemd.cpp",
                                              "Failed to put env by pam systemd for 4712")));
}

TEST(SystemctlOptsBuilder, BuildsTheDefaultsWhenNothingIsSet)
{
    const SystemctlOpts opts = SystemctlOptsBuilder().Build();
    EXPECT_EQ(opts.pCmdOpts, nullptr);
    EXPECT_FALSE(opts.blCalRunTime);
    EXPECT_FALSE(opts.blForceSystem);
}

TEST(SystemctlOptsBuilder, ChainsItsSettersAndMayBuildMoreThanOnce)
{
    const Words options{"--now"};
    SystemctlOptsBuilder builder;
    EXPECT_EQ(&builder.SetCmdOpts(&options), &builder);
    EXPECT_EQ(&builder.SetCalRunTime(true), &builder);
    EXPECT_EQ(&builder.SetForceSystem(true), &builder);
    const SystemctlOpts opts = builder.Build();
    EXPECT_EQ(opts.pCmdOpts, &options);
    EXPECT_TRUE(opts.blCalRunTime);
    EXPECT_TRUE(opts.blForceSystem);
    EXPECT_EQ(builder.SetCmdOpts(nullptr).SetCalRunTime(false).SetForceSystem(false).Build().pCmdOpts,
              nullptr);
    EXPECT_FALSE(builder.Build().blCalRunTime);
}

Words OptionsOf(const VESK::Systemd::CommandOptions& options, Words words = {})
{
    VESK::Systemd::GetEnableDisableOptions(options, words);
    return words;
}

TEST(CommandOptions, AppendTheRunTimeThenTheNoReloadOption)
{
    VESK::Systemd::CommandOptions options;
    EXPECT_THAT(OptionsOf(options), IsEmpty());
    options.SetNoReload();
    EXPECT_THAT(OptionsOf(options), ElementsAre("--no-reload"));
    options.SetRunTime();
    options.SetRunTime();
    EXPECT_THAT(OptionsOf(options, {"--now"}), ElementsAre("--now", "--runtime", "--no-reload"));
    EXPECT_NE(options.GetImp(), nullptr);
}

TEST(CommandOptions, StandForNothingOnceMovedAway)
{
    VESK::Systemd::CommandOptions source;
    source.SetRunTime();
    const VESK::Systemd::CommandOptions target(std::move(source));
    EXPECT_THAT(OptionsOf(target), ElementsAre("--runtime"));
    source.SetRunTime(); // NOLINT(bugprone-use-after-move): what is left is what the test is about
    source.SetNoReload();
    EXPECT_EQ(source.GetImp(), nullptr);
    EXPECT_THAT(OptionsOf(source), IsEmpty());
}

} // namespace
} // namespace VeskTest
