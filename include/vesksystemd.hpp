/**
 * vesksystemd: control of systemd units, C++ interface. C++17.
 *
 * The conventions of vesksystemd.h hold here, with these differences:
 *
 * Results      An operation returns true for success and false for failure.
 * Names        A name ends at its first zero byte, everywhere and before anything is checked.
 * Lists        Unit lists are vectors, in the caller's order, passed to systemctl unchanged and not
 *              de-duplicated. Output vectors are appended to, never cleared, unless a declaration says
 *              otherwise; `vecFailed` is appended to only on failure.
 * Exceptions   Standard exceptions end in a failure result. The exceptions to this are named below, and
 *              allocation failures outside a run of systemctl pass through.
 * Threads      A thread must not be cancelled in a call; only the C functions put that off to their end.
 */
#ifndef VESKSYSTEMD_HPP
#define VESKSYSTEMD_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#if !__has_include(<boost/optional/optional.hpp>)
#    error "vesksystemd.hpp needs the headers of Boost 1.74 or later (Debian: libboost-dev)"
#endif
#include <boost/optional/optional.hpp>

#include "vesksystemd.h"

namespace VESK::Systemd
{

/* ---- Child processes ----------------------------------------------------------------------------------- */

/**
 * Runs a program, collects what it prints to its standard output, and tells its exit code.
 * May be reused; not to be shared between threads.
 */
class VESK_API Executor
{
public:
    /**
     * Runs the program at the absolute path `strPath` and waits for it.
     * Returns its exit code, 0 to 255; nothing when it could not be run or did not end by itself.
     */
    boost::optional<int> Execute(const std::string& strPath, const std::vector<std::string>& vecArguments);

    /** Reads `pStream` to its end and makes that the output. False only for a null stream. */
    bool ReadOutput(FILE* pStream);

    /** The path and the arguments of the last Execute, joined with single spaces. */
    std::string GetCommandLine() const;

    /** What the last program that could be started printed, unchanged. */
    const std::string& GetOutput() const;

private:
    std::vector<std::string> m_vecArguments;
    std::string m_strPath;
    std::string m_strOutput;
};

/**
 * Runs `function` in a forked child, which then ends with _exit(0), whatever the function did.
 *
 * Returns true in the parent once the child exists, false when there is none; never returns in the child. The
 * parent does not wait: the child is nobody's to wait for. `ullFlags` are fork options of the platform; 4
 * closes every inherited descriptor above 2 in the child. Only the calling thread exists in the child, which keeps
 * the caller's signal handlers, mask, umask and standard descriptors. It must not wait for what other threads of the
 * caller held at the fork; the library's own log lines do not.
 */
VESK_API bool ForkAndRun(std::function<void()> function, unsigned long long ullFlags);

/* ---- Locks between processes --------------------------------------------------------------------------- */

/**
 * A lock file that keeps processes apart.
 *
 * The object owns the descriptor of the lock file while the lock is held; the file itself is never deleted. A
 * copy carries the same descriptor, for use in a forked child: within one process only one of the copies may
 * be released or destroyed, so copy where the copy is used, in the child. Not to be shared between threads.
 */
class VESK_API FileLock
{
public:
    /**
     * Takes nothing yet. `strPath` is absolute; `blMode` is true for an exclusive lock, false for a shared
     * one; `nTimeout` is how many seconds Acquire may wait, 0 for one try.
     */
    FileLock(const std::string& strPath, bool blMode, int nTimeout);
    FileLock(const FileLock&) = default;
    /** Closes the descriptor held before. */
    FileLock& operator=(const FileLock& other);

    /** Closes the descriptor, which drops a lock that no other process shares. */
    ~FileLock();

    /**
     * Takes the lock, after creating its folder; blocks for up to the time-out. True when held afterwards, at
     * once when it was held before.
     */
    bool Acquire();

    /** Drops the lock if held, also for every process that shares the descriptor through a fork. */
    void Release();

    /** Closes the descriptor if open. */
    void CloseFd();

    /** Logs that an operation on `strWhat` could not get this lock. */
    void LogLockFailed(std::string strWhat);

    /** The same for several names, joined with single spaces. */
    void LogLockFailed(std::vector<std::string> vecWhat);

