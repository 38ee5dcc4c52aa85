#pragma once

#include "paths.hpp"
#include "scripted_program.hpp"

namespace VeskTest
{

// Stands for /usr/vesk/bin/vesklogset: takes every entry, and answers with exit code 0 unless a rule says
// otherwise.
class EventLog : public ScriptedProgram
{
public:
    EventLog()
        : ScriptedProgram(kEventLogProgram)
    {
        OnAny();
    }

    void AnswerWith(int exitCode) { OnAny().Exit(exitCode); }
};

} // namespace VeskTest
