#include "scripted_platform.h"

#include "agent_ext.h"
#include "bounded_copy.h"
#include "cmi.h"
#include "evlog.h"
#include "hactl.h"
#include "if_index.h"
#include "pdb.h"
#include "port_client.h"
#include "port_manager.h"
#include "rcode.h"
#include "wire/events.h"
#include "wire/requests.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tuple>

ScriptedPlatform platform;

std::set<void*>& platform_blocks()
{
    static auto* blocks = new std::set<void*>; // outlives whatever still frees at the end
    return *blocks;
}

void put_text(Bytes& bytes, size_t offset, const std::string& text)
{
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<ptrdiff_t>(offset));
}

Bytes wire_record(size_t size, const std::vector<uint32_t>& words)
{
    Bytes record(size);
    for (size_t i = 0; i < words.size(); ++i) {
        put_wire_word(record, 4 * i, words[i]);
    }
    return record;
}

void ScriptedPlatform::always_answer(const PlatformAnswer& same)
{
    answer = [same](const PlatformCall&) { return PlatformAnswer(same); };
}

ScriptedPort port_with_diagnostics(const std::map<size_t, uint32_t>& words)
{
    ScriptedPort port;
    port.config.response->at(211) = 1; // there is a transceiver
    port.info.response->at(101) = 0x68;
    put_host_word(*port.diagnostics.response, 8, 1);
    for (const auto& [offset, word] : words) {
        put_host_word(*port.diagnostics.response, offset, word);
    }
    return port;
}

namespace {

/// A block of exactly so many bytes, so that a sanitizer sees who reads further.
void* block_of(const Bytes& bytes)
{
    void* block = malloc(std::max<size_t>(bytes.size(), 1));
    std::copy(bytes.begin(), bytes.end(), static_cast<uint8_t*>(block));
    platform_blocks().insert(block);
    return block;
}

/// Answers with a block. One that comes with its length may have any; one without has the bytes
/// that the port manager promises, at least.
int32_t hand_out(PlatformAnswer answer, void** response, uint32_t* length, size_t promised = 0)
{
    if (platform.tamper) {
        platform.tamper(answer);
    }
    if (!response || !answer.response) {
        return answer.result;
    }
    answer.response->resize(std::max(answer.response->size(), promised));
    *response = block_of(*answer.response);
    if (length) {
        *length = static_cast<uint32_t>(answer.response->size());
    }
    return answer.result;
}

const char* name_of_event(uint32_t number)
{
    return std::ranges::find(platform_events, number, &EventCode::number)->name;
}

/// Answers a call for one port, which must be made as all of them are.
int32_t answer_of_port(PlatformAnswer ScriptedPort::*answer, size_t promised, uint32_t queue,
                       int32_t operation, uint32_t arg, uint32_t if_index, uint32_t count,
                       void** response, uint32_t req_class)
{
    ++platform.port_calls;
    EXPECT_EQ(std::tuple(queue, operation, arg, count, req_class), std::tuple(77, 1, 1, 1, 5));
    const auto port = platform.ports.find(if_index);
    return port == platform.ports.end()
               ? 404
               : hand_out(port->second.*answer, response, nullptr, promised);
}

} // namespace

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
    PlatformCall call = {opcode,  operation,           {},
                         *length, response != nullptr, user && user == std::string("operator")};
    EXPECT_EQ(std::tuple(user != nullptr, session, route, queue, req_class),
              std::tuple(call.for_user, call.for_user ? 4711 : 0, 39, ipcx_response_q,
                         opcode == terminal_message || opcode == redundancy_status ? 4 : 5))
        << opcode;
    if (request) {
        const auto* bytes = static_cast<const uint8_t*>(request);
        call.payload = Bytes(bytes, bytes + *length);
    }
    platform.calls.push_back(call);
    const PlatformAnswer answer = platform.answer ? platform.answer(call) : PlatformAnswer{1, {}};
    return hand_out(answer, response, length);
}

void* ipcx_payload_get(void* message)
{
    auto& payload = static_cast<::Message*>(message)->payload;
    return payload ? payload->data() : nullptr;
}

int register_for_notification(uint32_t opcode, ipcx_event_handler* handler)
{
    platform.handlers[opcode] = handler;
    printf("[register %s]\n", name_of_event(opcode));
    return 0;
}

int unregister_for_notification(uint32_t opcode)
{
    platform.handlers.erase(opcode);
    printf("[unregister %s]\n", name_of_event(opcode));
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
    snprintf(text, sizeof text, "code %0*u", code > 0xffff ? 300 : 1, code); // some are long
    return text;
}

int evlog_hist_event_subtype_check(uint32_t type, uint32_t subtype)
{
    return platform.history_on && type == 0x730000 && subtype == 101 ? 0 : 1;
}

