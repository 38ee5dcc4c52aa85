// One call of the runner and all that came of it.
#pragma once

#include <ostream>
#include <string>
#include <typeinfo>
#include <vector>
#include <vesksystemd.hpp>

namespace VeskTest
{

using Words = std::vector<std::string>;

constexpr const char* kRunnerFile = "systemd_systemctl.cpp";

struct RunnerCall {
    bool result = false;
    int callbacks = 0;
    int exitCode = -1;
    Words lines;
    // A plain std::exception was thrown; anything else passes on to the test.
    bool refused = false;
};

inline RunnerCall RunSystemctl(const std::string& verb, const VESK::Systemd::SystemctlOpts& opts,
                               const Words& units, bool answer = true)
{
    RunnerCall call;
    try {
        call.result = VESKSystemdSystemctlUltron(verb, opts, units, [&](int exitCode, const Words& lines) {
            ++call.callbacks;
            call.exitCode = exitCode;
            call.lines = lines;
            return answer;
        });
    } catch (const std::exception& error) {
        if (typeid(error) != typeid(std::exception)) {
            throw;
        }
        call.refused = true;
    }
    return call;
}

inline RunnerCall RunSystemctl(const std::string& verb, const Words& units, bool answer = true)
{
    return RunSystemctl(verb, VESK::Systemd::SystemctlOpts(), units, answer);
}

} // namespace VeskTest
