/**
 * vesksystemd: control of systemd units, C interface. Valid C99 and C++.
 *
 * Conventions, stated once; a declaration below says only what differs.
 *
 * Units        A unit is named as systemd names it. A name that does not end in one of the eleven unit types
 *              (service, socket, device, mount, automount, swap, target, path, timer, slice, scope) is a
 *              service: "foo" is "foo.service".
 * Folders      The name of a reason, of a package, and of a unit that has reasons, a registry or a mark names an
 *              entry of a folder: one with "/" inside, "." and ".." are refused like an empty name, in a list
 *              for that one alone. Actions of systemctl take paths, as it does; a path gets no mark.
 * Results      An action returns 1 for success and 0 for failure. A query returns its value, -1 for unknown or
 *              failure.
 * Arguments    A null pointer, an empty name or an empty list where one is needed is refused: nothing is run or
 *              written, a line is logged at LOG_ERR, the error record is set to 0x0D00 and the result is the
 *              failure value.
 * Lists        A VLIBCSzList is allocated and freed by the caller; the library only reads it or pushes to it.
 *              The list for failed units may be null, and so may the address of it; it is appended to only when
 *              the action failed, never cleared.
 * Buffers      The caller's. A value that does not fit with its terminating zero sets 0x0100, fails, and leaves
 *              the buffer as it was.
 * Errors       The calling thread's error record (VLIBCErrGet) tells why a call failed; VESK_SYSTEMD_ERROR below
 *              names the codes and tells how to read it. Where a declaration names a code, it is of that kind.
 * Blocking     An action runs "/usr/bin/systemctl" as a child and returns when that has ended, which for a
 *              blocking action is when the unit's job has ended; there is no time-out of the library's own.
 *              Queries that need the manager run systemctl too and return at once, as far as it answers; those
 *              of registries, unit-file keys and processes read files alone.
 * Threads      Every function may be called from any thread. No thread is started and no signal disposition,
 *              umask, working directory or locale is changed. For a caller that is not root every run of
 *              systemctl may change the process environment: it must not be read in other threads meanwhile.
 *              A thread that is cancelled in a call ends after it, when the operation is whole.
 * Exceptions   None ever leaves a function of this header.
 * Log          Every operation tells what it does in syslog: LOG_INFO for progress and success, LOG_ERR for
 *              failures.
 */
#ifndef VESKSYSTEMD_H
#define VESKSYSTEMD_H

#include <stdbool.h>
#include <stddef.h>

#include <veskcore.h>

#define VESK_API __attribute__((visibility("default")))

/* The version of these headers. A library of the same major version has all that they declare if it is as new. */
#define VESK_SYSTEMD_VERSION_MAJOR 7
#define VESK_SYSTEMD_VERSION_MINOR 0
#define VESK_SYSTEMD_VERSION_PATCH 0

/** A version as one number, to compare: `#if VESK_SYSTEMD_VERSION >= VESK_SYSTEMD_VERSION_NUMBER(7, 1, 0)`. */
#define VESK_SYSTEMD_VERSION_NUMBER(major, minor, patch) ((major)*10000 + (minor)*100 + (patch))
#define VESK_SYSTEMD_VERSION                                                                                 \
    VESK_SYSTEMD_VERSION_NUMBER(VESK_SYSTEMD_VERSION_MAJOR, VESK_SYSTEMD_VERSION_MINOR,                      \
                                VESK_SYSTEMD_VERSION_PATCH)

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Errors -------------------------------------------------------------------------------------------- */

/**
 * What the library puts into the calling thread's error record, and what it means for the caller.
 *
 * A call that succeeds may leave anything in the record, and one that fails without a code leaves what was there. So
 * clear it before a call, and read it when the call has failed, before any other:
 *
 *     VLIBCErrSetEx(0, "", 0);
 *     if (VESKCSystemdNameGet(unit, name, sizeof name)) {
 *         return 0;
 *     }
 *     switch (VLIBCErrGet()) {
 *     case VESK_SYSTEMD_ERROR_NO_UNIT_FILE:
 *
 * VLIBCErrorGetFile and VLIBCErrorGetLine tell where the code was set. A failed call that leaves 0 has no code of its
 * own: systemctl has refused or failed, which is told by the failed units and by the log. Any other code is the
 * platform's, from a call that the library depended on: a program that cannot be started, a file that cannot be
 * written, a lock that was not to be had (veskcore.h, which gives 0x0700, 0x0900 and 0x0D00 the same sense for paths,
 * files and arguments). More codes may be added.
 */
