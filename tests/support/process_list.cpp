#include "process_list.hpp"

#include <algorithm>
#include <cctype>
#include <exception>
#include <filesystem>
#include <functional>
#include <system_error>
#include <unistd.h>

#include "fields.hpp"

namespace VeskTest
{

namespace fs = std::filesystem;

namespace
{

std::vector<pid_t> ProcessesWhere(const std::function<bool(const fs::path&)>& holds)
{
    std::vector<pid_t> pids;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (std::isdigit(static_cast<unsigned char>(name[0])) != 0 && holds(entry.path())) {
            pids.push_back(std::stoi(name));
        }
    }
    std::sort(pids.begin(), pids.end());
    return pids;
}

// Empty when the link, or its process, is not there any more.
std::string LinkTarget(const fs::path& link)
{
    std::error_code error;
    return fs::read_symlink(link, error);
}

bool HasOpen(const fs::path& process, const std::string& path)
{
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end;
         entry.increment(error)) {
        if (LinkTarget(entry->path()) == path) {
            return true;
        }
    }
    return false;
}

std::string CommandLine(const fs::path& process)
{
    std::string line;
    try {
        line = VeskGround::ReadFile(process / "cmdline");
    } catch (const std::exception&) {
        return {};
    }
    std::replace(line.begin(), line.end(), '\0', ' ');
    return line;
}

} // namespace

std::vector<pid_t> OtherProcessesOfThisProgram()
{
    const std::string program = LinkTarget("/proc/self/exe");
    return ProcessesWhere([&](const fs::path& process) {
        return process.filename() != std::to_string(getpid()) && LinkTarget(process / "exe") == program;
    });
}

std::vector<pid_t> ProcessesWithOpen(const std::string& path)
{
    return ProcessesWhere([&](const fs::path& process) { return HasOpen(process, path); });
}

std::vector<pid_t> ProcessesThatRun(const std::string& text)
{
    return ProcessesWhere(
        [&](const fs::path& process) { return CommandLine(process).find(text) != std::string::npos; });
}

} // namespace VeskTest
