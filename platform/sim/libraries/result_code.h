/// The platform's result codes; rcode.cpp has their texts.
#pragma once

#include "wire/requests.h"

namespace sim {

enum class ResultCode : int32_t {
    ok = PLATFORM_OK,
    no_such_entry = PLATFORM_NO_SUCH_ENTRY,
    not_writable = PLATFORM_NOT_WRITABLE,
    // From here on what the simulated switch answers of its own.
    no_chassis = 16,
    unknown_opcode,
    unknown_operation,
    request_too_short,
    value_out_of_range,
    module_not_in_service,
    internal_error,
};

} // namespace sim
