#include "request_channel.h"

#include "agent_ext.h"
#include "cmi.h"
#include "ipcx.h"
#include "rcode.h"
#include "trace.h"

#include <net-snmp/library/snmp.h>

namespace {

inline Reply call_platform(const RequestCode& code, chm_req_operation operation, void* payload,
                           uint32_t length, Requester requester)
{
    void* response = nullptr;
    const bool for_request = requester == Requester::snmp_request;
    const int32_t result = cmi_req_resp(code.opcode, operation, payload,
                                        operation == CHM_REQ_SET ? nullptr : &response, &length,
                                        for_request ? get_snmp_username(nullptr) : nullptr,
                                        for_request ? get_snmp_sessionid(nullptr) : 0,
                                        CHM_REQ_ROUTE, ipcx_response_q, code.req_class);
    return {result, response != nullptr, length, PlatformBlock(response)};
}

} // namespace

Reply send_request(const RequestCode& code, chm_req_operation operation, uint32_t length,
                   Requester requester)
{
    return call_platform(code, operation, nullptr, length, requester);
}

Reply exchange_record(const RequestCode& code, chm_req_operation operation, void* record,
                      uint32_t size, Requester requester, TakeResponse take)
{
    Reply reply = call_platform(code, operation, record, size, requester);
    if (reply.answered && (reply.succeeded() || take == TakeResponse::always)) {
        reply.take_into(record, size);
    }
    return reply;
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
