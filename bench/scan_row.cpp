#include "rows.hpp"

#include <stdexcept>
#include <sys/syscall.h>
#include <vesksystemd.hpp>

#include "bare_proc.hpp"
#include "herd.hpp"
#include "programs.hpp"
#include "shell.hpp"
#include "system_call_filter.hpp"

namespace VeskBench
{

namespace
{

constexpr unsigned kProcmapQuery = 0xC0686611;

constexpr double kMostOverText = 1.08;
constexpr double kMostInBinary = 1.02;
constexpr double kMostBesideFuser = 0.75;
constexpr double kMostBesideLsof = 0.30;
// Of the time for a process: twice as many take no more for each.
constexpr double kMostGrowth = 1.05;

void Expect(size_t found, int expected, const std::string& who)
{
    if (found != static_cast<size_t>(expected)) {
        throw std::runtime_error(who + " found " + std::to_string(found) +
                                 " users of the volume instead of " + std::to_string(expected));
    }
}

void ScanWithLibrary(const std::string& volume, int users)
{
    std::vector<std::string> services;
    if (!VESKSystemdServiceListByMntPath(volume, services)) {
        throw std::runtime_error("the scan failed");
    }
    Expect(services.size(), users, kLibrary);
}

void ExpectUsersOf(const std::string& command, int users)
{
    const std::string output = VeskTest::RunShell(command + " | wc -w").output;
    Expect(std::stoul(output), users, command);
}

class Scans
{
public:
    explicit Scans(Row& row, double most)
        : m_row(row)
        , m_most(most)
    {
    }

    // The times of the library and of the bare loop for one process.
    std::map<std::string, Samples> Compare(int processes)
    {
        const std::string& volume = m_files.Volumes().front();
        AddUpTo(processes);
        const int users = UsersOfFirst(processes, 1);
        ExpectUsersOf("fuser -m " + volume + " 2>/dev/null", users);
        ExpectUsersOf("lsof -t " + volume + " 2>/dev/null", users);
        return m_row.Compare({std::to_string(processes) + " processes",
                              {{kBare, [] { ReadAllProcesses(); }},
                               {kLibrary, [&] { ScanWithLibrary(volume, users); }},
                               {"fuser -m",
                                [&] {
                                    RunProgram({"/usr/bin/fuser", "-m", volume});
                                }},
                               {"lsof",
                                [&] {
                                    RunProgram({"/usr/bin/lsof", "-t", volume});
                                }}},
                              {{kLibrary, kBare, m_most},
                               {kLibrary, "fuser -m", kMostBesideFuser},
                               {kLibrary, "lsof", kMostBesideLsof}},
                              static_cast<double>(processes),
                              "process"});
    }

private:
    void AddUpTo(int processes)
    {
        m_herds.push_back(std::make_unique<Herd>(m_files, m_processes, processes - m_processes));
        m_processes = processes;
    }

    Row& m_row;
    double m_most;
    HerdFiles m_files;
    int m_processes = 0;
    std::vector<std::unique_ptr<Herd>> m_herds;
};

// How much more a process costs among many, beside how much more it costs the bare loop.
void TellGrowth(Row& row, std::map<std::string, Samples>& few, std::map<std::string, Samples>& many)
{
    const auto growth = [&](const char* way) {
        return SpreadOf(many[way]).median / SpreadOf(few[way]).median;
    };
    row.Tell("growth from 200 to 3000 processes", "a process among many / few",
             {growth(kLibrary) / growth(kBare)}, kMostGrowth);
}

void CompareSizes(Row& row, double most)
{
    Scans scans(row, most);
    if (row.IsSmallest()) {
        scans.Compare(100);
        return;
    }
    auto few = scans.Compare(200);
    scans.Compare(1000);
    auto many = scans.Compare(3000);
    TellGrowth(row, few, many);
}

} // namespace

void MeasureScan(Row& row)
{
    CompareSizes(row, kMostInBinary);
}

void MeasureScanOverText(Row& row)
{
    VeskTest::FailSystemCallWith(SYS_ioctl, ENOTTY, 1, kProcmapQuery);
    CompareSizes(row, kMostOverText);
}

} // namespace VeskBench
