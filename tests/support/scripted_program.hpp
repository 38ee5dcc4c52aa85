// A program replaced by one that answers as the test says and records how it was called.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

#include "script.hpp"

namespace VeskTest
{

// One recorded call.
struct Call {
    std::uint64_t order = 0;
    std::vector<std::string> argv;      // argv[0] included
    std::vector<std::string> arguments; // without argv[0]
    std::vector<std::string> environment;
    std::map<int, std::string> descriptors; // number and what it refers to, as /proc/PID/fd shows it
    std::string folder;                     // the working directory
    pid_t pid = 0;
    pid_t parent = 0;
    uid_t user = 0;
    std::uint64_t blockedSignals = 0; // bit N - 1 stands for signal N
    std::uint64_t ignoredSignals = 0;
    std::uint64_t caughtSignals = 0;
};

class ScriptedProgram;

// What to do for the calls that a rule matches. Steps are carried out in the order in which they are added;
// each change counts for calls that start after it. Without Exit() or Kill() the exit code is 0.
class Answering
{
public:
    Answering(ScriptedProgram& program, std::size_t rule)
        : m_program(&program)
        , m_rule(rule)
    {
    }

    // The bytes, as many times as asked.
    Answering& Stdout(const std::string& bytes, std::uint64_t times = 1);
    Answering& Stderr(const std::string& bytes, std::uint64_t times = 1);
    Answering& Exit(int code);
    Answering& Kill(int signal);
    Answering& Delay(std::uint64_t milliseconds);
    Answering& CreateFile(const std::string& path);
    Answering& RemoveFile(const std::string& path);
    Answering& WriteFile(const std::string& path, const std::string& text);
    Answering& WaitForFile(const std::string& path);
    Answering& Ignore(int signal = SIGTERM);

    // What follows is the answer to the next call. The last answer repeats.
    Answering& Then();

private:
    Answering& Add(const std::string& tag, std::uint64_t number, const std::string& bytes = "");

    ScriptedProgram* m_program;
    std::size_t m_rule;
};

// Only inside a sandbox. A new object starts without rules and without calls; a call that no rule matches
// prints "unexpected call: ..." on standard error and exits with 199. A rule for exact arguments counts
// before one for leading ones, and among equals the one added last.
class ScriptedProgram
{
public:
    // Replaces the program at PATH.
    explicit ScriptedProgram(const std::string& path);

    // Takes the program away, or puts it back.
    void Remove();
    void Restore();

    Answering On(const std::vector<std::string>& arguments);
    Answering OnLeading(const std::vector<std::string>& arguments);
    Answering OnAny();

    // The calls so far, in their order.
    std::vector<Call> Calls() const;

    // The arguments of each call, without argv[0], joined with blanks.
    std::vector<std::string> Arguments() const;

    void ForgetCalls();

private:
    friend class Answering;

    Answering AddRule(bool exact, const std::vector<std::string>& arguments);
    void Save() const;

    std::string m_path;
    std::string m_folder;
    std::vector<VeskGround::Rule> m_rules;
};

class ScriptedSystemctl : public ScriptedProgram
{
public:
    ScriptedSystemctl()
        : ScriptedProgram("/usr/bin/systemctl")
    {
    }
};

// The exit code of every unexpected call.
constexpr int kUnexpectedCall = 199;

} // namespace VeskTest
