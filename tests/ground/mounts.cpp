#include "mounts.hpp"

#include <cstddef>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskGround
{

namespace
{

// A fresh file system in a user namespace can be refused where the host's own one is partly hidden.
void MountFresh(const char* type, const std::string& target, unsigned long flags, const char* data)
{
    if (mount(type, target.c_str(), type, flags, data) != 0) {
        ThrowRefused(std::string("mount ") + type + " on", target);
    }
}

bool Exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

void BindNode(const std::string& target, const char* name)
{
    const std::string source = std::string("/dev/") + name;
    if (Exists(source)) {
        Bind(source, target + "/" + name);
    }
}

void Link(const std::string& text, const std::string& path)
{
    Require(symlink(text.c_str(), path.c_str()), "link", path);
}

bool IsDirectory(int descriptor)
{
    struct stat status {
    };
    Require(fstat(descriptor, &status), "stat", "a bound path");
    return S_ISDIR(status.st_mode);
}

void MakeMountPoint(const std::string& target, bool directory)
{
    if (directory) {
        MakeDirectories(target);
        return;
    }
    MakeDirectories(target.substr(0, target.rfind('/')));
    if (!Exists(target)) {
        WriteFile(target, "", 0644);
    }
}

} // namespace

void MakeMountsPrivate()
{
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        ThrowRefused("make private", "/");
    }
}

void MakeDirectories(const std::string& path)
{
    for (std::size_t end = path.find('/', 1); !path.empty(); end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST && !Exists(part)) {
            ThrowErrno("create", part);
        }
        if (end == std::string::npos) {
            break;
        }
    }
}

void MountTmpfs(const std::string& target, const std::string& mode)
{
    MakeDirectories(target);
    MountFresh("tmpfs", target, MS_NOSUID | MS_NODEV, ("mode=" + mode).c_str());
}

void MountProc(const std::string& target)
{
    MakeDirectories(target);
    MountFresh("proc", target, MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
    for (const char* name : {"/sys", "/sysrq-trigger", "/irq", "/bus"}) {
        if (Exists(target + name)) {
            Bind(target + name, target + name);
            MakeReadOnly(target + name);
        }
    }
}

void MountSys(const std::string& target)
{
    MakeDirectories(target);
    if (mount("sysfs", target.c_str(), "sysfs", MS_NOSUID | MS_NODEV | MS_NOEXEC | MS_RDONLY, nullptr) != 0) {
        MountTmpfs(target, "0755");
    }
    MountTmpfs(target + "/fs/cgroup", "0755");
}

void MountDev(const std::string& target)
{
    MakeDirectories(target);
    MountFresh("tmpfs", target, MS_NOSUID, "mode=0755");
    for (const char* name : {"null", "zero", "full", "random", "urandom", "tty"}) {
        BindNode(target, name);
    }
    MakeDirectories(target + "/pts");
    MountFresh("devpts", target + "/pts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=0620");
    MountTmpfs(target + "/shm", "1777");
    Link("pts/ptmx", target + "/ptmx");
    Link("/proc/self/fd", target + "/fd");
    Link("/proc/self/fd/0", target + "/stdin");
    Link("/proc/self/fd/1", target + "/stdout");
    Link("/proc/self/fd/2", target + "/stderr");
}

void MountOverlay(const Overlay& layers, const std::string& target)
{
    std::string data = "lowerdir=" + layers.lower + ",upperdir=" + layers.upper + ",workdir=" + layers.work;
    if (layers.userNamespace) {
        data += ",userxattr";
    }
    for (const std::string& folder : {layers.upper, layers.work, target}) {
        MakeDirectories(folder);
    }
    MountFresh("overlay", target, 0, data.c_str());
}

void BindDescriptor(int source, const std::string& target)
{
    MakeMountPoint(target, IsDirectory(source));
    const std::string path = "/proc/self/fd/" + std::to_string(source);
    Require(mount(path.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr), "bind to", target);
}

void Bind(const std::string& source, const std::string& target)
{
    BindDescriptor(OpenPath(source).Get(), target);
}

void CopyDescriptor(int source, const std::string& target, unsigned mode)
{
    const std::string path = "/proc/self/fd/" + std::to_string(source);
    const Descriptor from(Require(open(path.c_str(), O_RDONLY | O_CLOEXEC), "open the source of", target));
    MakeDirectories(target.substr(0, target.rfind('/')));
    const Descriptor to(
        Require(open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode), "open", target));
    constexpr std::size_t chunk = 1 << 24;
    while (Require(sendfile(to.Get(), from.Get(), nullptr, chunk), "copy to", target) > 0) {
    }
    Require(fchmod(to.Get(), mode), "set the mode of", target);
}

void MakeReadOnly(const std::string& target)
{
    struct mount_attr attributes {
    };
    attributes.attr_set = MOUNT_ATTR_RDONLY;
    Require(mount_setattr(AT_FDCWD, target.c_str(), AT_RECURSIVE, &attributes, sizeof attributes),
            "make read-only", target);
}

void PivotInto(const std::string& root)
{
    Require(chdir(root.c_str()), "enter", root);
    Require(syscall(SYS_pivot_root, ".", "."), "pivot into", root);
    Require(umount2(".", MNT_DETACH), "let go of", "the old root");
    Require(chdir("/"), "enter", "/");
}

} // namespace VeskGround
