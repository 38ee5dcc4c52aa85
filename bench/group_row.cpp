#include "rows.hpp"

#include <stdexcept>
#include <vesksystemd.hpp>

#include "files.hpp"
#include "herd.hpp"

namespace VeskBench
{

namespace
{

constexpr double kMost = 1.15;
constexpr int kVolumes = 8;

void Unmount(const std::vector<std::string>& volumes)
{
    if (!VESKSystemdVolumeUnmountAction(
            volumes, [](void*) { return true; }, nullptr)) {
        throw std::runtime_error("the unmount action failed");
    }
}

// What the scan for more volumes adds to the action, beside the scan for one.
Samples RatiosOf(const Samples& eight, const Samples& one, const Samples& scan)
{
    Samples ratios;
    for (size_t round = 0; round < scan.size(); ++round) {
        ratios.push_back(1 + (eight[round] - one[round]) / scan[round]);
    }
    return ratios;
}

} // namespace

// The systemctl of this ground lists no unit files, so all but the scan is alike for one volume and for more.
void MeasureGroup(Row& row)
{
    const int processes = row.Size(1000, 100);
    const HerdFiles files(kVolumes);
    const Herd herd(files, 0, processes);
    const std::string load = std::to_string(processes) + " processes";
    std::vector<std::string> services;
    auto samples =
        row.Compare({load,
                     {{"scan for one volume",
                       [&] { VESKSystemdServiceListByMntPath(files.Volumes().front(), services); }},
                      {"unmount of one volume", [&] { Unmount({files.Volumes().front()}); }},
                      {"unmount of 8 volumes", [&] { Unmount(files.Volumes()); }}}});
    if (!row.IsSmallest()) {
        row.Tell(load, "scan for 8 volumes / for one",
                 RatiosOf(samples["unmount of 8 volumes"], samples["unmount of one volume"],
                          samples["scan for one volume"]),
                 kMost);
    }
}

} // namespace VeskBench
