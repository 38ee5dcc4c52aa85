#include "live_keeper.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "error.hpp"
#include "live_channel.hpp"
#include "live_init.hpp"
#include "live_report.hpp"
#include "mounts.hpp"
#include "namespaces.hpp"

namespace VeskGround
{

namespace
{

// Covered by a tmpfs in the keeper's own mount namespace.
constexpr const char* kStage = "/run";

std::string CgroupBase()
{
    return std::string(kStage) + "/cgroup";
}

void EnterStage()
{
    if (unshare(CLONE_NEWNS) != 0) {
        ThrowRefused("enter", "a mount namespace");
    }
    MakeMountsPrivate();
    MountTmpfs(kStage, "0755");
}

class Keeper
{
public:
    Keeper(const LivePlan& plan, Descriptor owner)
        : m_plan(plan)
        , m_owner(std::move(owner))
    {
    }

    void Run()
    {
        try {
            Start();
            WaitForAnEnd();
        } catch (const Error& error) {
            SendLiveMessage(m_owner, LiveEvent::Failed, FailureText(error.ExitCode(), error.what()));
        } catch (const std::exception& error) {
            SendLiveMessage(m_owner, LiveEvent::Failed, FailureText(kExitSetupFailed, error.what()));
        }
        SendLiveMessage(m_owner, LiveEvent::Gone, TakeDown());
    }

private:
    void Start()
    {
        LiveStage stage;
        stage.folder = kStage;
        stage.cgroupPlan = m_plan.cgroups;
        stage.folders = m_plan.folders;
        EnterStage();
        m_entered = true;
        MountHierarchies(CgroupBase(), m_plan.cgroups.layout);
        stage.cgroups = CreateCgroups(CgroupBase(), m_plan.cgroups);
        BuildLiveRoot(stage.folder + "/upper", m_plan.sources);
        m_init = StartLiveInit(stage);
        std::vector<int> descriptors = {m_init.pidfd.Get()};
        for (const Descriptor& folder : stage.cgroups) {
            descriptors.push_back(folder.Get());
        }
        SendLiveMessage(m_owner, LiveEvent::Started, std::to_string(m_init.pid), descriptors);
    }

    // The owner sends nothing: what can be read of it is its end.
    void WaitForAnEnd() const
    {
        std::array<pollfd, 2> ends = {{{m_owner.Get(), POLLIN, 0}, {m_init.pidfd.Get(), POLLIN, 0}}};
        while (poll(ends.data(), ends.size(), -1) < 0 && errno == EINTR) {
        }
    }

    std::string TakeDown() const
    {
        if (m_init.pid > 0) {
            kill(m_init.pid, SIGKILL);
            while (waitpid(m_init.pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        try {
            if (m_entered) {
                RemoveCgroups(CgroupBase(), m_plan.cgroups);
            }
        } catch (const Error& error) {
            return error.what();
        }
        return "";
    }

    const LivePlan& m_plan;
    Descriptor m_owner;
    LiveInit m_init;
    bool m_entered = false;
};

void SilenceStandardDescriptors()
{
    const Descriptor nothing(Require(open("/dev/null", O_RDWR | O_CLOEXEC), "open", "/dev/null"));
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        Require(dup2(nothing.Get(), standard), "redirect to", "/dev/null");
    }
}

// Nothing of the owner's is held open: whoever waits for the end of its output does not wait for the keeper.
void CloseAllBut(const Descriptor& kept)
{
    const auto number = static_cast<unsigned>(kept.Get());
    if (number > STDERR_FILENO + 1) {
        Require(close_range(STDERR_FILENO + 1, number - 1, 0), "close", "the owner's descriptors");
    }
    Require(close_range(number + 1, UINT_MAX, 0), "close", "the owner's descriptors");
}

void LeaveTheOwnersSurroundings(const Descriptor& channel)
{
    setsid();
    for (const int ignored : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        static_cast<void>(std::signal(ignored, SIG_IGN));
    }
    static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
    umask(022);
    Require(chdir("/"), "enter", "/");
    SilenceStandardDescriptors();
    CloseAllBut(channel);
}

void Name(const char* process)
{
    prctl(PR_SET_NAME, process, 0, 0, 0);
}

// What was below a keeper that died becomes ours to wait for.
bool KeeperFinished(pid_t keeper)
{
    bool finished = false;
    int status = 0;
    for (pid_t child = 0; child >= 0 || errno == EINTR; child = waitpid(-1, &status, 0)) {
        finished = finished || (child == keeper && status == 0);
    }
    return finished;
}

// The keeper's own keeper, which does nothing but finish its work if it is killed.
void BecomeWatcher(const LivePlan& plan, Descriptor owner)
{
    LeaveTheOwnersSurroundings(owner);
    Require(prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0), "adopt", "the keeper's children");
    const pid_t keeper = Require(fork(), "fork", "a keeper");
    if (keeper == 0) {
        Name("vesk-live-keep");
        Keeper(plan, std::move(owner)).Run();
        _exit(0);
    }
    Name("vesk-live-watch");
    if (!KeeperFinished(keeper)) {
        CleanUpForKeeper(plan.cgroups);
        SendLiveMessage(owner, LiveEvent::Gone, "");
    }
}

} // namespace

Descriptor StartLiveKeeper(const LivePlan& plan)
{
    LiveChannel channel = MakeLiveChannel();
    const pid_t child = Require(fork(), "fork", "a keeper");
    if (child == 0) {
        // Not a child of the owner: whoever kills the owner with all its children does not find it.
        if (fork() != 0) {
            _exit(0);
        }
        channel.owner.Close();
        _exit(ReportErrors("vesk-live", [&] {
            BecomeWatcher(plan, std::move(channel.keeper));
            return 0;
        }));
    }
    channel.keeper.Close();
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return std::move(channel.owner);
}

void CleanUpForKeeper(const CgroupPlan& cgroups)
{
    EnterStage();
    MountHierarchies(CgroupBase(), cgroups.layout);
    RemoveCgroups(CgroupBase(), cgroups);
}

} // namespace VeskGround
