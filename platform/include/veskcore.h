/**
 * The platform core library: error record, child processes, files and locks, string lists and tables.
 *
 * Conventions: "negative" and "non-zero" results are as each call says. A call that fails sets the calling
 * thread's error record (VLIBCErrGet). Every call may be made from any thread; lists and tables are not to be
 * shared between threads without the caller's own lock. No call changes signal dispositions, the umask, the
 * working directory or the locale of the process.
 */
#ifndef VESKCORE_H
#define VESKCORE_H

#include <stdbool.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Error record: one per thread ---------------------------------------------------------------------- */

/** Sets the calling thread's error record. `file` is copied. */
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
 * standard input is /dev/null; no other descriptor of the caller reaches it. No shell is involved, and the
 * caller's page tables are not copied. Returns null, with the error record set, when the program cannot be
 * started, a missing one included. The stream is closed with VLIBCPclose, never with fclose.
 */
FILE* VLIBCPopenv(const char* path, const char* mode, char* const argv[]);

/**
 * Closes a stream of VLIBCPopenv and waits for its child, through interruptions by signals.
 * Returns the raw wait status, or -1 when there is none to be had.
 */
int VLIBCPclose(FILE* stream);

/**
 * Runs `path` with up to four arguments (those not needed are null) and waits for it.
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
 * Forks. Returns 0 in the child, a positive number in the parent, a negative value with the error record set
 * on failure. `flags` is a combination of the bits above.
 */
int VLIBCProcForkEx(unsigned long long flags);

/* ---- Files --------------------------------------------------------------------------------------------- */

/** Creates an empty file or updates its times. 0, or negative on failure. */
int VLIBCFileTouch(const char* path);

/** Non-zero when `path` exists. */
int VLIBCFileExist(const char* path);

/** Non-zero when `path` is a directory. */
int VLIBCFileCheckDir(const char* path);

/**
 * Opens or creates `path` and locks it with flock, exclusively when `mode` is true, shared otherwise.
 *
 * Waits at most `timeout` seconds (0: one try). On success stores the descriptor, which is closed on exec and
 * never 0, 1 or 2, and returns non-zero. On failure returns 0 and stores nothing.
 */
int VLIBCFileLockTimeByFile(const char* path, bool mode, int timeout, int* descriptor);

/** Drops the lock, also for every process that shares the open file, and closes the descriptor. 0 or negative. */
int VLIBCFileUnlockByFile(int descriptor);

/**
 * Reads one key of one section of a unit file into `buffer` of `size` bytes; a longer value is cut to fit.
 *
 * Reads as systemd reads a scalar: blanks around "=" and at the line's end are dropped, lines that begin with
 * "#" or ";" are comments, a trailing backslash joins lines, the last assignment of the section wins, and a
 * section that comes twice is one section. Returns 0 when the key was found.
 */
int VLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* buffer, int size);

/** A table of strings, keys in the order in which they were first set. */
typedef struct VLIBCSzHash VLIBCSzHash;

/**
 * Adds `section` with the keys of `hash` to the file, or replaces it, and leaves other sections as they are.
 * The file is created when missing and replaced through a temporary file and a rename. `flags` is 0.
 * Returns 0, or a negative value on failure.
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

/** Non-zero when "/usr/vesk/etc/vesk-support.conf" has the line name=yes. */
int VLIBCSupportGet(const char* name);

#ifdef __cplusplus
}
#endif

#endif
