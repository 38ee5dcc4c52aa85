#pragma once

/** What slices use of the processors, the memory and the storage. */

#include <set>
#include <string>
#include <vector>

#include <json/value.h>
#include <vesksystemd.hpp>

#include "command.hpp"

namespace Veskctl
{

struct SliceUsage {
    std::string strSlice;
    std::string strName;
    size_t nProcesses = 0;
    double cpu = 0; ///< of the whole machine, 0 to 1
    unsigned long long ullMemoryKiB = 0;
    double ioPerSecond = 0; ///< bytes read and written
};

using SliceUsages = std::vector<SliceUsage>;
using Processes = std::set<VESK::Systemd::Process>;

/** Samples of the processes of all slices, to be asked some time later for what they used since. */
class SliceSamples
{
public:
    SliceSamples();

    SliceUsages UsagesGet() const;

private:
    std::map<std::string, Processes> m_mapProcesses;
};

/** The columns that can be sorted by: "cpu", "memory", "io", "name". */
const Texts& SortKeys();

/** The largest first; by name the other way. */
void Sort(SliceUsages& vecUsages, const std::string& strKey);

/** "12.3 M" and the like, of bytes. */
std::string Quantity(double bytes);

/** What slice top shows, in so many columns and lines. */
std::string TopFrame(const SliceUsages& vecUsages, const std::string& strKey, size_t nColumns, size_t nLines);

unsigned long long MachineMemoryKiB();

Json::Value UsagesJson(const SliceUsages& vecUsages);

Exit TopRun(const Call& call);

} // namespace Veskctl
