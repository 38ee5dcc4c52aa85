/**
 * The platform core library: error record, child processes, files and locks, string lists and tables.
 *
 * Conventions: "negative" and "non-zero" results are as each call says. A call that fails sets the calling
 * thread's error record (VLIBCErrGet) and, where the system is the reason, errno; a call that succeeds leaves
 * the record as it was. A null pointer where a text, a list or a place for a result is wanted is a failure with
 * VLIBC_ERR_ARGUMENT. Every call may be made from any thread; lists and tables are not to be shared between
 * threads without the caller's own lock. No call changes signal dispositions, the umask, the working directory
 * or the locale of the process.
 */
#ifndef VESKCORE_H
#define VESKCORE_H

#include <stdbool.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
#    pragma GCC visibility push(default)
#endif

/* ---- Error record: one per thread ---------------------------------------------------------------------- */

/** Codes that the calls of this library leave in the error record. */
enum {
    /** No memory. */
    VLIBC_ERR_MEMORY = 0x0200,
    /** The program cannot be run: it is missing, no file, or not executable. */
    VLIBC_ERR_EXEC = 0x0300,
    /** No process, pipe or descriptor to be had. */
    VLIBC_ERR_RESOURCES = 0x0400,
    /** The child ended otherwise than with exit status 0, or how it ended cannot be told. */
    VLIBC_ERR_CHILD = 0x0500,
    /** The path does not exist, or is not what it should be. */
    VLIBC_ERR_NOT_FOUND = 0x0700,
    /** A file cannot be opened or read. */
    VLIBC_ERR_OPEN = 0x0900,
    /** A file cannot be written or replaced. */
    VLIBC_ERR_WRITE = 0x0B00,
    /** A lock was not to be had in time, or cannot be taken or dropped at all. */
    VLIBC_ERR_LOCK = 0x0C00,
    /** An argument is refused. */
    VLIBC_ERR_ARGUMENT = 0x0D00,
    /** A failure inside the library. */
    VLIBC_ERR_INTERNAL = 0x0F00
};

/** Sets the calling thread's error record. `file` is copied; null counts as "". */
void VLIBCErrSetEx(int code, const char* file, int line);

/** The record's code, 0 when nothing was set. */
int VLIBCErrGet(void);

/** The record's source file, "" when nothing was set. Valid until the thread's next VLIBCErrSetEx. */
const char* VLIBCErrorGetFile(void);

/** The record's source line, 0 when nothing was set. */
int VLIBCErrorGetLine(void);

/* ---- Child processes ----------------------------------------------------------------------------------- */

/**
 * Starts the program `path` with the null-terminated `argv` and returns a stream on what it prints.
 *
 * `mode` is "r" (the child's standard output) or "rB" (its standard error goes to the same pipe). The child's
 * standard input is /dev/null, and so is its standard error with "r": no other descriptor of the caller reaches
 * it. Its signals are neither blocked, ignored nor handled, and its umask is 022. No shell is involved and no PATH
 * searched, and the caller's page tables are not copied.
 *
 * Its environment is the caller's less what changes what systemctl says or does, or whom it asks: SYSTEMD_*,
 * SYSTEMCTL_*, PAGER, LESS, LESSCHARSET, NO_COLOR, COLORTERM, DBUS_SYSTEM_BUS_ADDRESS, DBUS_STARTER_ADDRESS,
 * DBUS_STARTER_BUS_TYPE, COLUMNS, LINES, POSIXLY_CORRECT, PS_*, CMD_ENV, UNIX95 and I_WANT_A_BROKEN_PS. Other threads
 * may set variables meanwhile.
 *
 * Returns null, with the error record set, when the program cannot be started, a missing one included. Reading goes
 * on through interruptions by signals. The stream is closed with VLIBCPclose, which alone can tell how the child
 * ended.
 */
FILE* VLIBCPopenv(const char* path, const char* mode, char* const argv[]);

/**
 * Closes a stream of VLIBCPopenv and waits for its child, through interruptions by signals.
 * Returns the raw wait status, or -1 when there is none to be had. A child that the kernel or the caller's own
 * wait has reaped meanwhile (the caller ignores SIGCHLD) has one on Linux 6.15 and later.
 */
int VLIBCPclose(FILE* stream);

/**
 * Runs `path` with up to four arguments (the first null ends them) and waits for it. Its standard input, output
 * and error are /dev/null; all else is as with VLIBCPopenv.
 * Returns 0 for exit status 0, a negative value, with the error record set, for anything else.
 */
int VLIBCExec(const char* path, const char* a1, const char* a2, const char* a3, const char* a4);

/** Bits of VLIBCProcForkEx. */
enum {
    /** The child closes every inherited descriptor above 2. */
    VLIBC_FORK_CLOSE_DESCRIPTORS = 0x4,
    /** The child is nobody's to wait for: it never becomes a zombie of the caller. */
    VLIBC_FORK_DETACH = 0x40
};