typedef enum VESK_SYSTEMD_ERROR {
    /** Nothing was set. */
    VESK_SYSTEMD_ERROR_NONE = 0,
    /** The caller's buffer is too short for the value and its zero. Nothing was written: try a larger one. */
    VESK_SYSTEMD_ERROR_BUFFER_TOO_SMALL = 0x0100,
    /** The unit has no unit file: it is not installed, or its name is wrong. */
    VESK_SYSTEMD_ERROR_NO_UNIT_FILE = 0x0700,
    /** A folder, as /proc or that of the reasons, cannot be read. The answer is not known: it is not "none". */
    VESK_SYSTEMD_ERROR_FOLDER_UNREADABLE = 0x0900,
    /** An argument was refused, also a unit that must be a service but is not. Nothing was done: it is a mistake of
     * the caller's, which will not pass when it is tried again. */
    VESK_SYSTEMD_ERROR_INVALID_ARGUMENT = 0x0D00,
    /** A reason could not be cleared: the service is still held. */
    VESK_SYSTEMD_ERROR_REASON_NOT_CLEARED = 0x3900,
    /** systemd answered with a word that the library does not know, as a newer release may; or a text could not be
     * split. The state is not known. */
    VESK_SYSTEMD_ERROR_UNKNOWN_WORD = 0x8000,
    /** The "Job" property of a unit could not be read: whether a job is queued is not known. */
    VESK_SYSTEMD_ERROR_JOB_UNREADABLE = 0x8100
} VESK_SYSTEMD_ERROR;

/* ---- Unit actions -------------------------------------------------------------------------------------- */
/*
 * While the system boots (boot steps 0 to 3 and 5) an action may be refused because of a queued job: a start
 * when one of the units has a start job queued, a stop when one has a stop job, a restart when one has any
 * job. A refused action fails with all its units.
 *
 * The Group forms act on the units of a list in one call of systemctl. On failure they push the units that
 * systemctl named as failed, by the names that the caller used, to `*ppListFailed`; all of them when
 * systemctl could not be run.
 */

/** Starts a unit and waits for it. A start is recorded in the event log, by the units' display names. */
VESK_API int VESKCSystemdStart(const char* szUnit);
VESK_API int VESKCSystemdStartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/** Starts a unit by a job that later conflicting jobs cannot replace, and waits for it. */
VESK_API int VESKCSystemdStartIrreversibly(const char* szUnit);

/** Stops a unit and waits for it. A stop is recorded in the event log, by the units' display names. */
VESK_API int VESKCSystemdStop(const char* szUnit);
VESK_API int VESKCSystemdStopGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/** Restarts a unit, or starts it when it is not running, and waits for it. */
VESK_API int VESKCSystemdRestart(const char* szUnit);
VESK_API int VESKCSystemdRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/** Restarts a unit if it is running, and waits for it. A unit that has a stop job queued is left alone. */
VESK_API int VESKCSystemdTryRestart(const char* szUnit);
VESK_API int VESKCSystemdTryRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/**
 * Queues the reload of a unit's configuration and does not wait for it: success means that the job was
 * queued. A unit that has a stop job queued is left alone.
 */
VESK_API int VESKCSystemdReload(const char* szUnit);
VESK_API int VESKCSystemdReloadGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/** Reloads a unit if it can be reloaded, restarts or starts it otherwise, and waits for it. */
VESK_API int VESKCSystemdReloadOrRestart(const char* szUnit);
VESK_API int VESKCSystemdReloadOrRestartGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/* ---- Unit actions that do not wait --------------------------------------------------------------------- */
/*
 * As the actions above, but each only queues the job: success means that it was queued.
 */

