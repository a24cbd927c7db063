/// The platform manager: the tables that requests read and write, over the chassis in place.
#pragma once

#include "libraries/result_code.h"
#include "model/chassis.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace sim {

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};

/// The answer to a request.
struct Answer {
    ResultCode result = ResultCode::ok;
    std::unique_ptr<void, FreeBlock> block{}; ///< malloc'd, null for none
    size_t size = 0;                          ///< of the block in bytes
};

/// Serves one request. @param request the record that it carries
Answer serve_request(uint32_t opcode, int32_t operation, std::span<const std::byte> request);

/// Sets the chassis, in place of the previous one, if any; a replacement is an inventory change.
void place_chassis(Chassis chassis);

/// The chassis in place, or null before there is one.
Chassis* chassis_in_place();

} // namespace sim
