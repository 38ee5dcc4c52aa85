#include "progress.hpp"

#include <chrono>
#include <sys/ioctl.h>
#include <unistd.h>

#include <vesksystemd.hpp>

#include "output.hpp"

namespace Veskctl
{
namespace
{

constexpr size_t kMostJobs = 3;

/** The jobs that are still queued: "stop slow.service running, start b.service waiting". */
std::string JobsText()
{
    std::map<unsigned int, VESK::Systemd::JobInfo> mapJobs;
    // For other users the question would change the environment, which the caller's thread reads.
    if (geteuid() != 0 || !VESKSystemdIntJobList(mapJobs)) {
        return "";
    }
    std::string strJobs;
    size_t nShown = 0;
    for (const auto& [nId, job] : mapJobs) {
        std::string strType = "job of";
        std::string strState;
        VESK::Systemd::JobStringMap::TypeToString(job.type, strType);
        VESK::Systemd::JobStringMap::StateToString(job.state, strState);
        if (nShown++ < kMostJobs) {
            strJobs.append(strJobs.empty() ? "" : ", ").append(strType).append(" ");
            strJobs.append(job.unit).append(" ").append(strState);
        }
    }
    return nShown > kMostJobs ? strJobs + " and " + std::to_string(nShown - kMostJobs) + " more" : strJobs;
}

size_t Columns()
{
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

/** At once, and without the locks of streams: another thread may be forking. */
void Write(const std::string& strText)
{
    (void)!write(STDERR_FILENO, strText.data(), strText.size());
}

} // namespace

Progress::Progress(const std::string& strWhat)
    : m_strWhat(strWhat)
{
    if (IsTerminal(STDERR_FILENO)) {
        m_thread = std::thread([this] { Show(); });
    }
}

Progress::~Progress()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_blEnded = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Progress::Now(const std::string& strWhat)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_strWhat = strWhat;
    if (strWhat.empty()) {
        Clear();
    }
}

void Progress::Clear()
{
    if (m_blShown) {
        Write("\r\033[K");
        m_blShown = false;
    }
}

void Progress::Draw(long long nSeconds, const std::string& strJobs)
{
    const std::string strWaiting = strJobs.empty() ? "" : "; waiting for: " + strJobs;
    const std::string strLine = std::to_string(nSeconds) + " s: " + m_strWhat + strWaiting;
    Write("\r\033[K" + Harmless(strLine).substr(0, Columns() - 1));
    m_blShown = true;
}

void Progress::Show()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto isEnded = [this] { return m_blEnded; };
    const auto begin = std::chrono::steady_clock::now();
    while (!m_changed.wait_for(lock, std::chrono::seconds(1), isEnded)) {
        lock.unlock();
        const std::string strJobs = JobsText();
        lock.lock();
        // Meanwhile somebody else may have got the terminal.
        if (!m_strWhat.empty() && !m_blEnded) {
            const std::chrono::nanoseconds passed = std::chrono::steady_clock::now() - begin;
            Draw(std::chrono::duration_cast<std::chrono::seconds>(passed).count(), strJobs);
        }
    }
    Clear();
}

} // namespace Veskctl