    /** The path of the lock file. */
    std::string PathGet();

private:
    std::string m_strPath;
    bool m_blMode;
    int m_nTimeout;
    int m_fd = -1;
};

/** The lock of operations on the whole system: exclusive, waits for up to 120 seconds. */
class VESK_API SystemOperationLock : public FileLock
{
public:
    SystemOperationLock();
};

/* ---- Unit names, types and files ----------------------------------------------------------------------- */

/** The name itself when it ends in a known unit type, else the name with ".service" appended. */
VESK_API std::string NormalizedUnitNameGet(const std::string& strName);

/** The text after the last ".", known type or not; empty when there is none. */
VESK_API std::string UnitTypeGet(const std::string& strName);

/** The text before the last "."; the whole name when there is none. */
VESK_API std::string UnitNameWithoutFileExtensionGet(const std::string& strName);

/**
 * The unit's file: the first that exists below /usr/local/lib, /usr/lib, /etc and /run.
 * Throws std::runtime_error, with 0x0700 set, when there is none.
 */
VESK_API std::string UnitPathGet(const std::string& strName);

/** Marks the unit as one whose enable state was changed. Failures are logged only; a path gets no mark. */
VESK_API void SetEnableStatusChanged(const std::string& strName);

/** Whether the unit has that mark. */
VESK_API bool IsEnableStatusChanged(const std::string& strName);

/* ---- Texts and failed units ---------------------------------------------------------------------------- */

/**
 * Replaces `vecOut` with the pieces of the trimmed text between any of the delimiters; two delimiters side by
 * side give an empty piece. A blank text leaves `vecOut` as it was. False, with 0x8000 set, when it cannot be
 * done.
 */
VESK_API bool Split(const std::string& strText, std::vector<std::string>& vecOut,
                    const std::string& strDelimiters);

/**
 * Appends to `vecFailed` the caller's name of each unit that a line of systemctl reports as failed, once for
 * each such line. A failed unit that is not the caller's is logged and left out.
 */
VESK_API void FailedUnitsGet(const std::vector<std::string>& vecUnits,
                             const std::vector<std::string>& vecLines, std::vector<std::string>& vecFailed);

/** Appends all units to `vecFailed`. */
VESK_API void FailedUnitsCopy(const std::vector<std::string>& vecUnits, std::vector<std::string>& vecFailed);

/* ---- Reason files -------------------------------------------------------------------------------------- */

/**
 * Removes the reason file of each service. Appends to `vecCleared` those that do not have the reason any
 * more, to `vecFailed` the others: a unit that is no service, a name that is no entry of a folder (0x0D00), a
 * file that cannot be removed (0x3900).
 */
VESK_API bool UnlinkReasons(const std::string& strReason, const std::vector<std::string>& vecServices,
                            std::vector<std::string>& vecCleared, std::vector<std::string>& vecFailed);

/** Whether the service has a reason; one whose name begins with a dot does not count. */
VESK_API bool CheckServiceHasReason(const std::string& strService);

/** Appends the services that have a reason, in no order. False, with 0x0900 set, when they cannot be read. */
VESK_API bool ListServicesWithReason(std::vector<std::string>& vecServices);

/**
 * Makes the folder `strDirectory`, which ends in "/", and in it a hard link to `strSource` by the name
 * "vesk-reason.conf". A link that is there already is a failure.
 */
VESK_API bool LinkVeskReason(const std::string& strDirectory, const std::string& strSource);

/* ---- Options of a run of systemctl --------------------------------------------------------------------- */

/** Options of one run. */
struct SystemctlOpts {
    /** Further options, placed after the verb; not owned, may be null. */
    const std::vector<std::string>* pCmdOpts = nullptr;
    /** Log how long the child ran. */
    bool blCalRunTime = false;
    /** Talk to the system manager, whoever the caller is. */
    bool blForceSystem = false;
};

/** Builds SystemctlOpts by chained calls. */
class VESK_API SystemctlOptsBuilder
{
public:
    SystemctlOptsBuilder& SetCmdOpts(const std::vector<std::string>* pCmdOpts);
    SystemctlOptsBuilder& SetCalRunTime(bool blCalRunTime);
    SystemctlOptsBuilder& SetForceSystem(bool blForceSystem);
    SystemctlOpts Build() const;

private:
    SystemctlOpts m_opts;
};

class CommandOptionsImp;

/** Options of enable and disable. Both are off at first; once set, one stays set. */
class VESK_API CommandOptions
{
public:
    CommandOptions();
    CommandOptions(CommandOptions&& other) noexcept;
    CommandOptions& operator=(CommandOptions&& other) noexcept;
    CommandOptions(const CommandOptions&) = delete;
    CommandOptions& operator=(const CommandOptions&) = delete;
    ~CommandOptions();

    /** Change the state until the next boot only: "--runtime". */
    void SetRunTime();
    /** Do not make the manager reload its unit files: "--no-reload". */
    void SetNoReload();

    /** The library's own record of the options, owned by this object; null in an object moved from. */
    CommandOptionsImp* GetImp() const;

private:
    std::unique_ptr<CommandOptionsImp> m_pImp;
};

/** Appends the systemctl options that stand for `options`. */
VESK_API void GetEnableDisableOptions(const CommandOptions& options, std::vector<std::string>& vecOut);

/* ---- Jobs ---------------------------------------------------------------------------------------------- */

/** The kinds of job that the library tells apart; any other is Unknown. */
enum class JobType : int { Unknown = 0, Start = 1, Stop = 2 };

/** The states of a queued job. */
enum class JobState : int { Unknown = 0, Running = 1, Waiting = 2 };

/** One job of systemd's queue. */
struct VESK_API JobInfo {
    uint32_t id = 0;
    std::string unit;
    JobType type = JobType::Start;
    JobState state = JobState::Running;

