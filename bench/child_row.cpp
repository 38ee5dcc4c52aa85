#include "rows.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "error.hpp"
#include "programs.hpp"
#include "resident_memory.hpp"

namespace VeskBench
{

namespace
{

constexpr double kMost = 1.06;
constexpr double kMostWithManyDescriptors = 1.45;
constexpr double kMostBesidePopen = 0.9;

constexpr const char* kVfork = "vfork and exec";

void CompareWays(Row& row, const std::string& load, const Words& words, double most, int children)
{
    const auto repeat = [&](void (*readOutput)(const Words&)) {
        return [&words, readOutput, children] {
            for (int number = 0; number < children; ++number) {
                readOutput(words);
            }
        };
    };
    row.Compare({load,
                 {{kVfork, repeat(ReadWithVfork)},
                  {kLibrary, repeat(ReadWithLibrary)},
                  {"posix_spawn", repeat(ReadWithPosixSpawn)},
                  {"popen", repeat(ReadWithPopen)}},
                 {{kLibrary, kVfork, most}, {kLibrary, "popen", kMostBesidePopen}, {kLibrary, "posix_spawn"}},
                 static_cast<double>(children),
                 "child"});
}

void CompareResident(Row& row, int megabytes, const Words& words, int children)
{
    const ResidentMemory memory(megabytes);
    CompareWays(row, "static child, " + std::to_string(megabytes) + " MiB resident", words, kMost, children);
}

// Those are open from here to the end of the process.
void OpenDescriptors(int count)
{
    rlimit limit{};
    VeskGround::Require(getrlimit(RLIMIT_NOFILE, &limit), "get", "the limit of descriptors");
    limit.rlim_cur = std::min(limit.rlim_max, static_cast<rlim_t>(count) + 100);
    VeskGround::Require(setrlimit(RLIMIT_NOFILE, &limit), "set", "the limit of descriptors");
    const int first = open("/dev/null", O_RDONLY | O_CLOEXEC);
    for (int number = 1; number < count; ++number) {
        VeskGround::Require(fcntl(first, F_DUPFD_CLOEXEC, 0), "open", "/dev/null");
    }
}

} // namespace

void MeasureChild(Row& row)
{
    const Words words{VESK_BENCH_CHILD};
    const int children = row.Size(20, 1);
    CompareResident(row, 10, words, children);
    CompareResident(row, row.Size(2048, 64), words, children);

    const int descriptors = row.Size(10000, 200);
    OpenDescriptors(descriptors);
    CompareWays(row, "static child, " + std::to_string(descriptors) + " descriptors", words,
                kMostWithManyDescriptors, children);
}

void MeasureSystemctlChild(Row& row)
{
    CompareWays(row, "systemctl show of a property",
                {"/usr/bin/systemctl", "show", "--property=ActiveState", "dbus"}, kMost, row.Size(5, 1));
}

} // namespace VeskBench
