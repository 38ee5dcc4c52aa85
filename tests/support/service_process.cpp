#include "service_process.hpp"

#include <array>
#include <stdexcept>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskTest
{

namespace
{

[[noreturn]] void Hold(const std::function<void()>& hold, VeskGround::Pipe& ready)
{
    ready.read.Close();
    try {
        hold();
    } catch (const std::exception& error) {
        VeskGround::WriteAll(ready.write.Get(), error.what(), "the pipe");
        _exit(1);
    }
    ready.write.Close();
    while (true) {
        pause();
    }
}

// The pipe ends when the child closes its end, and when the child becomes another program.
void AwaitReady(VeskGround::Pipe& ready)
{
    ready.write.Close();
    std::array<char, 512> failure{};
    if (VeskGround::Require(read(ready.read.Get(), failure.data(), failure.size() - 1), "wait for",
                            "a child") > 0) {
        throw std::runtime_error(failure.data());
    }
}

} // namespace

ServiceProcess::ServiceProcess(const std::string& unit, const std::function<void()>& hold)
{
    VeskGround::Pipe ready = VeskGround::MakePipe();
    m_process = std::make_unique<OtherProcess>([&]() -> int { Hold(hold, ready); });
    AwaitReady(ready);

    m_membership.emplace("/proc/" + std::to_string(Pid()) + "/cgroup",
                         "0::/\n1:name=systemd:/system.slice/" + unit + "\n");
}

} // namespace VeskTest
