/**
 * The boot-sequence library of the platform: which step of the boot the system is in.
 */
#ifndef VESKBOOTSEQ_H
#define VESKBOOTSEQ_H

#ifdef __cplusplus
extern "C" {
#endif

/**
 * The current boot step: the decimal number in "/run/veskbootseq/step", -1 when there is none.
 * Thread-safe; reads one small file.
 */
int VESKSystemGetBootStep(void);

#ifdef __cplusplus
}
#endif

#endif
