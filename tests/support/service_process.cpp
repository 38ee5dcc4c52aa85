#include "service_process.hpp"

#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskTest
{

ServiceProcess::ServiceProcess(const std::string& unit, const std::function<void()>& hold)
{
    // It ends when the child closes its end, and when the child becomes another program.
    VeskGround::Pipe ready = VeskGround::MakePipe();
    m_process = std::make_unique<OtherProcess>([&] {
        ready.read.Close();
        hold();
        ready.write.Close();
        while (true) {
            pause();
        }
        return 0;
    });
    ready.write.Close();
    char nothing = 0;
    VeskGround::Require(read(ready.read.Get(), &nothing, 1), "wait for", "a test's child");

    m_membership.emplace("/proc/" + std::to_string(Pid()) + "/cgroup",
                         "0::/\n1:name=systemd:/system.slice/" + unit + "\n");
}

} // namespace VeskTest
