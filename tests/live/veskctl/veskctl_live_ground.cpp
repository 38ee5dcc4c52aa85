#include "veskctl_live_ground.hpp"

#include <cstdlib>
#include <sys/mount.h>

#include "cgroup_trees.hpp"
#include "children.hpp"
#include "files.hpp"

namespace VeskTest
{
namespace
{

Outcome Tmux(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {"/usr/bin/tmux", "-f", "/dev/null", "-L", "veskctl"});
    return RunCommand(arguments);
}

} // namespace

std::string VeskctlPath()
{
    const char* libraries = getenv("LD_LIBRARY_PATH");
    const bool isPlatform = libraries != nullptr && std::string(libraries) == VESK_PLATFORM_LIBRARIES;
    return isPlatform ? VESKCTL_PLATFORM : VESKCTL_CURRENT;
}

Outcome Veskctl(const std::string& arguments)
{
    return RunCommand({"/bin/sh", "-c", VeskctlPath() + " " + arguments + " 2>&1"});
}

bool IsVolumeMounted()
{
    return ReadText("/proc/self/mountinfo").find(std::string(" ") + kVolume + " ") != std::string::npos;
}

void MonitorSlice(const std::string& slice)
{
    MakeFolder(MonitoredTree().Folder(slice));
}

VeskctlLive::VeskctlLive()
{
    MakeFolder(kVolume);
    EXPECT_EQ(mount("volume", kVolume, "tmpfs", 0, nullptr), 0);
    AddUnit("inside.service",
            UnitText().Service("ExecStart=/bin/sh -c 'cd /volume1 && exec /bin/sleep infinity'"));
    MustSystemctl({"start", "inside.service"});
    EXPECT_TRUE(Eventually(
        [] { return Veskctl("volume users /volume1").output.find("inside") != std::string::npos; }));
}

VeskctlLive::~VeskctlLive()
{
    umount2(kVolume, MNT_DETACH);
}

Terminal::Terminal()
{
    const std::string path = VeskctlPath();
    const std::string shell = "TERM=screen PS1='$ ' PATH=" + path.substr(0, path.rfind('/')) +
                              ":/usr/sbin:/usr/bin:/sbin:/bin exec bash --norc --noprofile";
    const Outcome outcome = Tmux({"new-session", "-d", "-x", "120", "-y", "30", shell});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    EXPECT_TRUE(Awaits("$"));
}

Terminal::~Terminal()
{
    Tmux({"kill-server"});
}

void Terminal::Type(const std::string& line)
{
    Tmux({"send-keys", "-l", line});
    Key("Enter");
}

void Terminal::Key(const std::string& name)
{
    Tmux({"send-keys", name});
}

void Terminal::Resize(int columns, int lines)
{
    Tmux({"resize-window", "-x", std::to_string(columns), "-y", std::to_string(lines)});
}

std::string Terminal::Screen()
{
    return Tmux({"capture-pane", "-p"}).output;
}

bool Terminal::Awaits(const std::string& text)
{
    return Eventually([&] { return Screen().find(text) != std::string::npos; });
}

} // namespace VeskTest
