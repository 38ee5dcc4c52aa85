// The first process of new namespaces, tied to the life of the one that made it.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

namespace VeskGround
{

// Runs FIRST in a child that is process 1 of new mount, pid, ipc, uts, net and cgroup namespaces, and exits
// with what it returns. Who is not root gets a user namespace around them in which it is. The kernel kills
// the child, and with it everything in the pid namespace, when the caller dies.
pid_t SpawnInNamespaces(const std::function<int()>& first);

// The exit code of a child, or 128 and the number of the signal that killed it.
int WaitForExitCode(pid_t child);
int ExitCodeOf(int waitStatus);

// Runs BODY; an Error it throws is printed behind PROGRAM's name and becomes its exit code.
int ReportErrors(const std::string& program, const std::function<int()>& body);

// Takes from the calling process, and what it executes, the rights over the machine itself: modules, raw
// devices, device nodes, the clock, the kernel's log, audit.
void DropMachineRights();

} // namespace VeskGround
