// Runs the launcher from outside and looks at the machine before and after.

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "children.hpp"
#include "fields.hpp"
#include "files.hpp"
#include "marker.hpp"
#include "shell.hpp"

namespace VeskTest
{
namespace
{

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kSandbox = VESK_SANDBOX;

ShellResult RunSandbox(const std::string& arguments)
{
    return RunShell("exec " + kSandbox + " " + arguments + " 2>&1");
}

// What nothing but a sandbox that leaks would change while a test runs.
std::map<std::string, std::string> MachineState()
{
    std::map<std::string, std::string> state;
    state["mounts"] = ReadText("/proc/self/mountinfo");
    for (const char* path :
         {"/", "/etc/systemd/system", "/run", "/run/systemd/system", "/usr/lib/systemd/system",
          "/usr/local/lib/systemd/system", "/usr/vesk", "/var/packages", "/dev", "/sys/fs/cgroup"}) {
        state[path] = ::testing::PrintToString(ListFolder(path));
    }
    return state;
}

// The files of that name below a folder; other tests may change it meanwhile.
std::vector<std::string> FindByName(const std::string& folder, const std::string& name)
{
    std::vector<std::string> found;
    std::error_code error;
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator entry(folder, options, error), end; entry != end;
         entry.increment(error)) {
        if (error) {
            break;
        }
        if (entry->path().filename() == name) {
            found.push_back(entry->path());
        }
    }
    return found;
}

// The processes that have the mark in their command line or environment. (The number of a pid namespace would
// not do: the kernel gives it to the next one.)
std::vector<std::string> ProcessesMarked(const std::string& mark)
{
    std::vector<std::string> processes;
    for (const std::string& name : ListFolder("/proc")) {
        const std::string folder = "/proc/" + name;
        const std::string text =
            VeskGround::ReadFile(folder + "/cmdline") + VeskGround::ReadFile(folder + "/environ");
        if (text.find(mark) != std::string::npos) {
            processes.push_back(name);
        }
    }
    return processes;
}

// Leaves a file of its name wherever a test would write, mounts, sets the host name, starts processes that
// stay, then tells that it is done through a file of the machine's.
class Vandal
{
public:
    Vandal()
        : m_name("vandal-" + std::to_string(getpid()))
        , m_report(fs::temp_directory_path() / m_name)
    {
        fs::create_directory(m_report);
    }
    ~Vandal() { fs::remove_all(m_report); }
    Vandal(const Vandal&) = delete;
    Vandal& operator=(const Vandal&) = delete;

    std::vector<std::string> Command(const std::string& end) const
    {
        return {kSandbox, "--bind-rw", m_report, "--", "/bin/sh", "-c", Script() + end};
    }

    bool IsDone() const { return Exists(m_report / "done"); }

    std::vector<std::string> Processes() const { return ProcessesMarked(m_name); }

    void ExpectNoTrace() const
    {
        for (const char* folder : {"/etc", "/run", "/usr/lib/systemd", "/usr/local/lib", "/var/log",
                                   "/sys/fs/cgroup", "/dev/shm", "/tmp"}) {
            EXPECT_THAT(FindByName(folder, m_name + "-trace"), IsEmpty());
        }
        EXPECT_FALSE(Exists("/" + m_name + "-trace"));
        EXPECT_FALSE(Exists("/usr/bin/" + m_name + "-trace"));
        EXPECT_THAT(Processes(), IsEmpty());
    }

private:
    std::string Script() const
    {
        return "for d in / /etc /run /tmp /usr/bin /usr/vesk /var/log /var/packages /dev/shm /sys/fs/cgroup"
               " /etc/systemd/system /run/systemd/system /usr/lib/systemd/system "
               "/usr/local/lib/systemd/system;"
               " do mkdir $d/" +
               m_name + "-trace || exit 1; done; mount -t tmpfs none /mnt || exit 2; hostname " + m_name +
               "; export MARK=" + m_name +
               "; sleep 1000 & (trap '' TERM HUP; exec setsid sleep 1000) & rm -f /usr/bin/systemctl; "
               "touch " +
               (m_report / "done").string() + "; ";
    }

