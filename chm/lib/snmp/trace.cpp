#include "trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace {

/// A record of the event history: the subtype, immediately followed by the text.
struct trace_record {
    uint32_t subtype;
    char text[512];
};
static_assert(offsetof(trace_record, text) == 4);

} // namespace

void record_trace(uint32_t level, const char* format, ...)
{
    trace_record record;
    record.subtype = level;

    va_list arguments;
    va_start(arguments, format);
    const int formatted = vsnprintf(record.text, sizeof record.text, format, arguments);
    va_end(arguments);
    if (formatted < 0) {
        return;
    }
    const auto text_length = std::min(static_cast<size_t>(formatted), sizeof record.text - 1);
    evlog_hist_event(CHM_EVENT_TYPE, static_cast<uint32_t>(sizeof record.subtype + text_length + 1),
                     &record);
}
