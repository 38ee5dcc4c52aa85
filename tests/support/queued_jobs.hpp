// The job queue as a scripted systemctl tells it, in the platform's dialect.
#pragma once

#include <string>

#include "scripted_program.hpp"

namespace VeskTest
{

// "list-jobs" of any unit: nothing is queued.
inline void AnswerNoJobs(ScriptedProgram& systemctl)
{
    systemctl.OnLeading({"list-jobs"}).Exit(1);
}

// "list-jobs" of that unit: one job, number 7.
inline void AnswerJob(ScriptedProgram& systemctl, const std::string& unit, const std::string& type,
                      const std::string& state = "running")
{
    systemctl.On({"list-jobs", "--no-legend", unit})
        .Stdout("7 " + unit + ".service " + type + " " + state + "\n")
        .Exit(1);
}

} // namespace VeskTest
