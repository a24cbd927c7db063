/// The request channel: makes every request to the platform manager.
#pragma once

#include "bounded_copy.h"
#include "wire/requests.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <type_traits>

/// The origin of a request.
enum class Requester {
    snmp_request,  ///< the user and session of the SNMP request being served
    event_handler, ///< no user, session 0
};

/// A block that the platform allocated for an answer; released exactly once.
struct ReleaseBlock {
    void operator()(void* block) const { free(block); }
};
using PlatformBlock = std::unique_ptr<void, ReleaseBlock>;

/// The answer to a request. A failed request may have a response too.
struct Reply {
    int32_t result = PLATFORM_OK; ///< 0, or a platform result code
    bool answered = false;        ///< a response came
    uint32_t length = 0;          ///< of the response in bytes if one came, else of the request
    PlatformBlock response;       ///< as it travelled, until it is taken

    bool succeeded() const { return result == PLATFORM_OK; }

    /// Copies the response over a record, as much of it as both hold, and releases it.
    void take_into(void* record, size_t size)
    {
        __memcpy_to_buf(size, record, response.get(), std::min<size_t>(length, size));
        response.reset();
    }
};

/// Sends a request without a payload.
/// @param length 0, or the expected size of the response in bytes
Reply send_request(const RequestCode& code, chm_req_operation operation, uint32_t length,
                   Requester requester);

/// Records a write that the platform refused.
void log_failed_write(int32_t result);

/// When a response is taken over into the record that asked for it.
enum class TakeResponse { on_success, always };

/// One exchange of a record: sends it and takes the response over it; a SET asks for none. The part
/// that a short response does not cover keeps what was sent. A response that is not taken stays in
/// the reply.
/// @param size of the record in bytes
Reply exchange_record(const RequestCode& code, chm_req_operation operation, void* record,
                      uint32_t size, Requester requester, TakeResponse take);

template <typename Record>
Reply exchange(const Request<Record>& request, chm_req_operation operation,
               std::type_identity_t<Record>& record, Requester requester = Requester::snmp_request,
               TakeResponse take = TakeResponse::on_success)
{
    return exchange_record(request, operation, &record, sizeof record, requester, take);
}

/// Reads a scalar, for which nothing is sent. @return none when none came, or one cut short
template <typename Scalar>
std::optional<Scalar> read_scalar(const Request<Scalar>& request)
{
    Reply reply = send_request(request, CHM_REQ_GET, 0, Requester::snmp_request);
    if (!reply.succeeded() || !reply.answered || reply.length < sizeof(Scalar)) {
        return std::nullopt;
    }
    Scalar scalar;
    reply.take_into(&scalar, sizeof scalar);
    return scalar;
}

/// Writes a whole record; a refusal is recorded. @return 0, or the platform's result code
template <typename Record>
int32_t write_record(const Request<Record>& request, std::type_identity_t<Record>& record)
{
    const int32_t result = exchange(request, CHM_REQ_SET, record).result;
    if (result != PLATFORM_OK) {
        log_failed_write(result);
    }
    return result;
}

/// The SNMP error of a write that the platform answers with "not writable".
enum class NotWritable { reported, general_error };

/// The SNMP error status for a result of the platform or of a row lookup: noSuchName for 1, genErr
/// for any other failure, save where a table reports notWritable for 2.
int32_t snmp_error_status(int32_t result, NotWritable not_writable);

/// Traces a failure and turns its result code into an SNMP error status: noSuchName for 1,
/// notWritable for 2, genErr for any other, noError for 0.
int32_t chm_log_snmp_error(int32_t code);
