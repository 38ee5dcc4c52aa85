#include "slice_usage.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unistd.h>

#include "output.hpp"

using namespace VESK::Systemd;

namespace Veskctl
{
namespace
{

double ValueOf(const SliceUsage& usage, const std::string& strKey)
{
    if (strKey == "cpu") {
        return usage.cpu;
    }
    return strKey == "memory" ? static_cast<double>(usage.ullMemoryKiB) : usage.ioPerSecond;
}

/** "####----", the share of the whole in so many columns. */
std::string Bar(double share, size_t nColumns)
{
    const double filled = std::round(std::clamp(share, 0.0, 1.0) * static_cast<double>(nColumns));
    const auto nFilled = static_cast<size_t>(filled);
    return std::string(nFilled, '#') + std::string(nColumns - nFilled, '-');
}

/** The text in exactly so many columns. */
std::string Fitted(const std::string& strText, size_t nColumns)
{
    std::string strFitted = Harmless(strText);
    while (Width(strFitted) > nColumns) {
        strFitted.pop_back();
    }
    return strFitted + std::string(nColumns - Width(strFitted), ' ');
}

std::string Percent(double share)
{
    char szText[32];
    snprintf(szText, sizeof szText, "%5.1f%%", share * 100);
    return szText;
}

std::string RightAligned(const std::string& strText, size_t nColumns)
{
    return std::string(nColumns > strText.size() ? nColumns - strText.size() : 0, ' ') + strText;
}

struct Scale {
    size_t nName;
    size_t nBar;
    double memory;
    double io;
};

/** Names get a fifth of the line, and three bars what the numbers leave. */
Scale ScaleOf(const SliceUsages& vecUsages, size_t nColumns)
{
    Scale scale{std::clamp<size_t>(nColumns / 5, 8, 30), 0, static_cast<double>(MachineMemoryKiB()), 1};
    constexpr size_t kNumbers = size_t(3) * 11;
    scale.nBar = nColumns > scale.nName + kNumbers ? (nColumns - scale.nName - kNumbers) / 3 : 0;
    for (const SliceUsage& usage : vecUsages) {
        scale.io = std::max(scale.io, usage.ioPerSecond);
    }
    return scale;
}

std::string UsageLine(const SliceUsage& usage, const Scale& scale)
{
    const auto memory = static_cast<double>(usage.ullMemoryKiB);
    return Fitted(usage.strName.empty() ? usage.strSlice : usage.strName, scale.nName) + "  " +
           RightAligned(Percent(usage.cpu), 8) + " " + Bar(usage.cpu, scale.nBar) + "  " +
           RightAligned(Quantity(memory * 1024), 8) + " " + Bar(memory / scale.memory, scale.nBar) + "  " +
           RightAligned(Quantity(usage.ioPerSecond), 8) + " " + Bar(usage.ioPerSecond / scale.io, scale.nBar);
}

std::string HeaderLine(const Scale& scale)
{
    return Fitted("SLICE", scale.nName) + "  " + RightAligned("CPU", 8) + std::string(scale.nBar + 3, ' ') +
           RightAligned("MEMORY", 8) + std::string(scale.nBar + 3, ' ') + RightAligned("I/O /s", 8);
}

} // namespace

SliceSamples::SliceSamples()
{
    Texts vecSlices;
    VESKSystemdSliceList(vecSlices);
    for (const std::string& strSlice : vecSlices) {
        Processes setProcesses;
        if (Slice::ProcessList(strSlice, setProcesses)) {
            m_mapProcesses.emplace(strSlice, std::move(setProcesses));
        }
    }
}

SliceUsages SliceSamples::UsagesGet() const
{
    SliceUsages vecUsages;
    for (const auto& [strSlice, setProcesses] : m_mapProcesses) {
        SliceUsage usage;
        usage.strSlice = strSlice;
        VESKSystemdNameGet(strSlice, usage.strName);
        usage.nProcesses = setProcesses.size();
        for (const Process& process : setProcesses) {
            const auto [read, written] = process.IOUtilizationGet();
            usage.cpu += process.CPUUtilizationGet();
            usage.ullMemoryKiB += process.MemoryPssGet();
            usage.ioPerSecond += read + written;
        }
        vecUsages.push_back(usage);
    }
    return vecUsages;
}

const Texts& SortKeys()
{
    static const Texts vecKeys{"cpu", "memory", "io", "name"};
    return vecKeys;
}

void Sort(SliceUsages& vecUsages, const std::string& strKey)
{
    std::stable_sort(vecUsages.begin(), vecUsages.end(),
                     [&](const SliceUsage& left, const SliceUsage& right) {
                         return strKey == "name" ? left.strSlice < right.strSlice
                                                 : ValueOf(left, strKey) > ValueOf(right, strKey);
                     });
}

std::string Quantity(double bytes)
{
    const char* szUnits = " KMGTP";
    while (bytes >= 1000 && szUnits[1] != '\0') {
        bytes /= 1024;
        ++szUnits;
    }
    char szText[32];
    snprintf(szText, sizeof szText, *szUnits == ' ' ? "%.0f" : "%.1f %c", bytes, *szUnits);
    return szText;
}

unsigned long long MachineMemoryKiB()
{
    const long nPages = sysconf(_SC_PHYS_PAGES);
    const long cbPage = sysconf(_SC_PAGESIZE);
    return nPages > 0 && cbPage > 0
               ? static_cast<unsigned long long>(nPages) * static_cast<size_t>(cbPage) / 1024
               : 1;
}

std::string TopFrame(const SliceUsages& vecUsages, const std::string& strKey, size_t nColumns, size_t nLines)
{
    const Scale scale = ScaleOf(vecUsages, nColumns);
    std::string strFrame =
        Fitted("slices by " + strKey + "   c CPU  m memory  i I/O  n name  q quit", nColumns) + "\n" +
        Fitted(HeaderLine(scale), nColumns);
    for (size_t i = 0; i < vecUsages.size() && i + 2 < nLines; ++i) {
        strFrame += "\n" + Fitted(UsageLine(vecUsages[i], scale), nColumns);
    }
    return strFrame;
}

Json::Value UsagesJson(const SliceUsages& vecUsages)
{
    Json::Value list(Json::arrayValue);
    for (const SliceUsage& usage : vecUsages) {
        Json::Value value;
        value["slice"] = usage.strSlice;
        value["name"] = usage.strName;
        value["processes"] = Json::UInt64(usage.nProcesses);
        value["cpuPercent"] = usage.cpu * 100;
        value["memoryKiB"] = Json::UInt64(usage.ullMemoryKiB);
        value["ioBytesPerSecond"] = usage.ioPerSecond;
        list.append(value);
    }
    return list;
}

} // namespace Veskctl
