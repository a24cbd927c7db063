/// The switch's libraries as the tests play them: answers as scripted, calls on record.
#pragma once

#include "ipcx.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// A 32-bit integer in wire order at an offset.
uint32_t wire_word(const Bytes& bytes, size_t offset);
void put_wire_word(Bytes& bytes, size_t offset, uint32_t value);
/// The same in host order.
uint32_t host_word(const Bytes& bytes, size_t offset);
void put_host_word(Bytes& bytes, size_t offset, uint32_t value);

void put_text(Bytes& bytes, size_t offset, const std::string& text);

/// One call of cmi_req_resp.
struct PlatformCall {
    uint32_t opcode;
    int32_t operation;
    std::optional<Bytes> payload;
    uint32_t length;
    bool wants_response;
    bool response_was_null;
    std::optional<std::string> user;
    uint32_t session, route, queue, req_class;
};

struct PlatformAnswer {
    int32_t result = 0;
    std::optional<Bytes> response = {};
};

/// A port of the scripted port manager, and the calls made for it.
struct ScriptedPort {
    PlatformAnswer config = {0, port_config(0, 1)};
    PlatformAnswer info = {0, Bytes(471)}; ///< what is known of the transceiver
    PlatformAnswer diagnostics = {0, Bytes(172)};
    uint32_t lanes = 1;
    bool has_auxiliary = true; ///< an array comes with the diagnostics, or with their failure
    int reads = 0;             ///< of the diagnostics

    static Bytes port_config(uint32_t error, uint8_t transceiver);
};

struct ScriptedPlatform {
    std::function<PlatformAnswer(const PlatformCall&)> answer;
    /// Changes the answer of any call that may bring a block, the port manager's too.
    std::function<void(PlatformAnswer&)> tamper;
    std::vector<PlatformCall> calls;
    std::map<uint32_t, ipcx_event_handler*> handlers;
    std::vector<std::string> log;       ///< registrations and debug messages, in order
    void note(const std::string& call); ///< adds to it, and prints it in brackets
    std::vector<Bytes> failed_writes;

    bool history_on = false;
    bool debug_on = false;
    std::vector<Bytes> history; ///< records of the event history
    std::vector<std::string> debug_output;
    int formatted_codes = 0; ///< calls of rcode_format

    int32_t switchover_reason = 0, supervisor_state = 0;

    std::optional<uint32_t> chassis_type = 0;
    uint32_t uptime = 0;                    ///< in hundredths of a second
    std::map<uint32_t, ScriptedPort> ports; ///< by interface index: type, slot, port, 0
    uint8_t port_type = 26;                 ///< of all ports
    /// The next port after an interface index; unless scripted, the one after it in `ports`.
    std::function<PlatformAnswer(uint32_t if_index)> next_port;
    std::vector<std::string> port_calls; ///< of the port manager, in order

    std::vector<std::string> unit_status; ///< heartbeats and unit statuses sent, in order

    /// Has rows of one record answer GET and GETNEXT by the index in their first word.
    void serve_rows(std::map<uint32_t, Bytes> rows);

    /// Has the reads of one write find a record, but the one for the write itself answer `lookup`,
    /// and the SET `write`.
    void answer_write(const Bytes& record, int32_t lookup, int32_t write);
};

/// A message of the scripted transport.
struct Message {
    std::optional<Bytes> payload;
};

/// The platform of the running test; a fresh one for each.
extern ScriptedPlatform platform;

/// Blocks handed out; whoever counts them takes out those that were freed.
std::set<void*>& platform_blocks();
