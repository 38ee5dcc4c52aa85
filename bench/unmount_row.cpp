#include "rows.hpp"

#include <fcntl.h>
#include <map>
#include <sstream>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vesksystemd.hpp>

#include "children.hpp"
#include "descriptor.hpp"
#include "error.hpp"
#include "files.hpp"
#include "herd.hpp"
#include "live_units.hpp"
#include "mounts.hpp"
#include "programs.hpp"

namespace VeskBench
{

namespace
{

using VeskGround::Require;
using VeskTest::UnitFolder;

constexpr double kMost = 1.10;

const std::string kVolume = "/tmp/unmounted";
const std::string kSystemctl = "/usr/bin/systemctl";
const std::string kReal = "/usr/bin/systemctl.real";
const std::string kCalls = "/run/bench/systemctl-calls";
// One service in so many says that it depends on volumes; the others are found by the files that they use.
constexpr int kDependentEvery = 5;

std::string User(int number)
{
    return "user" + std::to_string(number) + ".service";
}

// Has a file on the volume as long as it runs.
std::string TextOfUser(int number)
{
    return "[Unit]\nDescription=User of the volume\n\n[Service]\nType=simple\n"
           "ExecStart=/bin/sh -c 'exec sleep infinity 3>" +
           kVolume + "/file" + std::to_string(number) +
           "'\n\n[X-Veskline]\nVolumeDependency=" + (number % kDependentEvery == 0 ? "all" : "none") + "\n";
}

std::string TextOfOther(int number)
{
    return "[Unit]\nDescription=Service number " + std::to_string(number) +
           "\nAfter=network.target\n\n[Service]\nType=simple\nExecStart=/bin/sleep "
           "infinity\nRestart=on-failure\n"
           "\n[X-Veskline]\nVolumeDependency=none\n\n[Install]\nWantedBy=multi-user.target\n";
}

void WriteUnits(int users, int units)
{
    for (int number = 0; number < users; ++number) {
        VeskTest::WriteUnitFile(UnitFolder::Usr, User(number), TextOfUser(number));
    }
    for (int number = users; number < units; ++number) {
        VeskTest::WriteUnitFile(UnitFolder::Usr, "other" + std::to_string(number) + ".service",
                                TextOfOther(number));
    }
    VeskTest::DaemonReload();
}

Words AllUsers(int users, Words words)
{
    for (int number = 0; number < users; ++number) {
        words.push_back(User(number));
    }
    return words;
}

// Those that are started have still to become the programs that hold the files.
bool AllUse(int users)
{
    std::istringstream pids(
        VeskTest::MustSystemctl(AllUsers(users, {"show", "--property=MainPID", "--value"})));
    int found = 0;
    for (std::string pid; pids >> pid;) {
        found += access(("/proc/" + pid + "/fd/3").c_str(), F_OK) == 0 ? 1 : 0;
    }
    return found == users;
}

void AwaitUsers(int users)
{
    if (!VeskTest::Eventually([&] { return AllUse(users); })) {
        throw std::runtime_error("the services do not use the volume");
    }
}

void Unmount()
{
    bool unmounted = false;
    const auto unmount = [](void* done) { return *static_cast<bool*>(done) = true; };
    if (!VESKSystemdVolumeUnmountAction(Words{kVolume}, unmount, &unmounted) || !unmounted) {
        throw std::runtime_error("the unmount action failed");
    }
}

// The calls that the library itself makes in an action; the status monitor's script makes others meanwhile.
std::vector<Words> RecordCalls()
{
    VeskTest::WriteText(kCalls, "");
    Require(rename(kSystemctl.c_str(), kReal.c_str()), "rename", kSystemctl);
    VeskTest::WriteText(kSystemctl, VeskTest::ReadText(VESK_BENCH_RECORDER), 0755);
    Unmount();
    Require(rename(kReal.c_str(), kSystemctl.c_str()), "rename", kReal);

    std::vector<Words> calls;
    std::istringstream lines(VeskTest::ReadText(kCalls));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        Words words;
        for (std::string word; std::getline(fields, word, '\t');) {
            words.push_back(word);
        }
        if (words[0] == std::to_string(getpid())) {
            words[0] = kSystemctl;
            calls.push_back(words);
        }
    }
    return calls;
}

std::string CountOf(const std::vector<Words>& calls)
{
    std::map<std::string, int> counts;
    for (const Words& call : calls) {
        ++counts[call[1]];
    }
    std::string text = std::to_string(calls.size());
    for (const auto& [verb, count] : counts) {
        text += ", " + verb + " " + std::to_string(count);
    }
    return text;
}

void Repeat(const std::vector<Words>& calls)
{
    for (const Words& call : calls) {
        RunProgram(call);
    }
}

} // namespace

void MeasureUnmount(Row& row)
{
    const int users = row.Size(50, 5);
    const int units = row.Size(2000, 50);
    const int processes = row.Size(1000, 100);
    VeskGround::MountTmpfs(kVolume, "0755");
    WriteUnits(users, units);
    VeskTest::MustSystemctl(AllUsers(users, {"start"}));
    AwaitUsers(users);
    const HerdFiles files;
    const Herd herd(files, 0, processes - users);

    const std::string load = std::to_string(units) + " unit files, " + std::to_string(processes) +
                             " processes, " + std::to_string(users) + " services on the volume";
    const std::vector<Words> calls = RecordCalls();
    row.Tell(load, "calls of systemctl", CountOf(calls));
    const auto ready = [&] { AwaitUsers(users); };
    const std::string sum = "the same calls of systemctl";
    row.Compare({load,
                 {{sum, [&] { Repeat(calls); }, ready}, {kLibrary, Unmount, ready}},
                 {{kLibrary, sum, kMost}},
                 1,
                 "unmount"});
}

} // namespace VeskBench
