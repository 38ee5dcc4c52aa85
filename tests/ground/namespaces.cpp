#include "namespaces.hpp"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskGround
{

namespace
{

constexpr unsigned long kNamespaces =
    CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWNET | CLONE_NEWCGROUP;

void WriteMap(const std::string& path, const std::string& text)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (write(file.Get(), text.data(), text.size()) < 0) {
        ThrowRefused("write", path);
    }
}

void MapToRoot(pid_t child, uid_t user, gid_t group)
{
    const std::string folder = "/proc/" + std::to_string(child);
    WriteMap(folder + "/uid_map", "0 " + std::to_string(user) + " 1\n");
    WriteMap(folder + "/setgroups", "deny\n");
    WriteMap(folder + "/gid_map", "0 " + std::to_string(group) + " 1\n");
}

// The two ways between a parent and the child that it starts.
struct Handshake {
    Pipe toParent = MakePipe();
    Pipe toChild = MakePipe();
};

bool ReadByte(const Descriptor& from)
{
    char byte = 0;
    ssize_t count = 0;
    do {
        count = read(from.Get(), &byte, 1);
    } while (count < 0 && errno == EINTR);
    return count == 1;
}

// Ties the child to the parent's life before the parent goes on: a parent that dies earlier leaves an end of
// file, one that dies later takes the child with it.
void WaitForParent(Handshake& handshake)
{
    handshake.toParent.read.Close();
    handshake.toChild.write.Close();
    Require(prctl(PR_SET_PDEATHSIG, SIGKILL), "tie to", "the parent's life");
    WriteAll(handshake.toParent.write.Get(), "x", "the parent's pipe");
    if (!ReadByte(handshake.toChild.read)) {
        _exit(kExitSetupFailed);
    }
}

void ReleaseChild(Handshake& handshake)
{
    handshake.toParent.write.Close();
    if (!ReadByte(handshake.toParent.read)) {
        ThrowErrno("start", "the first process of the sandbox");
    }
    WriteAll(handshake.toChild.write.Get(), "x", "the child's pipe");
}

} // namespace

pid_t SpawnInNamespaces(const std::function<int()>& first)
{
    const bool asRoot = geteuid() == 0;
    const uid_t user = geteuid();
    const gid_t group = getegid();
    Handshake handshake;
    const unsigned long flags = kNamespaces | SIGCHLD | (asRoot ? 0UL : CLONE_NEWUSER);
    const auto child = static_cast<pid_t>(syscall(SYS_clone, flags, nullptr, nullptr, nullptr, 0));
    if (child < 0) {
        ThrowRefused("make", "the namespaces");
    }
    if (child == 0) {
        WaitForParent(handshake);
        _exit(first());
    }
    if (!asRoot) {
        MapToRoot(child, user, group);
    }
    ReleaseChild(handshake);
    return child;
}

int ExitCodeOf(int waitStatus)
{
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

int WaitForExitCode(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) != child) {
        if (errno != EINTR) {
            ThrowErrno("wait for", "the sandbox");
        }
    }
    return ExitCodeOf(status);
}

int ReportErrors(const std::string& program, const std::function<int()>& body)
{
    try {
        return body();
    } catch (const Error& error) {
        const char* kind = error.ExitCode() == kExitUnsupported ? "skipped, no sandbox here: " : "";
        PrintError(program + ": " + kind + error.what());
        return error.ExitCode();
    } catch (const std::exception& error) {
        PrintError(program + ": " + error.what());
        return kExitSetupFailed;
    }
}

void DropMachineRights()
{
    constexpr std::array<int, 12> rights = {CAP_SYS_MODULE,    CAP_SYS_RAWIO,  CAP_MKNOD,     CAP_AUDIT_WRITE,
                                            CAP_MAC_OVERRIDE,  CAP_WAKE_ALARM, CAP_SYS_TIME,  CAP_SYSLOG,
                                            CAP_AUDIT_CONTROL, CAP_AUDIT_READ, CAP_MAC_ADMIN, CAP_SYS_BOOT};
    for (const int right : rights) {
        Require(prctl(PR_CAPBSET_DROP, right, 0, 0, 0), "drop", "capability " + std::to_string(right));
    }
}

} // namespace VeskGround
