#include "libraries/c_boundary.h"
#include "libraries/result_code.h"

#include <cinttypes>
#include <cstdio>

const char* rcode2str(uint32_t code)
{
    using sim::ResultCode;
    switch (static_cast<ResultCode>(code)) {
    case ResultCode::ok:
        return "success";
    case ResultCode::no_such_entry:
        return "no such entry";
    case ResultCode::not_writable:
        return "entry cannot be written";
    case ResultCode::no_chassis:
        return "no chassis loaded";
    case ResultCode::unknown_opcode:
        return "unknown opcode";
    case ResultCode::unknown_operation:
        return "operation not known for this opcode";
    case ResultCode::request_too_short:
        return "request shorter than its record";
    case ResultCode::value_out_of_range:
        return "value out of its range";
    case ResultCode::module_not_in_service:
        return "module is not in service";
    case ResultCode::internal_error:
        return "internal error";
    }
    return "unknown result code";
}

const char* rcode_format(uint32_t code)
{
    static char text[64];
    std::snprintf(text, sizeof text, "%s (0x%" PRIx32 ")", rcode2str(code), code);
    return text;
}
