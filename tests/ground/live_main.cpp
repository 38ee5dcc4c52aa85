// vesk-live: boots a private systemd, runs a command in it, takes it down. See live_options.cpp for its
// usage.

#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <unistd.h>
#include <vector>

#include "error.hpp"
#include "live_cgroups.hpp"
#include "live_options.hpp"
#include "live_system.hpp"

namespace
{

using namespace VeskGround;

constexpr int kExitUsage = 2;

void CheckMachine()
{
    if (geteuid() != 0) {
        throw Error("only root can boot a private systemd", kExitUnsupported);
    }
    for (const char* needed : {"/usr/lib/systemd/systemd", "/usr/bin/systemctl", "/usr/bin/dbus-daemon",
                               "/usr/lib/systemd/systemd-logind", "/usr/lib/systemd/systemd-journald"}) {
        if (access(needed, X_OK) != 0) {
            throw Error(std::string(needed) + " is not installed", kExitUnsupported);
        }
    }
}

LivePlan PlanOf(const LiveOptions& options)
{
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
    LivePlan plan;
    plan.cgroups = {options.layout, NameForCgroups()};
    plan.folders = options.folders;
    if (options.adapter) {
        plan.sources.adapter = self.parent_path() / "vesk-systemctl-adapter";
    }
    plan.sources.platform = options.platform;
    return plan;
}

int Live(const std::vector<std::string>& arguments)
{
    const LiveOptions options = ParseLiveOptions(arguments);
    if (options.help) {
        std::cout << kLiveUsage;
        return 0;
    }
    CheckMachine();
    LiveSystem system(PlanOf(options));
    const int exitCode = system.Run(options.command);
    system.TakeDown();
    return exitCode;
}

int Complain(const char* text, int exitCode)
{
    std::cerr << "vesk-live: " << (exitCode == kExitUnsupported ? "skipped: " : "") << text << "\n";
    return exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    // A caller that ignores SIGCHLD would leave no exit code to wait for.
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    try {
        return Live(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& error) {
        std::cerr << kLiveUsage;
        return Complain(error.what(), kExitUsage);
    } catch (const Error& error) {
        return Complain(error.what(), error.ExitCode());
    } catch (const std::exception& error) {
        return Complain(error.what(), kExitSetupFailed);
    }
}
