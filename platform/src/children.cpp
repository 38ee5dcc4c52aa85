#include "guard.h"
#include "spawn.h"
#include "unique_fd.h"
#include "veskcore.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <sys/wait.h>

using VESK::Platform::Child;
using VESK::Platform::ChildEnvironment;
using VESK::Platform::ChildOutput;
using VESK::Platform::Fail;
using VESK::Platform::Guarded;
using VESK::Platform::UniqueFd;

namespace
{

/** As much as a pipe holds. */
constexpr std::size_t kBufferSize = 64UL * 1024;

/** What belongs to a stream of VLIBCPopenv. The stream itself carries it: there is no table of streams. */
struct PipeStream {
    // Not defaulted: that would clear the buffer whenever one is made.
    PipeStream() {} // NOLINT(modernize-use-equals-default)

    UniqueFd readEnd;
    Child child;
    bool started = false;
    char buffer[kBufferSize];
};

/** Where VLIBCPclose, further up this thread's stack, wants the child's status. */
thread_local int* wantedStatus = nullptr;

ssize_t ReadPipe(void* cookie, char* buffer, std::size_t size)
{
    const auto* stream = static_cast<const PipeStream*>(cookie);
    ssize_t count = 0;
    do {
        count = read(stream->readEnd.Get(), buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

int ClosePipe(void* cookie)
{
    const std::unique_ptr<PipeStream> stream(static_cast<PipeStream*>(cookie));
    stream->readEnd.Reset();
    const int status = stream->started ? stream->child.Wait() : -1;
    if (wantedStatus != nullptr) {
        *wantedStatus = status;
    }
    return 0;
}

struct Pipe {
    UniqueFd readEnd;
    UniqueFd writeEnd;
};

bool OpenPipe(Pipe& pipe)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    pipe.readEnd.Reset(ends[0]);
    pipe.writeEnd.Reset(ends[1]);
    pipe.readEnd.MoveAboveStandard();
    pipe.writeEnd.MoveAboveStandard();
    return pipe.readEnd && pipe.writeEnd;
}

/** A stream over `state`, which it owns from then on; null when there is no memory for it. */
FILE* OpenStream(std::unique_ptr<PipeStream>& state)
{
    FILE* stream = fopencookie(state.get(), "r", {ReadPipe, nullptr, nullptr, ClosePipe});
    if (stream == nullptr) {
        return nullptr;
    }
    // A stream of one's own functions has no number by itself; callers that poll need it.
    stream->_fileno = state->readEnd.Get();
    (void)setvbuf(stream, state->buffer, _IOFBF, kBufferSize);
    state.release(); // NOLINT(bugprone-unused-return-value): the stream's close function frees it
    return stream;
}

bool IsResource(int error)
{
    return error == EAGAIN || error == EMFILE || error == ENFILE || error == ENOMEM;
}

int StartErrorCode(int error)
{
    return IsResource(error) ? VLIBC_ERR_RESOURCES : VLIBC_ERR_EXEC;
}

FILE* OpenChildStream(const char* path, char* const argv[], bool withErrors)
{
    ChildEnvironment environment;
    Pipe pipe;
    if (!OpenPipe(pipe)) {
        return Fail<FILE*>(nullptr, VLIBC_ERR_RESOURCES);
    }
    auto state = std::make_unique<PipeStream>();
    PipeStream& shared = *state;
    shared.readEnd = std::move(pipe.readEnd);
    // The stream comes before the child, so that nothing can fail once the child runs.
    FILE* stream = OpenStream(state);
    if (stream == nullptr) {
        return Fail<FILE*>(nullptr, VLIBC_ERR_MEMORY);
    }
    const int error = shared.child.Start(path, argv, environment, {pipe.writeEnd.Get(), withErrors});
    shared.started = error == 0;
    if (error != 0) {
        (void)fclose(stream);
        errno = error;
        return Fail<FILE*>(nullptr, StartErrorCode(error));
    }
    return stream;
}

} // namespace

FILE* VLIBCPopenv(const char* path, const char* mode, char* const argv[])
{
    return Guarded<FILE*>(nullptr, [=]() -> FILE* {
        if (path == nullptr || mode == nullptr || argv == nullptr || argv[0] == nullptr) {
            return Fail<FILE*>(nullptr, VLIBC_ERR_ARGUMENT);
        }
        const bool withErrors = std::strcmp(mode, "rB") == 0;
        if (!withErrors && std::strcmp(mode, "r") != 0) {
            return Fail<FILE*>(nullptr, VLIBC_ERR_ARGUMENT);
        }
        return OpenChildStream(path, argv, withErrors);
    });
}

int VLIBCPclose(FILE* stream)
{
    if (stream == nullptr) {
        return Fail(-1, VLIBC_ERR_ARGUMENT);
    }
    int status = -1;
    wantedStatus = &status;
    (void)fclose(stream);
    wantedStatus = nullptr;
    return status >= 0 ? status : Fail(-1, VLIBC_ERR_CHILD);
}

int VLIBCExec(const char* path, const char* a1, const char* a2, const char* a3, const char* a4)
{
    return Guarded(-1, [=] {
        if (path == nullptr) {
            return Fail(-1, VLIBC_ERR_ARGUMENT);
        }
        const char* words[] = {path, a1, a2, a3, a4, nullptr};
        ChildEnvironment environment;
        Child child;
        // A program's arguments are its own to change, but these it gets as copies.
        const int error = child.Start(path, const_cast<char* const*>(words), environment, ChildOutput{});
        if (error != 0) {
            errno = error;
            return Fail(-1, StartErrorCode(error));
        }
        return child.Wait() == 0 ? 0 : Fail(-1, VLIBC_ERR_CHILD);
    });
}
