/// Trace: one line of diagnostics, to the event history and to the debug output, whichever is on.
#pragma once

#include "evlog.h"

#include <cstdint>

enum : uint32_t {
    CHM_EVENT_TYPE = 0x730000, ///< event history type of this library's records
    CHM_TRACE_LEVEL = 101,     ///< subtype and debug level of its trace
};

/// Formats a trace line (at most 511 characters of it) and records it in the event history.
[[gnu::format(printf, 2, 3)]] void record_trace(uint32_t level, const char* format, ...);

/// Traces a printf format with its arguments at a level. A macro, because the arguments are
/// evaluated for each of the two sinks that is on, and not at all when both are off.
#define CHM_TRACE_AT(level, ...)                                                                   \
    do {                                                                                           \
        if (evlog_hist_event_subtype_check(CHM_EVENT_TYPE, level) == 0) {                          \
            record_trace(level, __VA_ARGS__);                                                      \
        }                                                                                          \
        if (evlog_chk_int(level, 0, 0, 1) != 0) {                                                  \
            dbgout(1, &evlog_dbg_modname, 0, __VA_ARGS__);                                         \
        }                                                                                          \
    } while (false)

#define CHM_TRACE(...) CHM_TRACE_AT(CHM_TRACE_LEVEL, __VA_ARGS__)
