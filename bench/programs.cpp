#include "programs.hpp"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <veskcore.h>

#include "descriptor.hpp"

namespace VeskBench
{

namespace
{

void Expect(bool ran, const Words& words)
{
    if (!ran) {
        throw std::runtime_error(words[0] + " did not run");
    }
}

std::array<char, size_t{16} * 1024> text;

size_t ReadToEnd(FILE* stream)
{
    size_t size = 0;
    for (size_t count = 0; (count = std::fread(text.data(), 1, text.size(), stream)) > 0;) {
        size += count;
    }
    return size;
}

size_t ReadToEnd(int descriptor)
{
    size_t size = 0;
    for (ssize_t count = 0; (count = read(descriptor, text.data(), text.size())) > 0;) {
        size += static_cast<size_t>(count);
    }
    return size;
}

bool EndsWell(pid_t pid)
{
    int status = -1;
    return waitpid(pid, &status, 0) == pid && status == 0;
}

pid_t Spawn(const Words& words, int output)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, words[0].c_str(), &actions, nullptr, Argv(words).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? pid : -1;
}

// Nothing but what starting a program takes.
pid_t Vfork(const Words& words, int output)
{
    const auto argv = Argv(words);
    const pid_t pid = vfork();
    if (pid == 0) {
        dup2(output, STDOUT_FILENO);
        execve(argv[0], argv.data(), environ);
        _exit(EXIT_FAILURE);
    }
    return pid;
}

void ReadFrom(pid_t (*start)(const Words& words, int output), const Words& words)
{
    VeskGround::Pipe pipe = VeskGround::MakePipe();
    const pid_t pid = start(words, pipe.write.Get());
    pipe.write.Close();
    const size_t size = ReadToEnd(pipe.read.Get());
    Expect(pid > 0 && EndsWell(pid) && size > 0, words);
}

} // namespace

std::vector<char*> Argv(const Words& words)
{
    std::vector<char*> argv;
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    return argv;
}

int RunProgram(const Words& words)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, words[0].c_str(), &actions, nullptr, Argv(words).data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = -1;
    Expect(error == 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status), words);
    return WEXITSTATUS(status);
}

void ReadWithLibrary(const Words& words)
{
    FILE* stream = VLIBCPopenv(words[0].c_str(), "r", Argv(words).data());
    const size_t size = stream == nullptr ? 0 : ReadToEnd(stream);
    Expect(size > 0 && VLIBCPclose(stream) == 0, words);
}

void ReadWithVfork(const Words& words)
{
    ReadFrom(Vfork, words);
}

void ReadWithPosixSpawn(const Words& words)
{
    ReadFrom(Spawn, words);
}

void ReadWithPopen(const Words& words)
{
    std::string command;
    for (const std::string& word : words) {
        command += word + " ";
    }
    FILE* stream = popen(command.c_str(), "re");
    const size_t size = stream == nullptr ? 0 : ReadToEnd(stream);
    Expect(size > 0 && pclose(stream) == 0, words);
}

Words ReadLines(const Words& words)
{
    VeskGround::Pipe pipe = VeskGround::MakePipe();
    const pid_t pid = Vfork(words, pipe.write.Get());
    pipe.write.Close();
    const std::unique_ptr<FILE, int (*)(FILE*)> stream(fdopen(dup(pipe.read.Get()), "r"), std::fclose);
    Words lines;
    char* line = nullptr;
    size_t size = 0;
    for (ssize_t count = 0; (count = getline(&line, &size, stream.get())) > 0;) {
        lines.emplace_back(line, static_cast<size_t>(count));
    }
    std::free(line);
    waitpid(pid, nullptr, 0);
    return lines;
}

} // namespace VeskBench