int evlog_hist_event(uint32_t type, uint32_t length, const void* record)
{
    const auto* bytes = static_cast<const uint8_t*>(record);
    EXPECT_EQ(type, 0x730000U);
    platform.history.emplace_back(bytes, bytes + length);
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
    EXPECT_EQ(std::tuple(one, modname, zero), std::tuple(1, &evlog_dbg_modname, 0));
    platform.debug_output.emplace_back(text);
}

const char* rcode2str(uint32_t code)
{
    return rcode_format(code);
}

uint32_t get_snmp_user_uptime()
{
    return platform.uptime;
}

int if_index_get_slot(uint32_t if_index, uint8_t* slot)
{
    *slot = static_cast<uint8_t>(if_index >> 16);
    return 0;
}

int if_index_get_port(uint32_t if_index, uint8_t* port)
{
    *port = static_cast<uint8_t>(if_index >> 8);
    return 0;
}

int if_index_get_type(uint32_t if_index, uint8_t* type)
{
    *type = static_cast<uint8_t>(if_index >> 24);
    return 0;
}

int if_index_phy_ethernet_init(uint32_t* if_index, uint8_t slot, uint8_t port, uint8_t zero)
{
    *if_index |= uint32_t{platform.port_type} << 24 | uint32_t{slot} << 16 | uint32_t{port} << 8;
    return zero;
}

void sprintf_if_index(char* buffer, uint32_t if_index)
{
    snprintf(buffer, IF_INDEX_TEXT_SIZE, "Port%u/%u", if_index >> 16 & 0xff, if_index >> 8 & 0xff);
}

int pdb_get_chassis_type(uint32_t* chassis_type)
{
    if (platform.chassis_type) {
        *chassis_type = *platform.chassis_type;
    }
    return platform.chassis_type ? 0 : -1;
}

int pdb_get_mod_info(const uint32_t*, void* info, uint32_t)
{
    memset(info, 0, PDB_MOD_INFO_SIZE);
    return 0;
}

int32_t pm_cmi_get_port_config(uint32_t queue, int32_t operation, uint32_t arg, uint32_t* if_index,
                               uint32_t* count, void** response, uint32_t req_class)
{
    return answer_of_port(&ScriptedPort::config, 212, queue, operation, arg, *if_index, *count,
                          response, req_class);
}

int32_t pm_get_next_port_fcot_info_with_ddm(uint32_t queue, int32_t operation, uint32_t arg,
                                            uint32_t* if_index, uint32_t* count, void** response,
                                            uint32_t req_class)
{
    ++platform.port_calls;
    EXPECT_EQ(std::tuple(queue, operation, arg, *count, req_class), std::tuple(77, 2, 1, 1, 5));
    if (platform.next_port) {
        return hand_out(platform.next_port(*if_index), response, nullptr, 4);
    }
    const auto next = platform.ports.upper_bound(*if_index);
    if (next == platform.ports.end()) {
        return 1;
    }
    Bytes block(64);
    put_host_word(block, 0, next->first);
    return hand_out({0, block}, response, nullptr, 4);
}

int32_t pm_cmi_get_fcot_info(uint32_t queue, int32_t operation, uint32_t arg, uint32_t* if_index,
                             uint32_t* count, void** response, uint32_t req_class)
{
    return answer_of_port(&ScriptedPort::info, 471, queue, operation, arg, *if_index, *count,
                          response, req_class);
}

int32_t pm_get_sfp_diag_info(uint32_t queue, uint32_t if_index, void** diag, void** aux,
                             uint32_t* num_of_lanes)
{
    const auto port = platform.ports.find(if_index);
    if (port == platform.ports.end() || port->second.has_auxiliary) {
        *aux = block_of(Bytes(16));
    }
    uint32_t lanes = 0;
    if (port != platform.ports.end()) {
        ++port->second.reads;
        *num_of_lanes = lanes = port->second.lanes;
    }
    return answer_of_port(&ScriptedPort::diagnostics, size_t{172} * lanes, queue, 1, 1, if_index, 1,
                          diag, 5);
}

int32_t pc_sfp_get_vendor_info(const void* fcot_res, char* manufacturer, char* model,
                               char* revision, char* serial, char* alias)
{
    // Each text is filled up with the block's last byte, and so ends where that is 0.
    const auto fill = static_cast<const uint8_t*>(fcot_res)[470];
    const std::tuple<char*, size_t, const char*> texts[] = {
        {manufacturer, 255, "maker"}, {model, 255, "part"},   {revision, 24, "revision"},
        {serial, 33, "serial"},       {alias, 33, "another"},
    };
    for (const auto& [text, width, value] : texts) {
        memset(text, fill, width);
        memcpy(text, value, strlen(value));
    }
    return 0;
}

} // extern "C"
