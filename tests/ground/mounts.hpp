// Mounts of the test grounds. Everything throws Error with the path and the errno.
//
// All of it is meant for a process that already sits in its own mount namespace; MakeMountsPrivate() comes
// first there, so that nothing travels back to the host.
#pragma once

#include <string>

namespace VeskGround
{

void MakeMountsPrivate();

// Creates a folder and what is missing above it, mode 0755.
void MakeDirectories(const std::string& path);

// A fresh tmpfs; the folder is created if it is missing. MODE is octal text such as "0755".
void MountTmpfs(const std::string& target, const std::string& mode);

// A fresh proc of the caller's pid namespace; what tunes the kernel in it is read-only.
void MountProc(const std::string& target);

// A read-only sysfs, or an empty tmpfs where the kernel refuses one, and an empty tmpfs on its fs/cgroup.
void MountSys(const std::string& target);

// A /dev on a tmpfs with the harmless nodes of the host's, an own devpts and an own shm; no kmsg, no console.
void MountDev(const std::string& target);

struct Overlay {
    std::string lower;
    std::string upper;
    std::string work;
    bool userNamespace = false;
};
void MountOverlay(const Overlay& layers, const std::string& target);

// Binds the file or folder behind a path descriptor, with everything mounted below it, to a path that is
// created as needed.
void BindDescriptor(int source, const std::string& target);

// Binds a path that is still reachable.
void Bind(const std::string& source, const std::string& target);

// Copies the file behind a descriptor to a path that is created as needed.
void CopyDescriptor(int source, const std::string& target, unsigned mode);

// Read-only for this mount and all below it; other mounts of the same file systems are left alone.
void MakeReadOnly(const std::string& target);

// Makes ROOT the root and lets go of the old one.
void PivotInto(const std::string& root);

} // namespace VeskGround
