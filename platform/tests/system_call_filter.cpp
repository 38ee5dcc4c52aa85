#include "system_call_filter.hpp"

#include <cerrno>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <system_error>

namespace VeskTest
{

namespace
{

constexpr std::uint32_t kCallOffset = offsetof(seccomp_data, nr);

constexpr std::uint32_t ArgumentOffset(unsigned argument)
{
    return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t));
}

// `test` is the comparison of the argument, which goes on for a match and skips one step otherwise.
void Install(int call, int error, unsigned argument, sock_filter test)
{
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kCallOffset),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ArgumentOffset(argument)),
        test,
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{sizeof steps / sizeof steps[0], steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        throw std::system_error(errno, std::generic_category(), "seccomp");
    }
}

} // namespace

void FailSystemCall(int call, int error, unsigned argument, std::uint32_t bits)
{
    const sock_filter always = BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, 0, 0, 1);
    const sock_filter anyBit = BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 0, 1);
    Install(call, error, argument, bits == 0 ? always : anyBit);
}

void FailSystemCallWith(int call, int error, unsigned argument, std::uint32_t value)
{
    Install(call, error, argument, BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 0, 1));
}

} // namespace VeskTest
