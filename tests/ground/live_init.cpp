#include "live_init.hpp"

#include <array>
#include <csignal>
#include <cstdint>
#include <exception>
#include <linux/sched.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "error.hpp"
#include "live_report.hpp"
#include "marker.hpp"
#include "mounts.hpp"
#include "namespaces.hpp"

namespace VeskGround
{

namespace
{

constexpr const char* kSystemd = "/usr/lib/systemd/systemd";

// The death signal is not sent for a parent that is gone already; then the other end of its pipe is.
void DieWithParent(const Descriptor& parent)
{
    Require(prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0), "tie", "init to its keeper");
    pollfd end = {parent.Get(), POLLIN, 0};
    if (poll(&end, 1, 0) > 0) {
        throw Error("the keeper died early", kExitSetupFailed);
    }
}

// The tmpfs becomes read-only before the hierarchies are put on it: they stay writable.
void BindHierarchies(const LiveStage& stage, const std::string& target)
{
    const std::vector<std::string> hierarchies = HierarchiesOf(stage.cgroupPlan.layout);
    for (const std::string& hierarchy : hierarchies) {
        MakeDirectories(target + "/" + hierarchy);
    }
    MakeReadOnly(target);
    for (const std::string& hierarchy : hierarchies) {
        Bind(SystemFolder(stage.folder + "/cgroup", hierarchy, stage.cgroupPlan.name),
             target + "/" + hierarchy);
    }
}

void MountCgroups(const LiveStage& stage, const std::string& target)
{
    if (stage.cgroupPlan.layout != CgroupLayout::Unified) {
        BindHierarchies(stage, target);
        return;
    }
    // In place of the tmpfs. What a new mount shows begins at the root of the cgroup namespace.
    Require(umount2(target.c_str(), 0), "unmount", target);
    Require(mount("cgroup2", target.c_str(), "cgroup2", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr),
            "mount cgroup2 on", target);
}

void MountQueues(const std::string& target)
{
    MakeDirectories(target);
    Require(mount("mqueue", target.c_str(), "mqueue", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr),
            "mount mqueue on", target);
}

void BindTrees(const LiveStage& stage, const std::string& root)
{
    for (const BoundFolder& folder : stage.folders) {
        Bind(folder.path, root + folder.path);
        if (!folder.writable) {
            MakeReadOnly(root + folder.path);
        }
    }
}

void EnterRoot(const LiveStage& stage)
{
    const std::string root = stage.folder + "/root";
    MountOverlay({"/", stage.folder + "/upper", stage.folder + "/work"}, root);
    MountProc(root + "/proc");
    MountSys(root + "/sys");
    MountCgroups(stage, root + "/sys/fs/cgroup");
    MountDev(root + "/dev");
    MountQueues(root + "/dev/mqueue");
    MountTmpfs(root + "/run", "0755");
    MountTmpfs(root + "/tmp", "1777");
    BindTrees(stage, root);
    PivotInto(root);
    WriteMarker("live");
}

void BecomeSystemd(const LiveStage& stage, const Descriptor& parent)
{
    DieWithParent(parent);
    Require(setsid(), "start", "a session");
    EnterCgroups(stage.cgroups);
    Require(unshare(CLONE_NEWCGROUP), "enter", "a cgroup namespace");
    EnterRoot(stage);
    const std::string name = "vesk-live";
    Require(sethostname(name.data(), name.size()), "set", "the host name");
    DropMachineRights();
    std::array<std::string, 4> texts = {kSystemd, "--log-target=journal", "container=vesk-live",
                                        "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"};
    std::array<char*, 3> arguments = {texts[0].data(), texts[1].data(), nullptr};
    std::array<char*, 3> environment = {texts[2].data(), texts[3].data(), nullptr};
    execve(kSystemd, arguments.data(), environment.data());
    ThrowErrno("execute", kSystemd);
}

pid_t CloneInit(Descriptor& pidfd)
{
    int number = -1;
    clone_args arguments{};
    arguments.flags = CLONE_NEWPID | CLONE_NEWNS | CLONE_NEWUTS | CLONE_NEWIPC | CLONE_NEWNET | CLONE_PIDFD;
    arguments.pidfd = reinterpret_cast<std::uintptr_t>(&number);
    arguments.exit_signal = SIGCHLD;
    const long pid = syscall(SYS_clone3, &arguments, sizeof arguments);
    if (pid < 0) {
        ThrowRefused("enter", "namespaces of the system's own");
    }
    if (pid > 0) {
        pidfd = Descriptor(number);
    }
    return static_cast<pid_t>(pid);
}

} // namespace

LiveInit StartLiveInit(const LiveStage& stage)
{
    Pipe report = MakePipe();
    Pipe life = MakePipe();
    LiveInit init;
    init.pid = CloneInit(init.pidfd);
    if (init.pid == 0) {
        life.write.Close();
        ReportFailureOf([&] { BecomeSystemd(stage, life.read); }, report.write);
        _exit(kExitSetupFailed);
    }
    report.write.Close();
    ThrowReported(report.read);
    return init;
}

} // namespace VeskGround