    /** The four fields, separated by single spaces; empty, and logged, when a value has no word. */
    std::string ToString() const;
};

/** The words of systemd for job types and states. Each returns false, output untouched, where there is none.
 */
class VESK_API JobStringMap
{
public:
    static bool TypeToString(JobType type, std::string& strWord);
    static bool StringToType(const std::string& strWord, JobType& type);
    static bool StateToString(JobState state, std::string& strWord);
    static bool StringToState(const std::string& strWord, JobState& state);
};

/** Reads one line of "list-jobs": id, unit, type and state between single spaces. False for any other count.
 */
VESK_API bool JobInfoParse(const std::string& strLine, JobInfo& info);

/* ---- Unit-file sections -------------------------------------------------------------------------------- */

/** Identifies the picture of a unit. */
struct Icon {
    std::string strAppId;
    std::string strIconCls;
    std::string strIconName;
};

/**
 * The value of a key in a section of the unit's file, at most 1023 bytes; empty when there is no such key.
 * Throws as UnitPathGet does.
 */
VESK_API std::string UnitSectionKeyGet(const std::string& strUnit, const std::string& strSection,
                                       const std::string& strKey);

/** The value of a key of the section "X-Veskline"; an instance of a template reads the template. */
VESK_API std::string XVesklineKeyGet(const std::string& strUnit, const std::string& strKey);

/**
 * Writes a section with these keys into the unit file `strDirectory`/`strFile`, which is created when
 * missing; a section of that name is replaced, others stay.
 */
VESK_API bool AddUnitSection(const std::string& strDirectory, const std::string& strFile,
                             const std::string& strSection,
                             const std::map<std::string, std::string>& mapKeyValues);

/* ---- Targets ------------------------------------------------------------------------------------------- */

/** Options of an isolation. */
struct IsolateOptions {
    /** Only queue the isolation: systemctl returns at once. */
    bool noBlock = false;
};

/**
 * Runs the script that watches the manager and its queue, for as long as this object lives and at most a
 * second more.
 */
class VESK_API StatusMonitor
{
public:
    StatusMonitor() = default;
    /**
     * Releases the lock, so that no child that was forked meanwhile keeps the script running. In such a child itself
     * it ends nothing.
     */
    ~StatusMonitor();
    StatusMonitor(const StatusMonitor&) = delete;
    StatusMonitor& operator=(const StatusMonitor&) = delete;

    /** Starts the script in a child. Waits for up to 10 seconds for the lock that keeps the script running.
     */
    bool Start();

private:
    std::unique_ptr<FileLock> m_pExitLock;
    int m_nStarter = -1;
};

/* ---- Processes and slices ------------------------------------------------------------------------------ */

/**
 * A process as it was when this object was made, and what it has used since. Ordered by process id alone.
 */
class VESK_API Process
{
public:
    /** Samples the process. Throws std::exception when it cannot be read, as when it has ended. */
    explicit Process(int nPid);

    bool operator<(const Process& other) const;

    int PidGet() const;
    std::string NameGet() const;
    /** Processor time used until the sample, in seconds. */
    double CPUTimeGet() const;
    /** The proportional share of the memory, in kB. */
    unsigned long long MemoryPssGet() const;

    /** The share of the machine's processor time since the sample, 0.0 to 1.0; 0.0 when it cannot be read. */
    double CPUUtilizationGet() const;
    /** Bytes read and written per second since the sample; 0.0 when they cannot be read. */
    std::pair<double, double> IOUtilizationGet() const;

    /** The name of the program; for the workers of the web interface that of what they run. */
    static bool NameGet(int nPid, std::string& strName);
    /** Processor time in clock ticks. */
    static bool CPUTickGet(int nPid, unsigned long long& ullUser, unsigned long long& ullSystem);
    /** In kB. */
    static bool PssGet(int nPid, unsigned long long& ullPss);
    /** Bytes read from and written to storage. */
    static bool IOGet(int nPid, unsigned long long& ullReadBytes, unsigned long long& ullWriteBytes);

private:
    int m_nPid;
    std::string m_strName;
    unsigned long long m_ullUserTick = 0;
    unsigned long long m_ullSystemTick = 0;
    unsigned long long m_ullTotalTick = 0;
    unsigned long long m_ullPss = 0;
    unsigned long long m_ullReadBytes = 0;
    unsigned long long m_ullWriteBytes = 0;
    std::chrono::steady_clock::time_point m_sampled;
};

/** A monitored slice: what it is called, and samples of its processes. */
class VESK_API Slice
{
public:
    /** Throws std::exception when the slice has no name or icon, or its processes cannot be sampled. */
    explicit Slice(const std::string& strUnit);

