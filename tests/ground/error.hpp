// Failures of the test grounds: a text with the path and the errno, and the exit code that tells them apart.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>

namespace VeskGround
{

// Exit codes of a launcher for its own failures. Anything else is the command's.
constexpr int kExitSetupFailed = 125;
constexpr int kExitUnsupported = 77;

class Error : public std::runtime_error
{
public:
    Error(const std::string& text, int exitCode)
        : std::runtime_error(text)
        , m_exitCode(exitCode)
    {
    }
    int ExitCode() const { return m_exitCode; }

private:
    int m_exitCode;
};

// Throws "WHAT PATH: <errno text>" as a failed setup.
[[noreturn]] void ThrowErrno(const std::string& what, const std::string& path);

// The same for a step that some kernels and containers refuse altogether: a refusal is no failure but a
// reason to skip.
[[noreturn]] void ThrowRefused(const std::string& what, const std::string& path);

// One line on standard error, in one piece whoever else writes there.
void PrintError(const std::string& line);

// For calls that answer -1 and set errno; gives the answer back.
template <typename Answer>
Answer Require(Answer answer, const std::string& what, const std::string& path)
{
    if (answer == static_cast<Answer>(-1)) {
        ThrowErrno(what, path);
    }
    return answer;
}

} // namespace VeskGround
