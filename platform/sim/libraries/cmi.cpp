#include "libraries/c_boundary.h"
#include "libraries/platform_manager.h"

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* /*user*/, uint32_t /*session*/,
                     uint32_t /*route*/, uint32_t /*queue*/, uint32_t /*req_class*/)
{
    const size_t size = request == nullptr ? 0 : *length;
    *length = 0;
    return sim::guard(static_cast<int32_t>(sim::ResultCode::internal_error), [&] {
        sim::Answer answer =
            sim::serve_request(opcode, operation, {static_cast<const std::byte*>(request), size});
        if (response != nullptr && answer.block) {
            *response = answer.block.release();
            *length = static_cast<uint32_t>(answer.size);
        }
        return static_cast<int32_t>(answer.result);
    });
}
