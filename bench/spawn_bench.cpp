// Starting a child and waiting for it, in callers of different size, beside posix_spawn() and fork().

#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <veskcore.h>

namespace
{

constexpr std::size_t kMegabyte = 1UL << 20U;

char program[] = "/bin/true";
char* const arguments[] = {program, nullptr};

/** So many megabytes in use, as long as it lives. */
class ResidentMemory
{
public:
    explicit ResidentMemory(std::size_t megabytes)
        : m_size(megabytes * kMegabyte)
        , m_memory(mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        // Small pages, as the heap of a program that has grown over time has them.
        madvise(m_memory, m_size, MADV_NOHUGEPAGE);
        std::memset(m_memory, 1, m_size);
    }
    ~ResidentMemory() { munmap(m_memory, m_size); }
    ResidentMemory(const ResidentMemory&) = delete;
    ResidentMemory& operator=(const ResidentMemory&) = delete;

private:
    std::size_t m_size;
    void* m_memory;
};

void ReadAndClose(int fd)
{
    char buffer[256];
    while (read(fd, buffer, sizeof buffer) > 0) {
    }
    close(fd);
}

bool RunWithPopenv()
{
    FILE* stream = VLIBCPopenv(program, "rB", arguments);
    if (stream == nullptr) {
        return false;
    }
    while (std::fgetc(stream) != EOF) {
    }
    return VLIBCPclose(stream) == 0;
}

bool RunWithExec()
{
    return VLIBCExec(program, nullptr, nullptr, nullptr, nullptr) == 0;
}

bool RunWithPosixSpawn()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    ReadAndClose(ends[0]);
    int status = -1;
    return error == 0 && waitpid(pid, &status, 0) == pid && status == 0;
}

bool RunWithFork()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execv(program, arguments);
        _exit(EXIT_FAILURE);
    }
    close(ends[1]);
    ReadAndClose(ends[0]);
    int status = -1;
    return waitpid(pid, &status, 0) == pid && status == 0;
}

/** Runs the program again and again in a caller of as many megabytes as the argument says. */
void Start(benchmark::State& state, bool (*run)())
{
    const ResidentMemory memory(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto iteration : state) {
        if (!run()) {
            state.SkipWithError("the child did not run");
            break;
        }
    }
}

/** The same in a small caller with as many descriptors open as the argument says. */
void StartWithDescriptors(benchmark::State& state, bool (*run)())
{
    const auto count = static_cast<int>(state.range(0));
    const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
    int last = first;
    for (int number = 1; number < count; ++number) {
        last = fcntl(first, F_DUPFD_CLOEXEC, 0);
    }
    for ([[maybe_unused]] auto iteration : state) {
        if (last < 0 || !run()) {
            state.SkipWithError("the child did not run");
            break;
        }
    }
    close_range(static_cast<unsigned>(first), static_cast<unsigned>(last), 0);
}

/** What a 100 MB answer costs, read as the library reads it. */
void ReadHundredMegabytes(benchmark::State& state)
{
    char shell[] = "/bin/sh";
    char option[] = "-c";
    char script[] = "yes 'a line of forty characters, more or less' | head -c 100000000";
    char* const words[] = {shell, option, script, nullptr};
    char* line = nullptr;
    std::size_t size = 0;
    for ([[maybe_unused]] auto iteration : state) {
        FILE* stream = VLIBCPopenv(shell, "r", words);
        while (stream != nullptr && getdelim(&line, &size, '\n', stream) > 0) {
        }
        if (stream == nullptr || VLIBCPclose(stream) != 0) {
            state.SkipWithError("the child did not run");
            break;
        }
    }
    std::free(line);
    state.SetBytesProcessed(state.iterations() * 100000000);
}

BENCHMARK_CAPTURE(Start, popenv, RunWithPopenv)->Arg(10)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Start, exec, RunWithExec)->Arg(10)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Start, posix_spawn, RunWithPosixSpawn)->Arg(10)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(Start, fork, RunWithFork)->Arg(10)->Arg(2048)->UseRealTime();
BENCHMARK_CAPTURE(StartWithDescriptors, popenv, RunWithPopenv)->Arg(100)->Arg(10000)->UseRealTime();
BENCHMARK_CAPTURE(StartWithDescriptors, posix_spawn, RunWithPosixSpawn)->Arg(100)->Arg(10000)->UseRealTime();
BENCHMARK(ReadHundredMegabytes)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
