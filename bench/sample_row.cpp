#include "rows.hpp"

#include <csignal>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "bare_proc.hpp"
#include "herd.hpp"
#include "service_process.hpp"

namespace VeskBench
{

namespace
{

constexpr double kMost = 1.08;

void MapManyParts(int parts)
{
    for (int number = 0; number < parts; ++number) {
        const int protection = number % 2 == 0 ? PROT_READ | PROT_WRITE : PROT_READ;
        mmap(nullptr, 4096, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    }
}

void CompareSamples(Row& row, const std::string& load, const std::vector<pid_t>& pids)
{
    const auto sample = [&] {
        for (const pid_t pid : pids) {
            const VESK::Systemd::Process process(pid);
        }
    };
    const auto read = [&] {
        for (const pid_t pid : pids) {
            ReadForSample(pid);
        }
    };
    row.Compare({load,
                 {{kBare, read}, {kLibrary, sample}},
                 {{kLibrary, kBare, kMost}},
                 static_cast<double>(pids.size()),
                 "process"});
}

} // namespace

void MeasureSample(Row& row)
{
    const int count = row.Size(200, 20);
    const HerdFiles files;
    const Herd herd(files, 0, count);
    CompareSamples(row, std::to_string(count) + " processes", herd.Pids());

    const int parts = row.Size(5000, 500);
    const VeskTest::ServiceProcess large("large.service", [&] { MapManyParts(parts); });
    CompareSamples(row, "one process with " + std::to_string(parts) + " mappings", {large.Pid()});
}

} // namespace VeskBench
