#include "shell.hpp"

#include <array>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <sys/wait.h>

namespace VeskTest
{

ShellResult RunShell(const std::string& command)
{
    FILE* stream = popen(command.c_str(), "re");
    if (stream == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    ShellResult result;
    std::array<char, 65536> buffer{};
    for (std::size_t count = 1; count > 0;) {
        count = fread(buffer.data(), 1, buffer.size(), stream);
        result.output.append(buffer.data(), count);
    }
    const int status = pclose(stream);
    result.ending = WIFEXITED(status) ? Exited(WEXITSTATUS(status)) : Signalled(WTERMSIG(status));
    return result;
}

} // namespace VeskTest
