#include "live_units.hpp"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"
#include "files.hpp"
#include "live_report.hpp"
#include "namespaces.hpp"
#include "systemctl_adapter.hpp"

namespace VeskTest
{

namespace
{

UnitText Installable(UnitText text)
{
    return text.Install("WantedBy=multi-user.target");
}

std::string ManagerOf(const OrdinaryUser& user)
{
    return "user@" + std::to_string(user.id) + ".service";
}

pid_t Spawn(const std::vector<std::string>& command, int output)
{
    std::vector<std::string> words = command;
    std::vector<char*> arguments;
    std::transform(words.begin(), words.end(), std::back_inserter(arguments),
                   [](std::string& word) { return word.data(); });
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    pid_t child = -1;
    const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        errno = error;
        VeskGround::ThrowErrno("start", command[0]);
    }
    return child;
}

// One thread, right after fork(): the environment is its own.
void BecomeUser(const OrdinaryUser& user)
{
    const std::string home = std::string("/home/") + user.name;
    VeskGround::Require(initgroups(user.name, user.id), "take the groups of", user.name);
    VeskGround::Require(setgid(user.id), "become the group of", user.name);
    VeskGround::Require(setuid(user.id), "become", user.name);
    // As after an exec by the user: else the process's files in /proc would stay root's.
    VeskGround::Require(prctl(PR_SET_DUMPABLE, 1), "open up /proc/self for", user.name);
    VeskGround::Require(chdir(home.c_str()), "enter", home);
    clearenv();
    setenv("HOME", home.c_str(), 1);
    setenv("USER", user.name, 1);
    setenv("LOGNAME", user.name, 1);
    setenv("SHELL", "/bin/bash", 1);
    setenv("PATH", "/usr/local/bin:/usr/bin:/bin", 1);
}

} // namespace

UnitText& UnitText::Line(const std::string& section, const std::string& line)
{
    auto found = std::find_if(m_sections.begin(), m_sections.end(),
                              [&](const Section& known) { return known.name == section; });
    if (found == m_sections.end()) {
        found = m_sections.insert(m_sections.end(), {section, ""});
    }
    found->lines += line + "\n";
    return *this;
}

std::string UnitText::Text() const
{
    std::string text;
    for (const Section& section : m_sections) {
        text += (text.empty() ? "[" : "\n[") + section.name + "]\n" + section.lines;
    }
    return text;
}

UnitText OneshotService(const std::string& command)
{
    return Installable(UnitText().Service("Type=oneshot").Service("ExecStart=" + command));
}

UnitText LastingService()
{
    return OneshotService().Service("RemainAfterExit=yes");
}

UnitText RunningService()
{
    // Its start is over when the process is in its group and runs the program.
    return Installable(UnitText().Service("Type=exec").Service("ExecStart=/bin/sleep infinity"));
}

UnitText FailingService(int exitCode)
{
    return OneshotService("/bin/sh -c 'exit " + std::to_string(exitCode) + "'");
}

UnitText HangingService()
{
    return OneshotService("/bin/sleep infinity").Service("TimeoutStartSec=infinity");
}

UnitText SlowToStopService(int seconds)
{
    return RunningService()
        .Service("ExecStop=/bin/sleep " + std::to_string(seconds))
        .Service("TimeoutStopSec=" + std::to_string(seconds + 60));
}

void AddUnit(const std::string& name, const UnitText& text, UnitFolder folder)
{
    WriteUnitFile(folder, name, text.Text());
    DaemonReload();
}

void AddMask(const std::string& name)
{
    MustSystemctl({"mask", name});
}

Outcome RunCommand(const std::vector<std::string>& command)
{
    VeskGround::Pipe output = VeskGround::MakePipe();
    const pid_t child = Spawn(command, output.write.Get());
    output.write.Close();
    Outcome outcome;
    outcome.output = VeskGround::ReadAll(output.read.Get());
    outcome.exitCode = VeskGround::WaitForExitCode(child);
    return outcome;
}

Outcome RealSystemctl(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command = {VeskGround::kRealSystemctl};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunCommand(command);
}

std::string MustSystemctl(const std::vector<std::string>& arguments)
{
    const Outcome outcome = RealSystemctl(arguments);
    if (outcome.exitCode != 0) {
        throw std::runtime_error("systemctl " + arguments.at(0) + " ended with " +
                                 std::to_string(outcome.exitCode) + ": " + outcome.output);
    }
    return outcome.output;
}

void DaemonReload()
{
    MustSystemctl({"daemon-reload"});
}

std::string Property(const std::string& unit, const std::string& name)
{
    const std::string output = MustSystemctl({"show", "--value", "--property=" + name, "--", unit});
    return output.substr(0, output.find_last_not_of('\n') + 1);
}

std::string ActiveState(const std::string& unit)
{
    return Property(unit, "ActiveState");
}

bool AwaitProperty(const std::string& unit, const std::string& name, const std::string& value)
{
    return Eventually([&] { return Property(unit, name) == value; });
}

bool AwaitActiveState(const std::string& unit, const std::string& value)
{
    return AwaitProperty(unit, "ActiveState", value);
}

bool QueueJob(const std::string& verb, const std::string& unit)
{
    MustSystemctl({"--no-block", verb, unit});
    return Eventually([&] { return !Property(unit, "Job").empty(); });
}

void StartUserManager(const OrdinaryUser& user)
{
    MustSystemctl({"start", ManagerOf(user)});
}

void StopUserManager(const OrdinaryUser& user)
{
    MustSystemctl({"stop", ManagerOf(user)});
}

void AddUserUnit(const OrdinaryUser& user, const std::string& name, const UnitText& text)
{
    const std::string home = std::string("/home/") + user.name;
    const std::string file = home + "/.config/systemd/user/" + name;
    WriteText(file, text.Text());
    for (const std::string& path :
         {home + "/.config", home + "/.config/systemd", home + "/.config/systemd/user", file}) {
        VeskGround::Require(chown(path.c_str(), user.id, user.id), "give away", path);
    }
}

Ending RunAsUser(const OrdinaryUser& user, const std::function<int()>& function)
{
    return RunInChild([&] {
        BecomeUser(user);
        return function();
    });
}

} // namespace VeskTest
