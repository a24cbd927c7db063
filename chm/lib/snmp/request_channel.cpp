#include "request_channel.h"

#include "agent_ext.h"
#include "cmi.h"
#include "ipcx.h"
#include "rcode.h"
#include "trace.h"

#include <net-snmp/library/snmp.h>

namespace {

constexpr uint32_t chm_req_route = 39;

int32_t call_platform(const RequestCall& call, void* payload, void** response, uint32_t* length,
                      Requester requester)
{
    const bool for_request = requester == Requester::snmp_request;
    return cmi_req_resp(call.opcode, call.operation, payload, response, length,
                        for_request ? get_snmp_username(nullptr) : nullptr,
                        for_request ? get_snmp_sessionid(nullptr) : 0, chm_req_route,
                        ipcx_response_q, call.req_class);
}

} // namespace

Reply send_request(const RequestCall& call, void* payload, uint32_t length, Requester requester)
{
    void* response = nullptr;
    Reply reply;
    reply.length = length;
    reply.result = call_platform(call, payload, &response, &reply.length, requester);
    reply.response.reset(response);
    reply.answered = response != nullptr;
    return reply;
}

int32_t send_write(const RequestCall& call, void* payload, uint32_t length)
{
    return call_platform(call, payload, nullptr, &length, Requester::snmp_request);
}

void log_failed_write(int32_t result)
{
    snmp_error_record record = {};
    record.code = result;
    __strcpy_to_buf(sizeof record.text, record.text, rcode_format(static_cast<uint32_t>(result)));
    log_snmp_error(&record);
}

int32_t snmp_error_status(int32_t result, NotWritable not_writable)
{
    switch (result) {
    case PLATFORM_OK:
        return SNMP_ERR_NOERROR;
    case PLATFORM_NO_SUCH_ENTRY:
        return SNMP_ERR_NOSUCHNAME;
    case PLATFORM_NOT_WRITABLE:
        return not_writable == NotWritable::reported ? SNMP_ERR_NOTWRITABLE : SNMP_ERR_GENERR;
    default:
        return SNMP_ERR_GENERR;
    }
}

int32_t chm_log_snmp_error(int32_t code)
{
    CHM_TRACE("%s: logging snmp error - %s \n", __func__,
              rcode_format(static_cast<uint32_t>(code)));
    return snmp_error_status(code, NotWritable::reported);
}
