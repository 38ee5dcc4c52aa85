#include "live_report.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <unistd.h>

#include "error.hpp"

namespace VeskGround
{

std::string ReadAll(int descriptor)
{
    std::string text;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (Require(count, "read", "a pipe") == 0) {
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

std::string FailureText(int exitCode, const std::string& text)
{
    return std::string(1, static_cast<char>(exitCode)) + text;
}

void ThrowFailure(const std::string& bytes)
{
    throw Error(bytes.substr(1), static_cast<unsigned char>(bytes.at(0)));
}

void ReportFailureOf(const std::function<void()>& steps, const Descriptor& report)
{
    std::string failure;
    try {
        steps();
        return;
    } catch (const Error& error) {
        failure = FailureText(error.ExitCode(), error.what());
    } catch (const std::exception& error) {
        failure = FailureText(kExitSetupFailed, error.what());
    }
    WriteAll(report.Get(), failure, "a pipe");
}

void ThrowReported(const Descriptor& report)
{
    const std::string failure = ReadAll(report.Get());
    if (!failure.empty()) {
        ThrowFailure(failure);
    }
}

} // namespace VeskGround
