#include "run_program.hpp"

#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <veskcore.h>

namespace VeskTest
{

FILE* OpenProgram(const std::vector<std::string>& words, const char* mode)
{
    std::vector<char*> argv;
    for (const std::string& word : words) {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);
    return VLIBCPopenv(words[0].c_str(), mode, argv.data());
}

std::string ReadLines(FILE* stream)
{
    std::string text;
    char* line = nullptr;
    std::size_t size = 0;
    ssize_t length = 0;
    while ((length = getdelim(&line, &size, '\n', stream)) > 0) {
        text.append(line, static_cast<std::size_t>(length));
    }
    std::free(line);
    return text;
}

Result RunProgram(const std::vector<std::string>& words, const char* mode)
{
    Result result;
    FILE* stream = OpenProgram(words, mode);
    if (stream != nullptr) {
        result.started = true;
        result.output = ReadLines(stream);
        result.status = VLIBCPclose(stream);
    }
    return result;
}

Result RunScript(const std::string& script, const char* mode)
{
    return RunProgram({"/bin/sh", "-c", script}, mode);
}

std::string ErrorRecord()
{
    char code[16];
    (void)std::snprintf(code, sizeof code, "0x%04X ", static_cast<unsigned>(VLIBCErrGet()));
    return std::string(code) + VLIBCErrorGetFile();
}

bool OpenInheritable(int count)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    while (count > 0 && open("/dev/zero", O_RDONLY) >= 0) {
        --count;
    }
    return count == 0;
}

} // namespace VeskTest
