#include "vesksystemd.hpp"

#include <cerrno>
#include <unistd.h>

#include "core/background.hpp"
#include "core/lock_release.hpp"
#include "core/log.hpp"
#include "core/names.hpp"
#include "core/paths.hpp"
#include "core/pause.hpp"
#include "core/systemctl.hpp"
#include "core/text.hpp"
#include "targets/isolate_monitor.hpp"

using namespace VESK::Systemd;

using Jobs = std::map<unsigned int, JobInfo>;

namespace
{

constexpr int kWaitPasses = 300;

/** The caller's place for the outcome of the wait, which may be null. */
class Outcome
{
public:
    explicit Outcome(VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult)
        : m_pResult(pResult)
    {
    }

    void Set(VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result) const
    {
        if (m_pResult != nullptr) {
            *m_pResult = result;
        }
    }

private:
    VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* m_pResult;
};

/** The flag file that tells other processes that an isolation has not finished. */
class IsolateFlag
{
public:
    IsolateFlag() = default;
    ~IsolateFlag()
    {
        if (m_blExists) {
            Remove();
        }
    }
    IsolateFlag(const IsolateFlag&) = delete;
    IsolateFlag& operator=(const IsolateFlag&) = delete;

    bool Create()
    {
        m_blExists = VLIBCFileTouch(kIsolateFlag) >= 0;
        return m_blExists;
    }

    /** What could not be removed is tried once more at the end. */
    void Remove()
    {
        if (unlink(kIsolateFlag) == 0 || errno == ENOENT) {
            m_blExists = false;
            return;
        }
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to delete %s: [%m]", VESK_HERE, kIsolateFlag);
    }

private:
    bool m_blExists = false;
};

bool JobsGet(Jobs& jobs)
{
    if (VESKSystemdIntJobList(jobs)) {
        return true;
    }
    VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to get systemd jobs", VESK_HERE);
    return false;
}

std::string OptionsText(const Texts& vecOptions)
{
    return vecOptions.empty() ? std::string() : " with option [" + Joined(vecOptions) + "]";
}

bool Isolate(const std::string& strTarget, const Texts& vecOptions)
{
    const Answer answer = AskOrThrow({"isolate", vecOptions, {strTarget}});
    if (answer.nExitCode != 0) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: isolate to [%s] failed: ret=[%d], reason=[%s]", VESK_HERE,
                 strTarget.c_str(), answer.nExitCode, Joined(answer.vecLines).c_str());
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: isolated to [%s]%s.", VESK_HERE, strTarget.c_str(),
             OptionsText(vecOptions).c_str());
    return true;
}

/** The units that have a stop job which was not queued before. */
Texts NewStopJobs(const Jobs& before, const Jobs& now)
{
    Texts vecUnits;
    for (const auto& [uId, job] : now) {
        if (job.type == JobType::Stop && before.count(uId) == 0) {
            vecUnits.push_back(job.unit);
        }
    }
    return vecUnits;
}

void LogJobs(const Jobs& jobs)
{
    for (const auto& [uId, job] : jobs) {
        VESK_LOG(LOG_INFO, "%s:%d vesksystemd: %s", VESK_HERE, job.ToString().c_str());
    }
}

void LogUnfinished(const Jobs& before, const Jobs& now)
{
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: The following job are still in job lists:", VESK_HERE);
    LogJobs(now);
    VESK_LOG(LOG_INFO,
             "%s:%d vesksystemd: The following job are alreay in job lists before isolation:", VESK_HERE);
    LogJobs(before);
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: Isolation didn't wait some running jobs.", VESK_HERE);
}