    std::string m_name;
    fs::path m_report;
};

// The launcher and what stands beside it where every user may run them: a build may lie in a closed folder.
class LauncherForEverybody
{
public:
    LauncherForEverybody()
        : m_folder(fs::temp_directory_path() / ("launcher-" + std::to_string(getpid())))
    {
        fs::create_directory(m_folder);
        fs::permissions(m_folder, fs::perms(0755));
        for (const char* name : {"vesk-sandbox", "systemctl-stand-in"}) {
            fs::copy(fs::path(kSandbox).replace_filename(name), m_folder);
        }
    }
    ~LauncherForEverybody() { fs::remove_all(m_folder); }
    LauncherForEverybody(const LauncherForEverybody&) = delete;
    LauncherForEverybody& operator=(const LauncherForEverybody&) = delete;

    std::string Path() const { return m_folder / "vesk-sandbox"; }

private:
    fs::path m_folder;
};

pid_t Start(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        execv(arguments[0], arguments.data());
        _exit(126);
    }
    return child;
}

int WaitFor(pid_t child)
{
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

class Launcher : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const ShellResult result = RunSandbox("true");
        if (result.ending == Exited(77)) {
            GTEST_SKIP() << result.output;
        }
        ASSERT_EQ(result.ending, Exited(0)) << result.output;
    }
};

TEST_F(Launcher, LeavesTheMachineAsItWas)
{
    const auto before = MachineState();
    const Vandal vandal;
    EXPECT_EQ(WEXITSTATUS(WaitFor(Start(vandal.Command("exit 5")))), 5);
    EXPECT_TRUE(vandal.IsDone());
    EXPECT_EQ(MachineState(), before);
    vandal.ExpectNoTrace();
}

TEST_F(Launcher, LeavesTheMachineAsItWasWhenKilledInTheMiddle)
{
    const auto before = MachineState();
    const Vandal vandal;
    const pid_t launcher = Start(vandal.Command("sleep 1000"));
    ASSERT_TRUE(Eventually([&] { return vandal.IsDone(); }));
    EXPECT_FALSE(vandal.Processes().empty());
    kill(launcher, SIGKILL);
    EXPECT_EQ(WTERMSIG(WaitFor(launcher)), SIGKILL);
    EXPECT_TRUE(Eventually([&] { return vandal.Processes().empty(); }));
    EXPECT_EQ(MachineState(), before);
    vandal.ExpectNoTrace();
}

TEST_F(Launcher, LeavesNothingWheneverItIsKilled)
{
    const auto before = MachineState();
    const std::string length = std::to_string(1000000 + getpid());
    for (int microseconds = 0; microseconds < 20000; microseconds += 1000) {
        const pid_t launcher = Start({kSandbox, "sleep", length});
        usleep(static_cast<useconds_t>(microseconds));
        kill(launcher, SIGKILL);
        WaitFor(launcher);
    }
    EXPECT_TRUE(Eventually([&] { return ProcessesMarked(length).empty(); }));
    EXPECT_EQ(MachineState(), before);
}

TEST_F(Launcher, PassesExitCodesAndSignalsOn)
{
    EXPECT_EQ(RunSandbox("-- sh -c 'exit 0'").ending, Exited(0));
    EXPECT_EQ(RunSandbox("-- sh -c 'exit 42'").ending, Exited(42));
    EXPECT_EQ(RunSandbox("-- sh -c 'kill -KILL $$'").ending, Exited(128 + SIGKILL));
    EXPECT_EQ(RunSandbox("-- sh -c 'kill -TERM $$'").ending, Exited(128 + SIGTERM));
    EXPECT_EQ(RunSandbox("/no/such/program").ending, Exited(127));
}

TEST_F(Launcher, KeepsTheStandardStreams)
{
    EXPECT_EQ(RunShell("echo text | " + kSandbox + " -- sh -c 'cat; echo error >&2' 2>/dev/null").output,
              "text\n");
    EXPECT_EQ(RunShell("echo text | " + kSandbox + " -- sh -c 'cat; echo error >&2' 2>&1 >/dev/null").output,
              "error\n");
}

TEST_F(Launcher, ClosesAllOtherDescriptors)
{
    EXPECT_EQ(RunShell("exec 7</etc/passwd; " + kSandbox + " ls /proc/self/fd").output, "0\n1\n2\n3\n");
}

