/**
 * The boot-sequence library of the platform: which step of the boot the system is in.
 */
#ifndef VESKBOOTSEQ_H
#define VESKBOOTSEQ_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
#    pragma GCC visibility push(default)
#endif

/**
 * The current boot step: the decimal number in "/run/veskbootseq/step"; -1 when there is no such file, or when
 * it holds anything but digits with blanks around them. Thread-safe; reads one small file.
 */
int VESKSystemGetBootStep(void);

#ifdef __GNUC__
#    pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