/** Waits until the stop jobs that the isolation has queued are gone. */
void WaitForStopJobs(const Jobs& before, const Outcome& outcome)
{
    Jobs now;
    for (int nLeft = kWaitPasses; nLeft > 0; --nLeft) {
        now.clear();
        if (!JobsGet(now)) {
            outcome.Set(VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED);
        } else {
            outcome.Set(VESK_SYSTEMD_ISOLATE_WAIT_STOP_TIMEOUT);
            const Texts vecUnits = NewStopJobs(before, now);
            if (vecUnits.empty()) {
                outcome.Set(VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE);
                return;
            }
            if (nLeft % 2 == 0) {
                VESK_LOG(LOG_INFO, "%s:%d vesksystemd: wait stop service [%s]", VESK_HERE,
                         Joined(vecUnits).c_str());
            }
        }
        PauseSecond();
    }
    LogUnfinished(before, now);
}

/**
 * The forked child of an isolation: releases the isolate lock, which it shares with its parent, once
 * systemctl isolates, so that what systemd stops meanwhile can take the lock.
 */
void MonitorRun(const FileLock& lock, pid_t nParent)
{
    FileLock sharedLock(lock);
    if (!IsolateMonitorWait(nParent)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Isolate doesn't execute successfully", VESK_HERE);
    }
    sharedLock.Release();
}

/** What an isolation does while it holds the isolate lock; releases the lock once systemctl is done. */
bool IsolateAndWait(const std::string& strTarget, const Texts& vecOptions, FileLock& lock, IsolateFlag& flag,
                    const Outcome& outcome)
{
    const pid_t nParent = getpid();
    if (!RunInBackground([&] { MonitorRun(lock, nParent); }, 0)) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to fork for isolate monitor", VESK_HERE);
        return false;
    }
    if (!VESK_ARGUMENT_NAME(strTarget)) {
        return false;
    }
    VESK_LOG(LOG_INFO, "%s:%d vesksystemd: isolating to [%s].", VESK_HERE, strTarget.c_str());
    Jobs before;
    const bool blJobsKnown = JobsGet(before);
    if (!blJobsKnown) {
        outcome.Set(VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED);
    }
    const bool blResult = Isolate(strTarget, vecOptions);
    lock.Release();
    flag.Remove();
    if (blResult && blJobsKnown) {
        WaitForStopJobs(before, outcome);
    }
    return blResult;
}

} // namespace

bool VESKSystemdIntIsolateTarget(const std::string& strTarget, const IsolateOptions& options,
                                 VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult)
{
    try {
        const Texts vecOptions = options.noBlock ? Texts{"--no-block"} : Texts{};
        FileLock lock(kIsolateLock, true, 600);
        const LockRelease release(lock);
        if (!lock.Acquire()) {
            lock.LogLockFailed(strTarget);
            return false;
        }
        StatusMonitor monitor;
        if (!monitor.Start()) {
            VESK_LOG(LOG_ERR, "%s:%d Failed to monitor systemd status in isolation", VESK_HERE);
        }
        IsolateFlag flag;
        if (!flag.Create()) {
            VESK_LOG(LOG_ERR, "%s:%d vesksystemd: Failed to touch isolate flag", VESK_HERE);
            return false;
        }
        return IsolateAndWait(strTarget, vecOptions, lock, flag, Outcome(pResult));
    } catch (const std::exception&) {
        VESK_LOG(LOG_ERR, "%s:%d vesksystemd: isolate to [%s] failed.", VESK_HERE, strTarget.c_str());
        return false;
    }
}

bool VESKSystemdIntIsolateTarget(const std::string& strTarget, VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult)
{
    return VESKSystemdIntIsolateTarget(strTarget, IsolateOptions(), pResult);
}

bool VESKSystemdIsolateTarget(const std::string& strTarget, const IsolateOptions& options,
                              VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult)
{
    SystemOperationLock lock;
    const LockRelease release(lock);
    if (!lock.Acquire()) {
        lock.LogLockFailed(strTarget);
        return false;
    }
    return VESKSystemdIntIsolateTarget(strTarget, options, pResult);
}

bool VESKSystemdIsolateTarget(const std::string& strTarget, VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult)
{
    return VESKSystemdIsolateTarget(strTarget, IsolateOptions(), pResult);
}