TEST_F(Launcher, WorksForACallerThatIgnoresItsChildren)
{
    EXPECT_EQ(RunShell("trap '' CHLD; " + kSandbox + " -- sh -c 'exit 3'; echo $?").output, "3\n");
}

TEST_F(Launcher, BindsFoldersReadOnlyOrWritableAlsoBelowTmp)
{
    const fs::path folder = fs::temp_directory_path() / ("bound-" + std::to_string(getpid()));
    WriteText(folder / "file", "text");
    const std::string path = folder;
    EXPECT_EQ(
        RunSandbox("--bind " + path + " -- sh -c 'cat " + path + "/file; echo x > " + path + "/new'").ending,
        Exited(2));
    EXPECT_FALSE(Exists(folder / "new"));
    EXPECT_EQ(RunSandbox("--bind " + path + " cat " + path + "/file").output, "text");
    EXPECT_EQ(RunSandbox("--bind-rw " + path + " -- sh -c 'echo x > " + path + "/new'").ending, Exited(0));
    EXPECT_EQ(ReadText(folder / "new"), "x\n");
    fs::remove_all(folder);
}

TEST_F(Launcher, LeavesSystemctlOutWhenAsked)
{
    EXPECT_EQ(RunSandbox("--no-systemctl test -e /usr/bin/systemctl").ending, Exited(1));
    EXPECT_EQ(RunSandbox("--systemctl /bin/echo /usr/bin/systemctl start foo").output, "start foo\n");
}

TEST_F(Launcher, PlacesTheProgramsOfThePlatformThatAreThere)
{
    const fs::path folder = fs::temp_directory_path() / ("platform-" + std::to_string(getpid()));
    WriteText(folder / "vesklogset", "#!/bin/sh\necho \"$@\"\n", 0755);
    EXPECT_EQ(RunSandbox("--platform " + folder.string() + " /usr/vesk/bin/vesklogset a b").output, "a b\n");
    EXPECT_EQ(RunSandbox("--platform " + folder.string() + " ls /usr/vesk/").output, "bin\n");
    fs::remove_all(folder);
}

TEST_F(Launcher, NamesWhatItCannotDoBeforeTheCommandStarts)
{
    const ShellResult missing = RunSandbox("--bind /no/such/folder echo started");
    EXPECT_EQ(missing.output, "vesk-sandbox: open /no/such/folder: No such file or directory\n");
    EXPECT_EQ(missing.ending, Exited(125));
    EXPECT_THAT(RunSandbox("--bind relative true").output, HasSubstr("--bind needs an absolute path"));
    EXPECT_EQ(RunSandbox("--wrong true").ending, Exited(125));
    EXPECT_EQ(RunSandbox("").ending, Exited(125));
}

TEST_F(Launcher, RunsSixteenAtOnceApartFromEachOther)
{
    const ShellResult result =
        RunShell("for i in 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15; do " + kSandbox +
                 " -- sh -c \"mkdir /run/x && echo $i > /run/x/y && sleep 0.05 && cat /run/x/y\" &"
                 " done | sort -n | tr '\\n' ' '");
    EXPECT_EQ(result.output, "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 ");
}

TEST_F(Launcher, ServesAnOrdinaryUser)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "this is an ordinary user already";
    }
    const auto before = MachineState();
    const LauncherForEverybody launcher;
    const std::string user = "setpriv --reuid=65534 --regid=65534 --clear-groups " + launcher.Path();
    const ShellResult probe = RunShell(user + " true 2>&1");
    if (probe.ending == Exited(77)) {
        GTEST_SKIP() << probe.output;
    }
    EXPECT_EQ(RunShell(user + " -- sh -c 'id -u; mkdir -p /run/a /opt/a /usr/vesk/b /etc/systemd/system/c;"
                              " /usr/bin/systemctl start foo; echo $?; ls /etc/systemd/system' 2>&1")
                  .output,
              "0\nunexpected call: systemctl start foo\n199\nc\n");
    EXPECT_EQ(MachineState(), before);
}

TEST_F(Launcher, LetsTestProgramsKnowWhereTheyAre)
{
    EXPECT_FALSE(VeskGround::IsInside("sandboxed"));
}

} // namespace
} // namespace VeskTest
