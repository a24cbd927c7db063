/* The event history and the debug output of the switch's services. */
#ifndef EVLOG_H
#define EVLOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @return 0 when events of a type and subtype are recorded, else non-zero */
int evlog_hist_event_subtype_check(uint32_t type, uint32_t subtype);

/**
 * Records an event in the history.
 * @param length  size of the record in bytes
 * @param record  a 32-bit subtype followed by a NUL-terminated text; copied
 * @return 0, or non-zero when it was not recorded
 */
int evlog_hist_event(uint32_t type, uint32_t length, const void* record);

/** @return non-zero when debug output of a level is on; the three further arguments are 0, 0, 1 */
int evlog_chk_int(int level, int, int, int);

/** Writes one formatted line of debug output. The first argument is 1, the third 0. */
#ifdef __GNUC__
__attribute__((format(printf, 4, 5)))
#endif
void dbgout(int, const void* modname, int, const char* format, ...);

/** Name under which the debug output appears; its address is what dbgout takes. */
extern const char* evlog_dbg_modname;

#ifdef __cplusplus
}
#endif

#endif