VESK_API int VESKCSystemdStartNoBlock(const char* szUnit);
VESK_API int VESKCSystemdStartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdStopNoBlock(const char* szUnit);
VESK_API int VESKCSystemdStopGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdRestartNoBlock(const char* szUnit);
VESK_API int VESKCSystemdRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdTryRestartNoBlock(const char* szUnit);
VESK_API int VESKCSystemdTryRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdReloadNoBlock(const char* szUnit);
VESK_API int VESKCSystemdReloadGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdReloadOrRestartNoBlock(const char* szUnit);
VESK_API int VESKCSystemdReloadOrRestartGroupNoBlock(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/* ---- Unit-file states ---------------------------------------------------------------------------------- */
/*
 * On failure all units count as failed. Enable, disable and reenable mark each unit as one whose enable state
 * was changed, also when they fail. The InGenerator forms work on the unit files and need no manager; the
 * RunTime forms last until the next boot.
 */

VESK_API int VESKCSystemdEnable(const char* szUnit);
VESK_API int VESKCSystemdEnableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdEnableInGenerator(const char* szUnit);
VESK_API int VESKCSystemdEnableGroupInGenerator(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdDisable(const char* szUnit);
VESK_API int VESKCSystemdDisableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdDisableInGenerator(const char* szUnit);
VESK_API int VESKCSystemdDisableGroupInGenerator(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdReenable(const char* szUnit);
VESK_API int VESKCSystemdReenableGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/**
 * Makes a unit impossible to start, and possible again. With the Group forms a failed list of the library's
 * own decides the outcome, so it does not matter what the caller's list held.
 */
VESK_API int VESKCSystemdMask(const char* szUnit);
VESK_API int VESKCSystemdMaskRunTime(const char* szUnit);
VESK_API int VESKCSystemdMaskGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);
VESK_API int VESKCSystemdUnmask(const char* szUnit);
VESK_API int VESKCSystemdUnmaskRunTime(const char* szUnit);
VESK_API int VESKCSystemdUnmaskGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/* ---- Maintenance --------------------------------------------------------------------------------------- */

/** Makes the manager read its unit files again. */
VESK_API int VESKCSystemdDaemonReload(void);

/**
 * Removes a unit for good: stops it, takes away its enable and mask links, deletes its unit file and drop-ins
 * as the manager names them, its mark and its reasons, reloads the manager and clears the unit's failed
 * state.
 *
 * A unit whose files cannot be found out or removed is a failed unit; a failed stop or link is logged and
 * passed over. Only files and links below absolute paths are deleted, and of a unit either all or none; what
 * the unit shares with others (the file of its template, drop-ins for all units of its type) is deleted too.
 */
VESK_API int VESKCSystemdUninstall(const char* szUnit);
VESK_API int VESKCSystemdUninstallGroup(VLIBCSzList* pListUnits, VLIBCSzList** ppListFailed);

/* ---- States of a unit ---------------------------------------------------------------------------------- */

/** Whether a unit runs. */
typedef enum VESK_SYSTEMD_ACTIVE_STATUS {
    VESK_SYSTEMD_ACTIVE_STATUS_UNKNOWN = -1,
    VESK_SYSTEMD_ACTIVE_STATUS_INACTIVE = 0,
    VESK_SYSTEMD_ACTIVE_STATUS_ACTIVE = 1,
    VESK_SYSTEMD_ACTIVE_STATUS_DEACTIVATING = 2,
    VESK_SYSTEMD_ACTIVE_STATUS_ACTIVATING = 3,
    VESK_SYSTEMD_ACTIVE_STATUS_RELOADING = 4,
    VESK_SYSTEMD_ACTIVE_STATUS_FAILED = 5
} VESK_SYSTEMD_ACTIVE_STATUS;

/** Whether a unit's file is loaded. */
typedef enum VESK_SYSTEMD_LOAD_STATUS {
    VESK_SYSTEMD_LOAD_STATUS_UNKNOWN = -1,
    VESK_SYSTEMD_LOAD_STATUS_STUB = 0,
    VESK_SYSTEMD_LOAD_STATUS_LOADED = 1,
    VESK_SYSTEMD_LOAD_STATUS_NOT_FOUND = 2,
    VESK_SYSTEMD_LOAD_STATUS_ERROR = 3,
    VESK_SYSTEMD_LOAD_STATUS_MERGED = 4,
    VESK_SYSTEMD_LOAD_STATUS_MASKED = 5
} VESK_SYSTEMD_LOAD_STATUS;

/** Whether a unit is enabled. The states that last until the next boot only count as their lasting forms. */
typedef enum VESK_SYSTEMD_ENABLE_STATUS {
    VESK_SYSTEMD_ENABLE_STATUS_UNKNOWN = -1,
    VESK_SYSTEMD_ENABLE_STATUS_DISABLED = 0,
    VESK_SYSTEMD_ENABLE_STATUS_ENABLED = 1,
    VESK_SYSTEMD_ENABLE_STATUS_STATIC = 2,
    VESK_SYSTEMD_ENABLE_STATUS_MASKED = 3,
    VESK_SYSTEMD_ENABLE_STATUS_LINKED = 4
} VESK_SYSTEMD_ENABLE_STATUS;

/*
 * Each returns a value of the enumeration above; -1, with 0x8000 set, for a word that the library does not
 * know. The System form asks the system manager whoever the caller is; the InGenerator form reads the unit
 * files from disk and needs no manager.
 */

VESK_API int VESKCSystemdActiveStatusGet(const char* szUnit);
VESK_API int VESKCSystemdActiveStatusGetSystem(const char* szUnit);
VESK_API int VESKCSystemdLoadStatusGet(const char* szUnit);
VESK_API int VESKCSystemdEnableStatusGet(const char* szUnit);
VESK_API int VESKCSystemdEnableStatusGetSystem(const char* szUnit);
VESK_API int VESKCSystemdEnableStatusGetInGenerator(const char* szUnit);

/* ---- Jobs and unit lists ------------------------------------------------------------------------------- */

/** Whether a job of the unit is queued: 1 or 0. 0x8100 when the manager could not be asked (result 0). */
VESK_API int VESKCSystemdIsJobEnqueued(const char* szUnit);

/** Pushes the names, without ".service", of all service unit files on disk to `*ppListServices`. */
VESK_API int VESKCSystemdServiceList(VLIBCSzList** ppListServices);

/* ---- Reasons ------------------------------------------------------------------------------------------- */
/*
 * A service may be held stopped for one or more reasons, each an empty file in the folder of the service in
 * "/run/vesksystemd/reasons/". Only services may have reasons: any other unit
 * is a failed unit, with 0x0D00 set. The manager reloads its unit files when a service gets its first reason
 * or loses its last. The services of a list that succeed are acted on whatever becomes of the others.
 */

/** Records the reason and stops the service. */
VESK_API int VESKCSystemdServiceStopByReason(const char* szReason, const char* szService);
VESK_API int VESKCSystemdServiceStopGroupByReason(const char* szReason, VLIBCSzList* pListServices,
                                                  VLIBCSzList** ppListFailed);

/** Clears the reason and starts the service, also when other reasons remain. 0x3900 for one that stays. */
VESK_API int VESKCSystemdServiceStartByReason(const char* szReason, const char* szService);
VESK_API int VESKCSystemdServiceStartGroupByReason(const char* szReason, VLIBCSzList* pListServices,
                                                   VLIBCSzList** ppListFailed);

/** Clears the reason and starts nothing. */
VESK_API int VESKCSystemdServiceReasonRemove(const char* szReason, const char* szService);
VESK_API int VESKCSystemdServiceReasonRemoveGroup(const char* szReason, VLIBCSzList* pListServices,
                                                  VLIBCSzList** ppListFailed);

/** Pushes the reasons of the service, in no order. 0x0900 when its folder cannot be read. */
VESK_API int VESKCSystemdServiceReasonList(const char* szService, VLIBCSzList** ppListReasons);

/* ---- Volumes ------------------------------------------------------------------------------------------- */
/*
 * A volume is named by its mount path, which begins with "/" and does not end with one. Which volumes a unit
 * or a package uses stands in a file of its own, a JSON array, which is replaced as a whole: whatever dies
 * when, it holds the array from before or after. A replaced file keeps its owner and its permissions where the
 * caller may give them. A file that is no regular one, or larger than 1 MiB, cannot be read: all that is about
 * it fails. A change also fails when it is made but a power cut may undo it, which is logged. One program changes
 * registries at a time; another one fails at once.
 *
 * Such a file holds what RFC 8259 allows. Anything else, comments and text after the array included, is damage: it
 * can be neither read nor changed, and nothing is written over it. Elements that are no strings, numbers of any
 * size included, are kept byte for byte.
 */

/** Adds a volume to those that a unit uses. One that is there already is a success. */
VESK_API int VESKCSystemdVolumeRegister(const char* szUnit, const char* szVolume);
/** Takes a volume from those that a unit uses. One that is not there is a success. */
VESK_API int VESKCSystemdVolumeUnregister(const char* szUnit, const char* szVolume);
/** The same for a package, which must be installed. */
VESK_API int VESKCSystemdPackageVolumeRegister(const char* szPackage, const char* szVolume);
/** The same for a package. */
VESK_API int VESKCSystemdPackageVolumeUnregister(const char* szPackage, const char* szVolume);

/** How a unit depends on volumes, the key "VolumeDependency" of its unit file. */
typedef enum VESK_SYSTEMD_VOLUME_DEPENDENCY {
    /** On none: also for any other word, and without the key. */
    VESK_SYSTEMD_VOLUME_DEPENDENCY_NONE = 0,
    /** On all volumes. */
    VESK_SYSTEMD_VOLUME_DEPENDENCY_ALL = 1,
    /** On those registered for it. */
    VESK_SYSTEMD_VOLUME_DEPENDENCY_PARTIAL = 2
} VESK_SYSTEMD_VOLUME_DEPENDENCY;

/** How a unit depends on volumes; written only on success. */
VESK_API int VESKCSystemdVolumeDependencyGet(const char* szUnit, VESK_SYSTEMD_VOLUME_DEPENDENCY* pDependency);

/**
 * Pushes the services that use files on a mount path, in no order: that have a process which works in, runs,
 * holds open or maps one. Those are the files below the path and all others on the same file system: a path
 * that is no mount point stands for everything on the file system that it lies on, an empty one for all files.
 * Services with the key "SkipListByMntPath" set to "yes" are left out, and so are those of users' own managers:
 * what is below a user@UID.service belongs to no service of the system. Reads all of /proc; 0x0900 when that
 * cannot be read to its end, or descriptors or memory are too short to look at a process or at the path.
 */
VESK_API int VESKCSystemdServiceListByMntPath(const char* szMntPath, VLIBCSzList** ppListServices);

/**
 * Runs `action`, the unmount of the volumes, with `pArg` while the services that use them are stopped:
 * running units that declare a dependency on them, and services that use files on them (see
 * VESKCSystemdServiceListByMntPath: for a volume that is not mounted, these are all on the root file system).
 *
 * Returns 1 when the action returned true and systemd has carried out the start of the services after it; that
 * one of them failed to start is not told. They are started again whatever the action returned; a start that
 * cannot even be run is tried again for some seconds. On failures before they are stopped the action is not run;
 * but where looking for users of files fails, which is logged, it runs with those stopped that were found before:
 * it must not count on nobody using the volume. An empty volume is refused, since it would stand for all files.
 * Waits for up to an hour each for other unmount actions and isolations, and for as long as the services take to
 * stop and start. The action must not unmount another volume through the library, nor isolate: it would wait for
 * itself. Forks the caller once.
 */
VESK_API int VESKCSystemdVolumeUnmountAction(const char* szVolume, bool (*action)(void*), void* pArg);
VESK_API int VESKCSystemdVolumeGroupUnmountAction(VLIBCSzList* pListVolumes, bool (*action)(void*),
                                                  void* pArg);

/* ---- Targets ------------------------------------------------------------------------------------------- */

/** What became of the stop jobs that an isolation has queued. */
typedef enum VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT {
    /** All of them have left the queue. */
    VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE = 0,
    /** Some were still queued when the wait ended. */
    VESK_SYSTEMD_ISOLATE_WAIT_STOP_TIMEOUT = 1,
    /** The queue could not be read. */
    VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED = 2
} VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT;

/** Isolates to "default.target", as VESKSystemdIsolateTarget does. */
VESK_API int VESKCSystemdIsolateToDefaultTarget(void);

/**
 * Runs `action` while the system is isolated to a target, and isolates to "default.target" after it. True
 * when the action returned other than 0 and the system came back. When the isolation fails the action is not
 * run, and the system is isolated to "default.target" all the same. The action must not begin another operation
 * on the whole system: that would wait for this one, and fail after two minutes.
 */
VESK_API bool VESKCSystemdIsolateTargetAction(const char* szTarget, int (*action)(void));

/** The target that the system boots to. */
VESK_API bool VESKCSystemdDefaultTargetGet(char* szDefaultTarget, int cbDefaultTarget);

/** Sets the target that the system boots to. The InGenerator form needs no manager. */
VESK_API int VESKCSystemdDefaultTargetSet(const char* szDefaultTarget);
VESK_API int VESKCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget);

/* ---- Slices and cgroups -------------------------------------------------------------------------------- */
/*
 * The movers move the calling process; of one with several threads the first thread, and no other. A slice
 * is a name without "/" that ends in ".slice", and its cgroup must be there.
 *
 * In a library built for today's systemd (pkg-config --variable=systemd says "current") systemd's hierarchy
 * may be cgroup v2, and where there is no hierarchy "veskmonitor" it stands in for that one. There "a-b.slice"
 * is the one in "a.slice". In cgroup v2 the movers move all threads, and fail for a slice whose units have
 * controllers, since the kernel then lets it hold no process of its own.
 */

/** The slice of the calling process in the hierarchy "veskmonitor". */
VESK_API int VESKCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice);

