#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>

#include "children.hpp"
#include "shown_file.hpp"

namespace VeskTest
{

// Only inside a sandbox. A forked child that a unit holds, as systemd's hierarchy tells.
class ServiceProcess
{
public:
    // HOLD runs in the child, which stays afterwards as it is, or becomes another program in it.
    ServiceProcess(const std::string& unit, const std::function<void()>& hold);

    pid_t Pid() const { return m_process->Pid(); }

    // Leaves it as a zombie.
    void Kill() const { m_process->Kill(); }

private:
    std::unique_ptr<OtherProcess> m_process;
    std::optional<ShownFile> m_membership;
};

} // namespace VeskTest
