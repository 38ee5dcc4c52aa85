#include "call_record.hpp"

#include <cstddef>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <unistd.h>

#include "descriptor.hpp"

namespace VeskGround
{

namespace
{

void AddEnvironment(std::vector<Field>& record)
{
    for (char** variable = environ; *variable != nullptr; ++variable) {
        record.push_back({"env", 0, *variable});
    }
}

std::uint64_t StatusMask(const std::string& status, const std::string& name)
{
    const std::size_t position = status.find("\n" + name + ":");
    return position == std::string::npos
               ? 0
               : std::strtoull(status.c_str() + position + name.size() + 2, nullptr, 16);
}

void AddSignals(std::vector<Field>& record)
{
    const std::string status = ReadFile("/proc/self/status");
    record.push_back({"blocked", StatusMask(status, "SigBlk"), ""});
    record.push_back({"ignored", StatusMask(status, "SigIgn"), ""});
    record.push_back({"caught", StatusMask(status, "SigCgt"), ""});
}

} // namespace

std::vector<Field> DescribeDescriptors()
{
    std::vector<Field> record;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        const int number = LeadingNumber(entry->d_name);
        if (entry->d_name[0] != '.' && number != dirfd(folder.get())) {
            const std::string target = ReadLink(std::string("/proc/self/fd/") + entry->d_name);
            record.push_back({"fd", static_cast<std::uint64_t>(number), target});
        }
    }
    return record;
}

std::vector<Field> DescribeThisProcess(int argc, char** argv)
{
    std::vector<Field> record = DescribeDescriptors();
    for (int index = 0; index < argc; ++index) {
        record.push_back({"argv", 0, argv[index]});
    }
    AddEnvironment(record);
    record.push_back({"cwd", 0, ReadLink("/proc/self/cwd")});
    record.push_back({"pid", static_cast<std::uint64_t>(getpid()), ""});
    record.push_back({"ppid", static_cast<std::uint64_t>(getppid()), ""});
    record.push_back({"uid", geteuid(), ""});
    AddSignals(record);
    return record;
}

std::string RecordName(std::uint64_t order)
{
    const std::string digits = std::to_string(order);
    return std::string(digits.size() < 8 ? 8 - digits.size() : 0, '0') + digits;
}

} // namespace VeskGround
