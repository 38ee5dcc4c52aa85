// A running private system, as its owner sees it.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "descriptor.hpp"
#include "live_cgroups.hpp"
#include "live_keeper.hpp"

namespace VeskGround
{

class LiveSystem
{
public:
    // Boots it and waits until it has reached its default target with no unit failed.
    explicit LiveSystem(LivePlan plan);
    LiveSystem(const LiveSystem&) = delete;
    LiveSystem& operator=(const LiveSystem&) = delete;
    LiveSystem(LiveSystem&&) = delete;
    LiveSystem& operator=(LiveSystem&&) = delete;
    ~LiveSystem();

    // Runs a command inside with the caller's standard descriptors and working directory (when it exists
    // there). The command's exit code, 128+N for a signal.
    int Run(const std::vector<std::string>& command) const;

    // Ends it; throws what could not be removed. Without this the destructor does it and says nothing.
    void TakeDown();

private:
    struct Answer {
        int exitCode = -1;
        std::string output;
    };

    void AwaitStart();
    void AwaitReady() const;
    bool IsReady() const;
    std::string LastWords() const;
    Answer Ask(const std::vector<std::string>& command) const;
    pid_t Start(const std::vector<std::string>& command, int output) const;
    void Enter() const;
    int Wait(pid_t child) const;
    bool IsDown(int milliseconds) const;
    void AwaitGone();

    LivePlan m_plan;
    Descriptor m_keeper;
    pid_t m_init = -1;
    Descriptor m_initPidfd;
    CgroupFolders m_cgroups;
};

} // namespace VeskGround
