#include "answer.hpp"

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include "descriptor.hpp"
#include "error.hpp"

namespace VeskGround
{

namespace
{

constexpr std::size_t kChunk = 65536;

void Write(int descriptor, const Field& step)
{
    const std::size_t perChunk =
        std::max<std::size_t>(1, kChunk / std::max<std::size_t>(1, step.bytes.size()));
    std::string chunk;
    for (std::uint64_t copies = 0; copies < std::min<std::uint64_t>(perChunk, step.number); ++copies) {
        chunk += step.bytes;
    }
    for (std::uint64_t left = step.number; left > 0;) {
        const auto copies = static_cast<std::size_t>(std::min<std::uint64_t>(left, perChunk));
        WriteAll(descriptor, chunk.substr(0, copies * step.bytes.size()), "the answer");
        left -= copies;
    }
}

void Sleep(std::uint64_t milliseconds)
{
    timespec left{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000 * 1000000)};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

void WaitForFile(const std::string& path)
{
    while (access(path.c_str(), F_OK) != 0) {
        Sleep(1);
    }
}

void WriteTextFile(const std::string& pathAndText)
{
    const std::size_t end = pathAndText.find('\0');
    WriteFile(pathAndText.substr(0, end), pathAndText.substr(end + 1), 0644);
}

void DieOf(int signal)
{
    prctl(PR_SET_DUMPABLE, 0);
    static_cast<void>(std::signal(signal, SIG_DFL));
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    static_cast<void>(raise(signal));
}

void PlayFileStep(const Field& step)
{
    if (step.tag == "create") {
        WriteFile(step.bytes, "", 0644);
    } else if (step.tag == "remove") {
        unlink(step.bytes.c_str());
    } else if (step.tag == "write") {
        WriteTextFile(step.bytes);
    } else if (step.tag == "wait") {
        WaitForFile(step.bytes);
    } else {
        throw Error("unknown step " + step.tag, kExitSetupFailed);
    }
}

void PlayStep(const Field& step)
{
    if (step.tag == "out" || step.tag == "err") {
        Write(step.tag == "out" ? STDOUT_FILENO : STDERR_FILENO, step);
    } else if (step.tag == "delay") {
        Sleep(step.number);
    } else if (step.tag == "ignore") {
        static_cast<void>(std::signal(static_cast<int>(step.number), SIG_IGN));
    } else if (step.tag == "kill") {
        DieOf(static_cast<int>(step.number));
    } else {
        PlayFileStep(step);
    }
}

} // namespace

int PlayAnswer(const std::vector<Field>& steps)
{
    for (const Field& step : steps) {
        if (step.tag == "exit") {
            return static_cast<int>(step.number);
        }
        PlayStep(step);
    }
    return 0;
}

} // namespace VeskGround
