// vesk-sandbox: runs a command in a private copy of this machine where /usr/bin/systemctl is a scripted
// program.

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"
#include "namespaces.hpp"
#include "sandbox_init.hpp"
#include "sandbox_options.hpp"
#include "sandbox_root.hpp"

namespace
{

constexpr const char* kName = "vesk-sandbox";

std::string CurrentFolder()
{
    try {
        return VeskGround::ReadLink("/proc/self/cwd");
    } catch (const std::exception&) {
        return "/";
    }
}

// Without room for many datagrams a sender waits for the collector, and a wait can be interrupted.
void RaiseDatagramLimit()
{
    const VeskGround::Descriptor limit(open("/proc/sys/net/unix/max_dgram_qlen", O_WRONLY | O_CLOEXEC));
    [[maybe_unused]] const ssize_t count = write(limit.Get(), "100000\n", 7);
}

int RunInside(const VeskGround::SandboxOptions& options, const std::string& folder)
{
    return VeskGround::ReportErrors(kName, [&] {
        RaiseDatagramLimit();
        VeskGround::EnterSandboxRoot(options);
        if (chdir(folder.c_str()) != 0) {
            VeskGround::Require(chdir("/"), "enter", "/");
        }
        return VeskGround::RunAsInit(options.command);
    });
}

// A caller that ignores SIGCHLD would leave no exit code to wait for.
void WaitableChildren()
{
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
}

// At a terminal these are meant for the command, as with a shell's own children.
void LeaveTerminalSignalsToTheCommand()
{
    static_cast<void>(std::signal(SIGINT, SIG_IGN));
    static_cast<void>(std::signal(SIGQUIT, SIG_IGN));
}

} // namespace

int main(int argc, char** argv)
{
    return VeskGround::ReportErrors(kName, [&] {
        WaitableChildren();
        const auto options = VeskGround::ParseOptions({argv + 1, argv + argc});
        const std::string folder = CurrentFolder();
        const pid_t child = VeskGround::SpawnInNamespaces([&] { return RunInside(options, folder); });
        LeaveTerminalSignalsToTheCommand();
        return VeskGround::WaitForExitCode(child);
    });
}