/**
 * Forks. Returns 0 in the child, the child's process id in the parent, a negative value with the error record
 * set on failure. `flags` is a combination of the bits above; others are ignored.
 */
int VLIBCProcForkEx(unsigned long long flags);

/* ---- Files --------------------------------------------------------------------------------------------- */

/**
 * Creates an empty file, mode 0644 whatever the umask, or updates the times of what is there, which it does not
 * open. A symbolic link is refused. 0, or negative on failure.
 */
int VLIBCFileTouch(const char* path);

/** Non-zero when `path` exists; a symbolic link exists when its target does. That it does not is no failure. */
int VLIBCFileExist(const char* path);

/** Non-zero when `path` is a directory, or a symbolic link to one; otherwise the error record says why not. */
int VLIBCFileCheckDir(const char* path);

/**
 * Opens or creates `path` and locks it with flock, exclusively when `mode` is true, shared otherwise.
 *
 * The file is for its owner alone, mode 0600 whatever the umask; one of the caller's that others may open is
 * narrowed to that. A link, and what is no regular file, is refused. Waits at most `timeout` seconds (0: one try). On success stores the descriptor, which is closed on exec and
 * never 0, 1 or 2, and returns non-zero. On failure, a negative timeout included, returns 0 and stores nothing.
 * A thread that waits sleeps between tries, 50 milliseconds at most. The file is never removed.
 */
int VLIBCFileLockTimeByFile(const char* path, bool mode, int timeout, int* descriptor);

/** Drops the lock, also for every process that shares the open file, and closes it. 0 or negative. */
int VLIBCFileUnlockByFile(int descriptor);

/**
 * Reads one key of one section of a unit file into `buffer` of `size` bytes; a longer value is cut to fit.
 *
 * Reads as systemd reads a scalar: blanks around "=" and at the line's end are dropped, lines that begin with
 * "#" or ";" are comments, a trailing backslash becomes a blank that joins the next line which is no comment,
 * the last assignment of the section wins, an assignment of nothing included, and a section that comes twice is
 * one section. Returns 0 when the key was found, and 1 when the file could be read and does not have it, which
 * leaves the error record alone; a negative value on failure, a missing file included, and for a file of more than
 * 1 MiB or what is no regular file (but a link to /dev/null, which masks a unit, reads as empty). The buffer is
 * written only with 0.
 */
int VLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* buffer, int size);

/** A table of strings, keys in the order in which they were first set. */
typedef struct VLIBCSzHash VLIBCSzHash;

/**
 * Adds `section` with the keys of `hash` to the file, or replaces it wherever it stands.
 *
 * All other lines stay byte for byte, comments within the section included. The file is created (mode 0644
 * whatever the umask) when missing; otherwise permission bits and owner stay, and it is replaced in one step
 * through a synced temporary file ".vesk-*.tmp" beside it, a rename, and a sync of the folder. When only the last
 * fails, which is a failure, the new content is there but may not outlive a power cut. What cannot be read back is
 * refused: more than 1 MiB, and keys and values such as one with a line feed or with a backslash at its end.
 * `flags` is 0. Two writers at a time need a lock of their own. Returns 0, or a negative value on failure.
 */
int VLIBCFileAddSection(const char* path, const char* section, VLIBCSzHash* hash, int flags);

/* ---- Tables and lists ---------------------------------------------------------------------------------- */

/** A new table; `size` is a hint. Null on failure. Freed with VLIBCSzHashFree. */
VLIBCSzHash* VLIBCSzHashAlloc(int size);

/** Sets a key; both texts are copied, and a key set again keeps its place. 0, or negative on failure. */
int VLIBCSzHashSetValue(VLIBCSzHash** hash, const char* key, const char* value);

/** Frees a table; null does nothing. */
void VLIBCSzHashFree(VLIBCSzHash* hash);

/** A list of strings. */
typedef struct VLIBCSzList VLIBCSzList;

/** A new, empty list; `size` is a hint. Null on failure. Freed with VLIBCSzListFree. */
VLIBCSzList* VLIBCSzListAlloc(int size);

/** Appends a copy of `text`. 0, or negative on failure. */
int VLIBCSzListPush(VLIBCSzList** list, const char* text);

/** The text at `index`, owned by the list; null when the index is out of range. */
const char* VLIBCSzListGet(const VLIBCSzList* list, int index);

/** The number of texts; 0 for a null list. */
int VLIBCSzListCount(const VLIBCSzList* list);

/** Frees a list; null does nothing. */
void VLIBCSzListFree(VLIBCSzList* list);

/* ---- Features ------------------------------------------------------------------------------------------ */

/** Non-zero when "/usr/vesk/etc/vesk-support.conf" has the line name=yes; that it has not is no failure. */
int VLIBCSupportGet(const char* name);

#ifdef __GNUC__
#    pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
