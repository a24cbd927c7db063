#include "scripted_platform.h"

#include "agent_ext.h"
#include "bounded_copy.h"
#include "cmi.h"
#include "evlog.h"
#include "hactl.h"
#include "rcode.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

ScriptedPlatform platform;

uint32_t wire_word(const Bytes& bytes, size_t offset)
{
    return uint32_t{bytes.at(offset)} << 24 | uint32_t{bytes.at(offset + 1)} << 16 |
           uint32_t{bytes.at(offset + 2)} << 8 | uint32_t{bytes.at(offset + 3)};
}

void put_wire_word(Bytes& bytes, size_t offset, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i) {
        bytes.at(offset + i) = static_cast<uint8_t>(value >> (24 - 8 * i));
    }
}

uint32_t host_word(const Bytes& bytes, size_t offset)
{
    uint32_t value = 0;
    memcpy(&value, &bytes.at(offset + 3) - 3, sizeof value);
    return value;
}

void put_host_word(Bytes& bytes, size_t offset, uint32_t value)
{
    memcpy(&bytes.at(offset + 3) - 3, &value, sizeof value);
}

void put_text(Bytes& bytes, size_t offset, const std::string& text)
{
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<ptrdiff_t>(offset));
}

void ScriptedPlatform::note(const std::string& call)
{
    log.push_back(call);
    printf("[%s]\n", call.c_str());
}

void ScriptedPlatform::answer_write(const Bytes& record, int32_t lookup, int32_t write)
{
    calls.clear();
    failed_writes.clear();
    // The agent reads the instance before it calls the write method.
    answer = [=, this](const PlatformCall& call) -> PlatformAnswer {
        return call.operation == 3 ? PlatformAnswer{write, {}}
                                   : PlatformAnswer{calls.size() == 1 ? 0 : lookup, record};
    };
}

void ScriptedPlatform::serve_rows(std::map<uint32_t, Bytes> rows)
{
    answer = [rows = std::move(rows)](const PlatformCall& call) -> PlatformAnswer {
        if (!call.payload) {
            return {1, {}};
        }
        const uint32_t index = wire_word(call.payload.value(), 0);
        const auto row = call.operation == 1 ? rows.find(index) : rows.upper_bound(index);
        if (call.operation == 3 || row == rows.end()) {
            return {call.operation == 3 ? 0 : 1, {}};
        }
        return {0, row->second};
    };
}

extern "C" {

uint32_t ipcx_response_q = 77;
const char* evlog_dbg_modname = "test";

int32_t hactl_swover_reason_get()
{
    return platform.switchover_reason;
}

int32_t hactl_supstate_get()
{
    return platform.supervisor_state;
}

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* user, uint32_t session, uint32_t route,
                     uint32_t queue, uint32_t req_class)
{
    PlatformCall call = {
        opcode,  operation, {},    *length,  response != nullptr, response && !*response, {},
        session, route,     queue, req_class};
    if (request) {
        const auto* bytes = static_cast<const uint8_t*>(request);
        call.payload = Bytes(bytes, bytes + *length);
    }
    if (user) {
        call.user = user;
    }
    platform.calls.push_back(call);
    const PlatformAnswer answer = platform.answer ? platform.answer(call) : PlatformAnswer{1, {}};
    if (response && answer.response) {
        // Exactly as many bytes as the length says, so that a sanitizer sees who reads further.
        *response = malloc(std::max<size_t>(answer.response->size(), 1));
        std::copy(answer.response->begin(), answer.response->end(),
                  static_cast<uint8_t*>(*response));
        *length = static_cast<uint32_t>(answer.response->size());
    }
    return answer.result;
}

void* ipcx_payload_get(void* message)
{
    auto& payload = static_cast<Message*>(message)->payload;
    return payload ? payload->data() : nullptr;
}

int register_for_notification(uint32_t opcode, ipcx_event_handler* handler)
{
    platform.handlers[opcode] = handler;
    platform.note("register " + std::to_string(opcode));
    return 0;
}

int unregister_for_notification(uint32_t opcode)
{
    platform.handlers.erase(opcode);
    platform.note("unregister " + std::to_string(opcode));
    return 0;
}

const char* get_snmp_username(void*)
{
    return "operator";
}

uint32_t get_snmp_sessionid(void*)
{
    return 4711;
}

void log_snmp_error(const void* record)
{
    const auto* bytes = static_cast<const uint8_t*>(record);
    platform.failed_writes.emplace_back(bytes, bytes + 464);
}

netsnmp_variable_list* build_varbind(netsnmp_variable_list* prev, const void* value, u_char type,
                                     size_t value_length, const oid* name, size_t name_length)
{
    netsnmp_variable_list* binding = nullptr;
    snmp_varlist_add_variable(&binding, name, name_length, type, value, value_length);
    if (prev) {
        prev->next_variable = binding;
    }
    return binding;
}

void send_connUnitStatusChange_notif(int32_t status)
{
    platform.unit_status.push_back("status " + std::to_string(status));
}

void snmp_heartbeat_send()
{
    platform.unit_status.emplace_back("heartbeat");
}

void* __memcpy_to_buf(size_t capacity, void* destination, const void* source, size_t n)
{
    if (n > capacity) {
        abort(); // the library keeps every copy within its capacity
    }
    return memcpy(destination, source, n);
}

char* __strcpy_to_buf(size_t capacity, char* destination, const char* source)
{
    snprintf(destination, capacity, "%s", source);
    return destination;
}

const char* rcode_format(uint32_t code)
{
    static char text[400];
    ++platform.formatted_codes;
    snprintf(text, sizeof text, "code %u %0300d", code, 0);
    return text;
}

int evlog_hist_event_subtype_check(uint32_t type, uint32_t subtype)
{
    return platform.history_on && type == 0x730000 && subtype == 101 ? 0 : 1;
}

int evlog_hist_event(uint32_t type, uint32_t length, const void* record)
{
    const auto* bytes = static_cast<const uint8_t*>(record);
    if (type == 0x730000) {
        platform.history.emplace_back(bytes, bytes + length);
    }
    return 0;
}

int evlog_chk_int(int level, int first, int second, int third)
{
    return platform.debug_on && level == 101 && first == 0 && second == 0 && third == 1;
}

void dbgout(int one, const void* modname, int zero, const char* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (one == 1 && zero == 0 && modname == &evlog_dbg_modname) {
        platform.debug_output.emplace_back(text);
    }
}

} // extern "C"