/** Moves the calling process into a slice of the hierarchy "veskmonitor". */
VESK_API int VESKCSystemdCgroupMonitorSliceMove(const char* szSlice);

/** Moves the calling process into a slice of systemd's hierarchy, then of "veskmonitor". When that one fails, it
 * stays in the first. */
VESK_API int VESKCSystemdCgroupSystemdSliceMove(const char* szSlice);

/** Moves the calling process to the root of systemd's hierarchy. */
VESK_API int VESKCSystemdRunAsSystemProcess(void);

/** Pushes the names of all service unit files, as VESKCSystemdServiceList does: not those of slices. */
VESK_API int VESKCSystemdSliceList(VLIBCSzList** ppListSlices);

/* ---- Keys of the unit-file section "X-Veskline" -------------------------------------------------------- */
/*
 * All read the unit's file: the first found in /usr/local/lib, /usr/lib, /etc and /run, each followed by
 * "/systemd/system/". An instance of a template reads the template's file. A unit without a file fails with
 * 0x0700. A flag is true when its value is exactly "yes", and written only on success.
 */

/** The display name, "Name", copied to `szName` of `cbName` bytes. Fails when the unit has none. */
VESK_API int VESKCSystemdNameGet(const char* szUnit, char* szName, size_t cbName);

/** The key of the translated display name, "NameI18n"; else as VESKCSystemdNameGet. */
VESK_API int VESKCSystemdNameI18nGet(const char* szUnit, char* szNameI18n, size_t cbNameI18n);

/** Whether the platform has the feature named by "SupportKey"; true when the unit names none. */
VESK_API int VESKCSystemdIsSupportGet(const char* szUnit, bool* pblSupport);

/** The flag "DefaultEnable". */
VESK_API int VESKCSystemdIsDefaultEnableGet(const char* szUnit, bool* pblDefaultEnable);

/** The flag "InfoCenterDisplay". */
VESK_API int VESKCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay);

/** The flag "NanoUpdateDisplay". */
VESK_API int VESKCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay);

/** The flag "SupportOneClickEnable". */
VESK_API int VESKCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable);

/** Pushes the items of "FirewallSections", separated by single spaces in the unit file. */
VESK_API int VESKCSystemdFirewallSectionsGet(const char* szUnit, VLIBCSzList** ppFirewallSections);

#ifdef __cplusplus
}
#endif

#endif
