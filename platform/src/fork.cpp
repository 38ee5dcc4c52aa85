#include "child_code.h"
#include "guard.h"
#include "veskcore.h"
#include "wait_status.h"

#include <cerrno>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

using VESK::Platform::CloseDescriptorsAboveStandard;
using VESK::Platform::Fail;
using VESK::Platform::WaitForPid;

namespace
{

/**
 * One number in memory that parent and child share: needs no descriptor, and is there even when the child's
 * exit status is not, because the caller ignores SIGCHLD or reaps whatever ends.
 */
class SharedNumber
{
public:
    SharedNumber()
        : m_place(mmap(nullptr, sizeof(pid_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
    {
        if (IsMapped()) {
            *Number() = 0;
        }
    }
    SharedNumber(const SharedNumber&) = delete;
    SharedNumber& operator=(const SharedNumber&) = delete;
    ~SharedNumber()
    {
        if (IsMapped()) {
            munmap(m_place, sizeof(pid_t));
        }
    }

    bool IsMapped() const { return m_place != MAP_FAILED; }
    pid_t Get() const { return *Number(); }
    void Set(pid_t number) { *Number() = number; }

private:
    volatile pid_t* Number() const { return static_cast<volatile pid_t*>(m_place); }

    void* m_place;
};

int FailedFork(int error)
{
    errno = error;
    return Fail(-1, VLIBC_ERR_RESOURCES);
}

/** Fork whose child is the child of a process that has already ended. As fork(), but the grandchild's pid. */
pid_t ForkDetached()
{
    SharedNumber grandchild;
    if (!grandchild.IsMapped()) {
        return -1;
    }
    const pid_t between = fork();
    if (between < 0) {
        return -1;
    }
    if (between == 0) {
        const pid_t pid = fork();
        if (pid == 0) {
            return 0;
        }
        grandchild.Set(pid > 0 ? pid : -errno);
        _exit(EXIT_SUCCESS);
    }
    WaitForPid(between);
    const pid_t outcome = grandchild.Get();
    if (outcome > 0) {
        return outcome;
    }
    // Zero: the process between was killed before it could fork.
    errno = outcome < 0 ? -outcome : EAGAIN;
    return -1;
}

} // namespace

int VLIBCProcForkEx(unsigned long long flags)
{
    const pid_t pid = (flags & VLIBC_FORK_DETACH) != 0 ? ForkDetached() : fork();
    if (pid < 0) {
        return FailedFork(errno);
    }
    if (pid == 0 && (flags & VLIBC_FORK_CLOSE_DESCRIPTORS) != 0) {
        CloseDescriptorsAboveStandard();
    }
    return pid;
}
