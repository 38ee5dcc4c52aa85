// The help, the man pages, the documentation and the completion, which tell of the same verbs.

#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>

#include "files.hpp"
#include "paths.hpp"
#include "shell.hpp"
#include "veskctl_ground.hpp"

using namespace VeskTest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{

using Words = std::vector<std::string>;

const Words kVerbs{"start",
                   "stop",
                   "restart",
                   "try-restart",
                   "reload",
                   "reload-or-restart",
                   "enable",
                   "disable",
                   "reenable",
                   "mask",
                   "unmask",
                   "reset-failed",
                   "daemon-reload",
                   "uninstall",
                   "status",
                   "show",
                   "jobs",
                   "list",
                   "keys",
                   "pid",
                   "reason stop",
                   "reason start",
                   "reason remove",
                   "reason list",
                   "volume users",
                   "volume dependents",
                   "volume register",
                   "volume unregister",
                   "volume registered",
                   "volume unmount",
                   "volume recover",
                   "target get",
                   "target set",
                   "target carries",
                   "target run",
                   "isolate",
                   "slice list",
                   "slice show",
                   "slice top",
                   "slice kill",
                   "slice enter"};

Words Lines(const std::string& text)
{
    std::istringstream stream(text);
    Words lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string Joined(const Words& lines)
{
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

// The shells find it by its name.
Words InShell(const std::string& command)
{
    const std::string program = VESKCTL;
    setenv("PATH", (program.substr(0, program.rfind('/')) + ":/usr/bin:/bin").c_str(), 1);
    return Lines(RunShell(command).output);
}

// What bash offers for the line, as its completion is called when the key is pressed at its end.
Words InBash(const std::string& line, const std::string& words)
{
    return InShell(
        "exec bash -c '. " + std::string(VESKCTL_COMPLETION) + "/veskctl.bash; COMP_LINE=\"" + line +
        "\"; COMP_POINT=${#COMP_LINE}; COMP_WORDS=(" + words +
        "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _veskctl; printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
}

TEST(VeskctlHelp, NamesEveryVerbAtOnce)
{
    const std::string help = Veskctl("--help").out;

    for (const std::string& verb : kVerbs) {
        EXPECT_THAT(help, HasSubstr("\n  " + verb)) << verb;
        EXPECT_THAT(Veskctl(verb + " --help").out, StartsWith("veskctl " + verb)) << verb;
    }
    for (const std::string& line : Lines(help)) {
        EXPECT_LE(line.size(), 79U) << line;
    }
}

TEST(VeskctlHelp, TellsWhichVerbsNeedRoot)
{
    EXPECT_THAT(Veskctl("volume unmount --help").out, HasSubstr("\nNeeds root.\n"));
    EXPECT_THAT(Veskctl("--man-page target").out, HasSubstr(".IP\nNeeds root.\n"));
    EXPECT_THAT(Veskctl("start --help").out, Not(HasSubstr("root")));
}

TEST(VeskctlHelp, HasAManPageForEachGroupWithoutAWarning)
{
    std::string pages;
    for (const std::string group : {"", "units", "queries", "reason", "volume", "target", "slice"}) {
        const std::string page = Veskctl("--man-page " + group).out;
        EXPECT_THAT(page, StartsWith(".TH veskctl")) << group;
        WriteText("/tmp/page.8", page);
        const ShellResult shown = RunShell("LC_ALL=C groff -ww -man -Tascii /tmp/page.8 2>&1 >/tmp/page.txt");
        EXPECT_EQ(shown.ending, Exited(0)) << group;
        EXPECT_EQ(shown.output, "") << group;
        pages += page;
    }
    for (std::string verb : kVerbs) {
        for (size_t dash = 0; (dash = verb.find('-', dash)) != std::string::npos; dash += 2) {
            verb.replace(dash, 1, "\\-");
        }
        EXPECT_THAT(pages, HasSubstr("\n.B " + verb)) << verb;
    }
}

TEST(VeskctlHelp, IsWhatTheDocumentationTells)
{
    const std::string documentation = ReadText(VESKCTL_DOCUMENTATION);

    for (const std::string& verb : kVerbs) {
        if (Veskctl(verb + " --help").out.find("--json") != std::string::npos) {
            EXPECT_THAT(documentation, HasSubstr("| `" + verb)) << verb;
        }
    }
}

TEST(VeskctlCompletion, OffersVerbsAndWhatTheyTake)
{
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-unit-files"})
        .Stdout("foo.service enabled\nfoo@.service static\nbar.service static\n");
    WriteText(ReasonsOf("foo.service") + "/backup", "");

    EXPECT_THAT(Lines(Veskctl("--complete vol").out), ElementsAre(StartsWith("volume\t")));
    EXPECT_THAT(Lines(Veskctl("--complete volume un").out),
                ElementsAre(StartsWith("unregister\t"), StartsWith("unmount\t")));
    EXPECT_THAT(Lines(Veskctl("--complete start fo").out), ElementsAre("foo.service", "foo@.service"));
    EXPECT_THAT(Lines(Veskctl("--complete start --no-block bar.service b").out), ElementsAre("bar.service"));
    EXPECT_THAT(Lines(Veskctl("--complete reason start ''").out), ElementsAre("backup"));
    EXPECT_THAT(Lines(Veskctl("--complete reason start backup f").out),
                ElementsAre("foo.service", "foo@.service"));
    EXPECT_THAT(Lines(Veskctl("--complete volume unmount --d").out), ElementsAre(StartsWith("--dry-run\t")));
    EXPECT_THAT(Lines(Veskctl("--complete list --type ti").out), ElementsAre("timer"));
    EXPECT_THAT(Lines(Veskctl("--complete slice top --sort ''").out),
                ElementsAre("cpu", "memory", "io", "name"));
    EXPECT_THAT(Lines(Veskctl("--complete volume users /").out), Not(Contains("/proc")));
    EXPECT_EQ(Veskctl("--complete volume unmount /v -- ''").out, "");
    EXPECT_EQ(Veskctl("--complete keys foo ''").out, "");
}

TEST(VeskctlCompletion, WorksInBash)
{
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-unit-files"}).Stdout("foo.service enabled\nfoo@a.service static\n");

    EXPECT_THAT(InBash("veskctl reason ", "veskctl reason \"\""),
                ElementsAre("stop", "start", "remove", "list"));
    EXPECT_THAT(InBash("veskctl start foo@", "veskctl start foo @"), ElementsAre("a.service"));
}

TEST(VeskctlCompletion, WorksInZsh)
{
    if (!Exists("/usr/bin/zsh")) {
        GTEST_SKIP() << "there is no zsh";
    }
    ScriptedSystemctl systemctl;
    systemctl.OnLeading({"list-unit-files"}).Stdout("foo.service enabled\nbar@a.service static\n");
    systemctl.OnLeading({"list-jobs"}).Exit(1);
    systemctl.On({"stop", "bar@a.service"});
    // Types at a zsh that has the functions of completion loaded, and waits for what is then on its terminal.
    WriteText("/tmp/at-terminal",
              "zmodload zsh/zpty\n"
              "zpty z zsh -f\n"
              "zpty -w z 'PS1=; fpath=(" +
                  std::string(VESKCTL_COMPLETION) +
                  " $fpath); autoload -Uz compinit; compinit -u -d /tmp/zcompdump; print load\\ed'\n"
                  "zpty -r z found '*loaded*'\n"
                  "zpty -w -n z $'veskctl reason \\t'\n"
                  "zpty -r z found '*which services are held*'\n"
                  "print -r -- \"$found\"\n"
                  "zpty -w -n z $'\\C-uveskctl stop ba\\t\\n'\n"
                  "zpty -r z found '*: stopped*'\n"
                  "print -r -- \"$found\"\n");

    const std::string screen = Joined(InShell("TERM=xterm timeout 60 zsh -f /tmp/at-terminal"));

    EXPECT_THAT(screen, HasSubstr("stop    -- stop services and record why"));
    EXPECT_THAT(screen, HasSubstr("remove  -- clear a reason and start nothing"));
    EXPECT_THAT(screen, HasSubstr("bar@a.service: stopped"));
    EXPECT_THAT(systemctl.Arguments(), Contains("stop bar@a.service"));
}

TEST(VeskctlCompletion, WorksInFish)
{
    if (!Exists("/usr/bin/fish")) {
        GTEST_SKIP() << "there is no fish";
    }
    const Words found = InShell("HOME=/tmp exec fish --no-config -c '. " + std::string(VESKCTL_COMPLETION) +
                                "/veskctl.fish; complete -C \"veskctl reason \"'");

    EXPECT_THAT(found, Contains("stop\tstop services and record why"));
}

} // namespace
