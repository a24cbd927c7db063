#include "libraries/c_boundary.h"
#include "libraries/event_log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

const char* evlog_dbg_modname = "chm";

int evlog_hist_event_subtype_check(uint32_t /*type*/, uint32_t /*subtype*/)
{
    return sim::trace_switches().history ? 0 : 1;
}

int evlog_hist_event(uint32_t type, uint32_t length, const void* record)
{
    uint32_t subtype = 0;
    if (!sim::trace_switches().history || record == nullptr || length < sizeof subtype) {
        return 1;
    }
    std::memcpy(&subtype, record, sizeof subtype);
    const char* text = static_cast<const char*>(record) + sizeof subtype;
    const size_t room = std::min<size_t>(length - sizeof subtype, sim::max_history_text);
    return sim::guard(1, [&] {
        sim::record_history({text, strnlen(text, room)}, type, subtype);
        return 0;
    });
}

int evlog_chk_int(int /*level*/, int, int, int)
{
    return sim::trace_switches().debug ? 1 : 0;
}

void dbgout(int, const void* modname, int, const char* format, ...)
{
    char text[sim::max_history_text];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    // Formats end in a line feed or do not.
    const size_t length = std::string_view(text).find_last_not_of('\n') + 1;
    snmp_log(LOG_DEBUG, "%s: %.*s\n", *static_cast<const char* const*>(modname),
             static_cast<int>(length), text);
}
