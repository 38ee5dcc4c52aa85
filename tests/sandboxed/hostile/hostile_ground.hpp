// A machine on which every operation of the table succeeds, for a name as for any other.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "event_log.hpp"
#include "named_operations.hpp"
#include "scripted_program.hpp"
#include "tree.hpp"
#include "words.hpp"

namespace VeskTest
{

// What came of one call of an operation.
struct Outcome {
    bool success = false;
    int error = 0;            // of the error record, cleared before
    std::vector<Words> calls; // of systemctl
    Tree changes;
};

class HostileGround
{
public:
    HostileGround();

    // Puts everything in its place again: the unit, the package, what the names would lead to.
    void Reset(const std::string& name);

    // Calls the operation on such a machine.
    Outcome Run(const NamedOperation& operation, const std::string& name);

    // Gives NAME what a unit, a package and a slice of that name have.
    static void MakeOwner(const std::string& name);

    // For answers of the test's own.
    ScriptedSystemctl& Systemctl() { return m_systemctl; }

    // The arguments of systemctl, call by call.
    std::vector<Words> Calls() const;
    void ForgetCalls();

private:
    ScriptedSystemctl m_systemctl;
    EventLog m_eventLog;
    ScriptedProgram m_script{kMonitorScript};
};

// As a unit's name counts: up to its first zero byte.
std::string BeforeZero(const std::string& name);

// Whether it can be the name of an entry of a folder.
bool IsEntry(const std::string& name);

} // namespace VeskTest