    std::string UnitNameGet() const;
    std::string NameGet() const;
    std::string NameI18nGet() const;
    Icon IconGet() const;
    std::set<Process> ProcessesGet() const;

    /**
     * Adds samples of the processes of a slice and of the groups right below it, and of no deeper ones; in
     * systemd's own hierarchy (see vesksystemd.h) of all groups below it. Threads count as processes in the
     * hierarchy "veskmonitor" alone. Those that end meanwhile are left out; false, with nothing added, when
     * another cannot be sampled, and when the slice is not there.
     */
    static bool ProcessList(const std::string& strSlice, std::set<Process>& setProcesses);

private:
    std::string m_strUnit;
    std::string m_strName;
    std::string m_strNameI18n;
    Icon m_icon;
    std::set<Process> m_setProcesses;
};

/**
 * Moves the calling process into a slice of a hierarchy, "systemd" or "veskmonitor", or another by the name of its
 * folder: one that leads out of /sys/fs/cgroup is refused (0x0D00).
 */
VESK_API bool MoveToCgroupSlice(const std::string& strSlice, const std::string& strHierarchy);

} // namespace VESK::Systemd

/* ---- Running systemctl --------------------------------------------------------------------------------- */

/**
 * Runs "/usr/bin/systemctl" with a verb, options and units, and lets `callback` judge the outcome.
 *
 * The callback is given the exit code (0 for a child that a signal ended) and the lines that the child
 * printed to both its outputs, each with its line feed; its result is the result. A caller that is not root
 * talks to its own user manager, unless opts.blForceSystem is set.
 *
 * While the system boots, a start, stop or restart is refused when a conflicting job of a unit is queued, and
 * a reload does not wait for one. "try-restart" and "reload" pass over units that have a stop job queued;
 * when none is left nothing is run and the callback gets exit code 0 and no lines.
 *
 * Throws std::exception when the call is refused, the child cannot be started or what it prints cannot be read
 * to its end, std::bad_function_call when the callback is empty, and what the callback throws. Blocks until the
 * child has ended.
 */
VESK_API bool
VESKSystemdSystemctlUltron(const std::string& strVerb, const VESK::Systemd::SystemctlOpts& opts,
                           const std::vector<std::string>& vecUnits,
                           std::function<bool(int, const std::vector<std::string>&)>&& callback);

/** The same with further options on the command line, and the other options at their defaults. */
VESK_API bool VESKSystemdSystemctl(const std::string& strVerb,
                                   const std::vector<std::string>& vecCommandOptions,
                                   const std::vector<std::string>& vecUnits,
                                   std::function<bool(int, const std::vector<std::string>&)>&& callback);

/** The same with all options at their defaults. */
VESK_API bool VESKSystemdSystemctl(const std::string& strVerb, const std::vector<std::string>& vecUnits,
                                   std::function<bool(int, const std::vector<std::string>&)>&& callback);

/**
 * Writes the outcome of an action to the event log, by the display names of the units: one entry for the
 * units that succeeded (all when `blSuccess`, else those not in `vecFailed`), one for those in `vecFailed`.
 * Units without a display name are left out. `nAction` is 1 for start, 2 for stop. Failures are logged only.
 */
VESK_API void VESKSystemdLogAction(int nAction, bool blSuccess, const std::vector<std::string>& vecUnits,
                                   const std::vector<std::string>& vecFailed);

/**
 * Copies the environment of the calling user's systemd session into that of the process, so that "systemctl
 * --user" finds its manager. Does nothing for root. Failures are logged only. The environment must not be
 * read in other threads meanwhile. Built for today's systemd, XDG_RUNTIME_DIR becomes /run/user/UID if it is
 * not set then, and that folder is the user's own.
 */
VESK_API void VESKSystemdPutEnvByPAMSystemd();

/* ---- Unit actions -------------------------------------------------------------------------------------- */
/*
 * Each family has a form with further options for systemctl, a form for a list of units and a form for one
 * unit, whose failed units are not told. See vesksystemd.h for what each family does.
 */

