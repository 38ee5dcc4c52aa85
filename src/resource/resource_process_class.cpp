#include "vesksystemd.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <sys/stat.h>
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

/** Reads the first line of a file with a parser that looks at no other. */
bool FirstLineRead(const std::string& strPath, const std::function<bool(std::string_view)>& parse)
{
    bool blParsed = false;
    FilePiecesRead(strPath, [&](std::string_view svPiece) {
        blParsed = parse(svPiece);
        return false;
    });
    return blParsed;
}

bool TotalTickGet(unsigned long long& ullTotal)
{
    return FirstLineRead("/proc/stat",
                         [&](std::string_view svText) { return TotalTicksParse(svText, ullTotal); });
}

/** The last name of the path that a link resolves to; false when it does not resolve. */
bool ProgramNameGet(const std::string& strLink, std::string& strName)
{
    std::array<char, PATH_MAX> path{};
    struct stat status {
    };
    // The kernel tells a path whose last name stays, unless a link is there by now, as in another root.
    const bool blTold = readlink(strLink.c_str(), path.data(), path.size() - 1) > 0 && path[0] == '/' &&
                        lstat(path.data(), &status) == 0 && !S_ISLNK(status.st_mode);
    if (!blTold && realpath(strLink.c_str(), path.data()) == nullptr) {
        return false;
    }
    strName = BaseName(path.data());
    return true;
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
    if (!NameGet(nPid, m_strName) || !CPUTickGet(nPid, m_ullUserTick, m_ullSystemTick) ||
        !PssGet(nPid, m_ullPss) || !IOGet(nPid, m_ullReadBytes, m_ullWriteBytes) ||
        !TotalTickGet(m_ullTotalTick)) {
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
    unsigned long long ullUser = 0;
    unsigned long long ullSystem = 0;
    unsigned long long ullTotal = 0;
    if (!CPUTickGet(m_nPid, ullUser, ullSystem) || !TotalTickGet(ullTotal)) {
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
    std::string strFound;
    if (!ProgramNameGet(ProcPath(nPid, "exe"), strFound)) {
        return false;
    }
    if (strFound == kScgiWorker) {
        std::string strArguments;
        if (!FileRead(ProcPath(nPid, "cmdline"), strArguments)) {
            return false;
        }
        strFound = BaseName(strArguments.substr(0, strArguments.find('\0')));
    }
    strName = strFound;
    return true;
}

bool Process::CPUTickGet(int nPid, unsigned long long& ullUser, unsigned long long& ullSystem)
{
    return FirstLineRead(ProcPath(nPid, "stat"),
                         [&](std::string_view svText) { return StatTicksParse(svText, ullUser, ullSystem); });
}

bool Process::PssGet(int nPid, unsigned long long& ullPss)
{
    unsigned long long ullSum = 0;
    const bool blRead = FilePiecesRead(ProcPath(nPid, "smaps"), [&](std::string_view svPiece) {
        ullSum += PssParse(svPiece);
        return true;
    });
    ullPss = blRead ? ullSum : ullPss;
    return blRead;
}

bool Process::IOGet(int nPid, unsigned long long& ullReadBytes, unsigned long long& ullWriteBytes)
{
    std::string strText;
    return FileRead(ProcPath(nPid, "io"), strText) && IOParse(strText, ullReadBytes, ullWriteBytes);
}

} // namespace VESK::Systemd
