#include "vesksystemd.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <unistd.h>

#include "core/file_system.hpp"
#include "core/file_text.hpp"
#include "core/log.hpp"
#include "resource/proc_parse.hpp"

namespace VESK::Systemd
{
namespace
{

/** The worker of the platform's web interface, which runs the program named by its first argument. */
constexpr const char* kScgiWorker = "veskscgi";

std::string ProcPath(int nPid, const char* szFile)
{
    return "/proc/" + std::to_string(nPid) + "/" + szFile;
}

// Each reading takes the buffer that it reads into, so that a snapshot uses one for all its files.

bool NameRead(int nPid, std::string& strName, std::string& strBuffer)
{
    std::array<char, PATH_MAX> path{};
    if (realpath(ProcPath(nPid, "exe").c_str(), path.data()) == nullptr) {
        return false;
    }
    std::string strFound = BaseName(path.data());
    if (strFound == kScgiWorker) {
        if (!FileRead(ProcPath(nPid, "cmdline"), strBuffer)) {
            return false;
        }
        strFound = BaseName(strBuffer.substr(0, strBuffer.find('\0')));
    }
    strName = strFound;
    return true;
}

bool CPUTickRead(int nPid, unsigned long long& ullUser, unsigned long long& ullSystem, std::string& strBuffer)
{
    return FileRead(ProcPath(nPid, "stat"), strBuffer) && StatTicksParse(strBuffer, ullUser, ullSystem);
}

bool PssRead(int nPid, unsigned long long& ullPss, std::string& strBuffer)
{
    if (!FileRead(ProcPath(nPid, "smaps"), strBuffer)) {
        return false;
    }
    ullPss = PssParse(strBuffer);
    return true;
}

bool IORead(int nPid, unsigned long long& ullRead, unsigned long long& ullWritten, std::string& strBuffer)
{
    return FileRead(ProcPath(nPid, "io"), strBuffer) && IOParse(strBuffer, ullRead, ullWritten);
}

bool TotalTickRead(unsigned long long& ullTotal, std::string& strBuffer)
{
    return FileRead("/proc/stat", strBuffer) && TotalTicksParse(strBuffer, ullTotal);
}

/** How far a counter went forward; 0 for one that went back, as that of another process with the same pid. */
unsigned long long Increase(unsigned long long ullBefore, unsigned long long ullNow)
{
    return ullNow > ullBefore ? ullNow - ullBefore : 0;
}

} // namespace

Process::Process(int nPid)
    : m_nPid(nPid)
    , m_sampled(std::chrono::steady_clock::now())
{
    std::string strBuffer;
    if (!NameRead(nPid, m_strName, strBuffer) ||
        !CPUTickRead(nPid, m_ullUserTick, m_ullSystemTick, strBuffer) ||
        !PssRead(nPid, m_ullPss, strBuffer) || !IORead(nPid, m_ullReadBytes, m_ullWriteBytes, strBuffer) ||
        !TotalTickRead(m_ullTotalTick, strBuffer)) {
        throw std::exception();
    }
}

bool Process::operator<(const Process& other) const
{
    return m_nPid < other.m_nPid;
}

int Process::PidGet() const
{
    return m_nPid;
}

std::string Process::NameGet() const
{
    return m_strName;
}

double Process::CPUTimeGet() const
{
    return static_cast<double>(m_ullUserTick + m_ullSystemTick) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

unsigned long long Process::MemoryPssGet() const
{
    return m_ullPss;
}

double Process::CPUUtilizationGet() const
{
    std::string strBuffer;
    unsigned long long ullUser = 0;
    unsigned long long ullSystem = 0;
    unsigned long long ullTotal = 0;
    if (!CPUTickRead(m_nPid, ullUser, ullSystem, strBuffer) || !TotalTickRead(ullTotal, strBuffer)) {
        return 0.0;
    }
    if (ullTotal <= m_ullTotalTick) {
        VESK_LOG(LOG_ERR, "%s:%d Unexpected delta value, totalTick = %llu, _totalTick =  %llu", VESK_HERE,
                 ullTotal, m_ullTotalTick);
        return 0.0;
    }
    const auto fProcess = static_cast<double>(Increase(m_ullUserTick + m_ullSystemTick, ullUser + ullSystem));
    return std::min(1.0, fProcess / static_cast<double>(ullTotal - m_ullTotalTick));
}

std::pair<double, double> Process::IOUtilizationGet() const
{
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_sampled;
    unsigned long long ullRead = 0;
    unsigned long long ullWritten = 0;
    if (!IOGet(m_nPid, ullRead, ullWritten)) {
        return {0.0, 0.0};
    }
    return {static_cast<double>(Increase(m_ullReadBytes, ullRead)) / elapsed.count(),
            static_cast<double>(Increase(m_ullWriteBytes, ullWritten)) / elapsed.count()};
}

bool Process::NameGet(int nPid, std::string& strName)
{
    std::string strBuffer;
    return NameRead(nPid, strName, strBuffer);
}

bool Process::CPUTickGet(int nPid, unsigned long long& ullUser, unsigned long long& ullSystem)
{
    std::string strBuffer;
    return CPUTickRead(nPid, ullUser, ullSystem, strBuffer);
}

bool Process::PssGet(int nPid, unsigned long long& ullPss)
{
    std::string strBuffer;
    return PssRead(nPid, ullPss, strBuffer);
}

bool Process::IOGet(int nPid, unsigned long long& ullReadBytes, unsigned long long& ullWriteBytes)
{
    std::string strBuffer;
    return IORead(nPid, ullReadBytes, ullWriteBytes, strBuffer);
}

} // namespace VESK::Systemd