VESK_API bool VESKSystemdStartWithOptions(const std::vector<std::string>& vecOptions,
                                          const std::vector<std::string>& vecUnits,
                                          std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdStart(const std::vector<std::string>& vecUnits, std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdStart(const std::string& strUnit);
VESK_API bool VESKSystemdStartIrreversibly(const std::string& strUnit);

VESK_API bool VESKSystemdStopWithOptions(const std::vector<std::string>& vecOptions,
                                         const std::vector<std::string>& vecUnits,
                                         std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdStop(const std::vector<std::string>& vecUnits, std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdStop(const std::string& strUnit);

VESK_API bool VESKSystemdRestartWithOptions(const std::vector<std::string>& vecOptions,
                                            const std::vector<std::string>& vecUnits,
                                            std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdRestart(const std::vector<std::string>& vecUnits,
                                 std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdRestart(const std::string& strUnit);

VESK_API bool VESKSystemdTryRestartWithOptions(const std::vector<std::string>& vecOptions,
                                               const std::vector<std::string>& vecUnits,
                                               std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdTryRestart(const std::vector<std::string>& vecUnits,
                                    std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdTryRestart(const std::string& strUnit);

/** Adds "--no-block" unless the options hold it. */
VESK_API bool VESKSystemdReloadWithOptions(const std::vector<std::string>& vecOptions,
                                           const std::vector<std::string>& vecUnits,
                                           std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReload(const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReload(const std::string& strUnit);

VESK_API bool VESKSystemdReloadOrRestartWithOptions(const std::vector<std::string>& vecOptions,
                                                    const std::vector<std::string>& vecUnits,
                                                    std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReloadOrRestart(const std::vector<std::string>& vecUnits,
                                         std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReloadOrRestart(const std::string& strUnit);

/* ---- Unit actions that do not wait --------------------------------------------------------------------- */

VESK_API bool VESKSystemdStartNoBlock(const std::vector<std::string>& vecUnits,
                                      std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdStartNoBlock(const std::string& strUnit);
VESK_API bool VESKSystemdStopNoBlock(const std::vector<std::string>& vecUnits,
                                     std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdStopNoBlock(const std::string& strUnit);
VESK_API bool VESKSystemdRestartNoBlock(const std::vector<std::string>& vecUnits,
                                        std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdRestartNoBlock(const std::string& strUnit);
VESK_API bool VESKSystemdTryRestartNoBlock(const std::vector<std::string>& vecUnits,
                                           std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdTryRestartNoBlock(const std::string& strUnit);
VESK_API bool VESKSystemdReloadNoBlock(const std::vector<std::string>& vecUnits,
                                       std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReloadNoBlock(const std::string& strUnit);
VESK_API bool VESKSystemdReloadOrRestartNoBlock(const std::vector<std::string>& vecUnits,
                                                std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReloadOrRestartNoBlock(const std::string& strUnit);

/* ---- Unit-file states ---------------------------------------------------------------------------------- */

/** The flag has no effect. */
VESK_API bool VESKSystemdEnableWithOptionsInternal(const std::vector<std::string>& vecOptions,
                                                   const std::vector<std::string>& vecUnits,
                                                   std::vector<std::string>& vecFailed, bool blUnused);
VESK_API bool VESKSystemdEnableWithOptions(const std::vector<std::string>& vecUnits,
                                           const VESK::Systemd::CommandOptions& options,
                                           std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdEnable(const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdEnable(const std::string& strUnit);
VESK_API bool VESKSystemdEnableInGenerator(const std::vector<std::string>& vecUnits,
                                           std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdEnableInGenerator(const std::string& strUnit);

/** The flag has no effect. */
VESK_API bool VESKSystemdDisableWithOptionsInternal(const std::vector<std::string>& vecOptions,
                                                    const std::vector<std::string>& vecUnits,
                                                    std::vector<std::string>& vecFailed, bool blUnused);
VESK_API bool VESKSystemdDisableWithOptions(const std::vector<std::string>& vecUnits,
                                            const VESK::Systemd::CommandOptions& options,
                                            std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdDisable(const std::vector<std::string>& vecUnits,
                                 std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdDisable(const std::string& strUnit);
VESK_API bool VESKSystemdDisableInGenerator(const std::vector<std::string>& vecUnits,
                                            std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdDisableInGenerator(const std::string& strUnit);

VESK_API bool VESKSystemdReenable(const std::vector<std::string>& vecUnits,
                                  std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdReenable(const std::string& strUnit);

/** A failed list that is not empty before makes this a failure, whatever systemctl says; so does unmask's. */
VESK_API bool VESKSystemdMask(const std::vector<std::string>& vecUnits, std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdMask(const std::string& strUnit);
VESK_API bool VESKSystemdMaskRunTime(const std::string& strUnit);
VESK_API bool VESKSystemdUnmask(const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdUnmask(const std::string& strUnit);
VESK_API bool VESKSystemdUnmaskRunTime(const std::string& strUnit);

/* ---- Maintenance --------------------------------------------------------------------------------------- */

/** Clears the failed state of units. */
VESK_API bool VESKSystemdResetFailed(const std::vector<std::string>& vecUnits,
                                     std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdDaemonReload();
VESK_API bool VESKSystemdUninstall(const std::vector<std::string>& vecUnits,
                                   std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdUninstall(const std::string& strUnit);

/* ---- States of a unit ---------------------------------------------------------------------------------- */

VESK_API VESK_SYSTEMD_ACTIVE_STATUS VESKSystemdActiveStatusGet(const std::string& strUnit);
VESK_API VESK_SYSTEMD_ACTIVE_STATUS VESKSystemdActiveStatusGetSystem(const std::string& strUnit);
VESK_API VESK_SYSTEMD_LOAD_STATUS VESKSystemdLoadStatusGet(const std::string& strUnit);
VESK_API VESK_SYSTEMD_ENABLE_STATUS VESKSystemdEnableStatusGet(const std::string& strUnit);
VESK_API VESK_SYSTEMD_ENABLE_STATUS
VESKSystemdEnableStatusGetWithOptions(const std::vector<std::string>& vecOptions, const std::string& strUnit);
VESK_API VESK_SYSTEMD_ENABLE_STATUS VESKSystemdEnableStatusGetSystem(const std::string& strUnit);
VESK_API VESK_SYSTEMD_ENABLE_STATUS VESKSystemdEnableStatusGetInGenerator(const std::string& strUnit);

/* ---- Unit properties ----------------------------------------------------------------------------------- */

/** Reads one property of a unit, trimmed. False when the manager could not be asked or has no answer. */
VESK_API bool VESKSystemdShow(const std::string& strUnit, const std::string& strProperty,
                              std::string& strValue);

/** The same, always from the system manager. */
VESK_API bool VESKSystemdShowSystem(const std::string& strUnit, const std::string& strProperty,
                                    std::string& strValue);

/* ---- Jobs and unit lists ------------------------------------------------------------------------------- */

/** Inserts all jobs of the queue into `mapJobs`, by their ids. */
VESK_API bool VESKSystemdIntJobList(std::map<unsigned int, VESK::Systemd::JobInfo>& mapJobs);

/** The unit's queued job. False when it has none, or when the queue could not be read. */
VESK_API bool VESKSystemdIntJobGet(const std::string& strUnit, VESK::Systemd::JobInfo& info);

/** Whether a job of the unit is queued. False, with 0x8100 set, when the manager could not be asked. */
VESK_API bool VESKSystemdIsJobEnqueued(const std::string& strUnit);

/**
 * Appends the names of the unit files on disk to `vecUnits`. `strType` is a unit type, or empty for all.
 * Works without a running manager.
 */
VESK_API bool VESKSystemdListUnits(std::vector<std::string>& vecUnits, const std::string& strType);

/** Appends the names, without ".service", of all service unit files. */
VESK_API bool VESKSystemdServiceList(std::vector<std::string>& vecServices);

/* ---- Reasons ------------------------------------------------------------------------------------------- */

VESK_API bool VESKSystemdServiceStopByReason(const std::string& strReason,
                                             const std::vector<std::string>& vecServices,
                                             std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdServiceStopByReason(const std::string& strReason, const std::string& strService);
VESK_API bool VESKSystemdServiceStartByReason(const std::string& strReason,
                                              const std::vector<std::string>& vecServices,
                                              std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdServiceStartByReason(const std::string& strReason, const std::string& strService);
VESK_API bool VESKSystemdServiceReasonRemove(const std::string& strReason,
                                             const std::vector<std::string>& vecServices,
                                             std::vector<std::string>& vecFailed);
VESK_API bool VESKSystemdServiceReasonRemove(const std::string& strReason, const std::string& strService);
/** Appends the reasons of the service, in no order. */
VESK_API bool VESKSystemdServiceReasonList(const std::string& strService,
                                           std::vector<std::string>& vecReasons);

/* ---- Volumes ------------------------------------------------------------------------------------------- */

VESK_API bool VESKSystemdVolumeRegister(const std::string& strUnit, const std::string& strVolume);
VESK_API bool VESKSystemdVolumeUnregister(const std::string& strUnit, const std::string& strVolume);
VESK_API bool VESKSystemdPackageVolumeRegister(const std::string& strPackage, const std::string& strVolume);
VESK_API bool VESKSystemdPackageVolumeUnregister(const std::string& strPackage, const std::string& strVolume);

/** Whether one of the volumes is registered. Empty arguments are no error, no lock is taken, no refusal logged. */
VESK_API bool VESKSystemdVolumeIsRegisteredByUnit(const std::string& strUnit,
                                                  const std::vector<std::string>& vecVolumes);
VESK_API bool VESKSystemdVolumeIsRegisteredByPackage(const std::string& strPackage,
                                                     const std::vector<std::string>& vecVolumes);

VESK_API bool VESKSystemdVolumeDependencyGet(const std::string& strUnit,
                                             VESK_SYSTEMD_VOLUME_DEPENDENCY& dependency);

/** Whether the service is left out by VESKSystemdServiceListByMntPath. */
VESK_API bool VESKSystemdServiceSkipListByMntPath(const std::string& strService, bool& blSkip);

/**
 * Replaces `vecServices` with the services that use files on a mount path; see
 * VESKCSystemdServiceListByMntPath. Throws when /proc has an entry that looks like a process and is none.
 */
VESK_API bool VESKSystemdServiceListByMntPath(const std::string& strMntPath,
                                              std::vector<std::string>& vecServices);

/**
 * See VESKCSystemdVolumeUnmountAction. An exception of the action passes on after the services were started
 * again; an empty one throws std::bad_function_call.
 */
VESK_API bool _VESKSystemdVolumeUnmountAction(const std::vector<std::string>& vecVolumes,
                                              std::function<bool()>&& action);

/**
 * The same for a function, null being the empty one, and its argument. `Volumes` is a vector of strings, or
 * strings in braces.
 */
template <typename Volumes = std::vector<std::string>>
bool VESKSystemdVolumeUnmountAction(const Volumes& vecVolumes, bool (*action)(void*), void* pArg)
{
    std::function<bool()> bound;
    if (action != nullptr) {
        bound = [action, pArg] { return action(pArg); };
    }
    return _VESKSystemdVolumeUnmountAction(vecVolumes, std::move(bound));
}

/* ---- Targets ------------------------------------------------------------------------------------------- */

/**
 * Isolates the system to a target, then waits until the stop jobs that this has queued are gone, for at most
 * 300 readings of the queue, a second apart.
 *
 * Returns whether the isolation succeeded, whatever came of the wait. `pResult`, which may be null, gets what
 * came of it, if the isolation succeeded; and that the queue could not be read, when that was so before the
 * isolation, whatever came of that. Else nothing is written. Waits before that for up to 120 seconds for other
 * operations on the whole system, and for up to 600 seconds for volume unmount actions. Forks the caller twice.
 */
VESK_API bool VESKSystemdIsolateTarget(const std::string& strTarget,
                                       const VESK::Systemd::IsolateOptions& options,
                                       VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult);
VESK_API bool VESKSystemdIsolateTarget(const std::string& strTarget,
                                       VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult);

/** The same for a caller that holds the SystemOperationLock. */
VESK_API bool VESKSystemdIntIsolateTarget(const std::string& strTarget,
                                          const VESK::Systemd::IsolateOptions& options,
                                          VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult);
VESK_API bool VESKSystemdIntIsolateTarget(const std::string& strTarget,
                                          VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT* pResult);

VESK_API bool VESKSystemdIsolateToDefaultTarget();

/**
 * See VESKCSystemdIsolateTargetAction. No other operation on the whole system runs meanwhile. An exception of
 * the action passes on after the way back; an empty one throws std::bad_function_call.
 */
VESK_API bool _VESKSystemdIsolateTargetAction(const std::string& strTarget, std::function<bool()>&& action);

VESK_API bool VESKSystemdDefaultTargetGet(std::string& strTarget);
VESK_API bool VESKSystemdDefaultTargetSet(const std::string& strTarget);
VESK_API bool VESKSystemdDefaultTargetSetInGenerator(const std::string& strTarget);
/** The same with further options for systemctl. */
VESK_API bool VESKSystemdIntDefaultTargetSet(const std::vector<std::string>& vecOptions,
                                             const std::string& strDefaultTarget);

/** Appends the full names of the units that the target's key "Carries" names. */
VESK_API bool VESKSystemdTargetCarriesGet(const std::string& strTarget, std::vector<std::string>& vecUnits);

/* ---- Slices and cgroups -------------------------------------------------------------------------------- */

/**
 * The path of a process in a hierarchy, named as in /proc/PID/cgroup: "name=systemd", "name=veskmonitor". Built
 * for today's systemd, these two names stand for its hierarchy and for that of the monitored slices wherever
 * they are.
 */
VESK_API bool VESKSystemdCgroupPathnameGet(int nPid, const std::string& strHierarchy, std::string& strPath);

/**
 * The unit that holds a process: the last part of its path. Built for today's systemd, the unit even of a process
 * in a group that the unit has made; a user's own, for one of a user's systemd. True with `strUnit` as it was for
 * a process outside any unit.
 */
VESK_API bool VESKSystemdGetByPid(int nPid, std::string& strUnit);

VESK_API bool VESKSystemdCgroupMonitorSliceGet(std::string& strSlice);
VESK_API bool VESKSystemdCgroupMonitorSliceMove(const std::string& strSlice);
VESK_API bool VESKSystemdCgroupSystemdSliceMove(const std::string& strSlice);
VESK_API bool VESKSystemdRunAsSystemProcess();

/**
 * Appends the names of the monitored slices, in systemd's own hierarchy nested ones as well, in no order. False
 * when there is none.
 */
VESK_API bool VESKSystemdSliceList(std::vector<std::string>& vecSlices);

/**
 * Ends everything in a slice: stops its units, then sends SIGTERM to what is left, and SIGKILL to what is
 * left after the time that the slice's key "SliceKillTimeoutSec" gives, 10 seconds without it. False only
 * when SIGKILL could not be sent, and for a name that leads out of the hierarchy, as ".." does, or
 * is empty (0x0D00).
 */
VESK_API bool VESKSystemdKillSlice(const std::string& strSlice);

/* ---- Keys of the unit-file section "X-Veskline" -------------------------------------------------------- */
/* See vesksystemd.h. An output is written only on success, unless said otherwise. */

/** The display name. False, and the output empty, when the unit has none. */
VESK_API bool VESKSystemdNameGet(const std::string& strUnit, std::string& strName);
/** The key of the translated display name. False, and the output empty, when the unit has none. */
VESK_API bool VESKSystemdNameI18nGet(const std::string& strUnit, std::string& strNameI18n);
/** The keys "AppId", "IconCls" and "IconName"; a missing one is empty. */
VESK_API bool VESKSystemdIconGet(std::string strUnit, VESK::Systemd::Icon& icon);
VESK_API bool VESKSystemdIsSupportGet(const std::string& strUnit, bool& blSupport);
VESK_API bool VESKSystemdIsDefaultEnableGet(const std::string& strUnit, bool& blDefaultEnable);
VESK_API bool VESKSystemdInfoCenterDisplayGet(const std::string& strUnit, bool& blDisplay);
VESK_API bool VESKSystemdNanoUpdateDislayGet(const std::string& strUnit, bool& blDisplay);
VESK_API bool VESKSystemdSupportOneClickEnableGet(const std::string& strUnit, bool& blOneClickEnable);
/** The items of "FirewallSections", which replace what the vector held; an empty value leaves it as it was.
 */
VESK_API bool VESKSystemdFirewallSectionsGet(const std::string& strUnit,
                                             std::vector<std::string>& vecSections);
/** Appends the targets named by "PackedIn". */
VESK_API bool VESKSystemdPackedInGet(const std::string& strUnit, std::vector<std::string>& vecTargets);
/** Appends the targets named by "BelongsTo". */
VESK_API bool VESKSystemdBelongsToGet(const std::string& strUnit, std::vector<std::string>& vecTargets);

/* ---- Lists where one unit is wanted -------------------------------------------------------------------- */
/*
 * In place of one unit {"a", "b"} would be a string that begins at "a" and ends at "b", wherever those are, and not a
 * list. So it does not compile: the forms for lists take a second one, for the units that failed.
 */

#define VESK_ONE_UNIT(name)                                                                                  \
    template <std::size_t nUnits, std::enable_if_t<(nUnits > 1), int> = 0>                                   \
    bool name(const char* const(&)[nUnits]) = delete
#define VESK_ONE_SERVICE(name)                                                                               \
    template <std::size_t nServices, std::enable_if_t<(nServices > 1), int> = 0>                             \
    bool name(const std::string&, const char* const(&)[nServices]) = delete

VESK_ONE_UNIT(VESKSystemdStart);
VESK_ONE_UNIT(VESKSystemdStop);
VESK_ONE_UNIT(VESKSystemdRestart);
VESK_ONE_UNIT(VESKSystemdTryRestart);
VESK_ONE_UNIT(VESKSystemdReload);
VESK_ONE_UNIT(VESKSystemdReloadOrRestart);
VESK_ONE_UNIT(VESKSystemdStartNoBlock);
VESK_ONE_UNIT(VESKSystemdStopNoBlock);
VESK_ONE_UNIT(VESKSystemdRestartNoBlock);
VESK_ONE_UNIT(VESKSystemdTryRestartNoBlock);
VESK_ONE_UNIT(VESKSystemdReloadNoBlock);
VESK_ONE_UNIT(VESKSystemdReloadOrRestartNoBlock);
VESK_ONE_UNIT(VESKSystemdEnable);
VESK_ONE_UNIT(VESKSystemdEnableInGenerator);
VESK_ONE_UNIT(VESKSystemdDisable);
VESK_ONE_UNIT(VESKSystemdDisableInGenerator);
VESK_ONE_UNIT(VESKSystemdReenable);
VESK_ONE_UNIT(VESKSystemdMask);
VESK_ONE_UNIT(VESKSystemdUnmask);
VESK_ONE_UNIT(VESKSystemdUninstall);
VESK_ONE_SERVICE(VESKSystemdServiceStopByReason);
VESK_ONE_SERVICE(VESKSystemdServiceStartByReason);
VESK_ONE_SERVICE(VESKSystemdServiceReasonRemove);

#undef VESK_ONE_UNIT
#undef VESK_ONE_SERVICE

#endif
