/// The switch's libraries as the tests play them: answers as scripted, calls on record.
#pragma once

#include "bytes.h"
#include "ipcx.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

void put_text(Bytes& bytes, size_t offset, const std::string& text);

/// A record that begins with these words in wire order.
Bytes wire_record(size_t size, const std::vector<uint32_t>& words);

/// One call of cmi_req_resp. What is the same in all of them is checked where it arrives.
struct PlatformCall {
    uint32_t opcode;
    int32_t operation;
    std::optional<Bytes> payload;
    uint32_t length;
    bool wants_response;
    bool for_user; ///< in the name of a request's user and session, else of nobody
};

struct PlatformAnswer {
    int32_t result = 0;
    std::optional<Bytes> response = {};
};

/// A port of the scripted port manager, and the calls made for it.
struct ScriptedPort {
    PlatformAnswer config = {0, Bytes(212)};
    PlatformAnswer info = {0, Bytes(471)}; ///< what is known of the transceiver
    PlatformAnswer diagnostics = {0, Bytes(172)};
    uint32_t lanes = 1;
    bool has_auxiliary = true; ///< an array comes with the diagnostics, or with their failure
    int reads = 0;             ///< of the diagnostics
};

/// A port whose transceiver has diagnostics, internally calibrated, with raw words by their offset.
ScriptedPort port_with_diagnostics(const std::map<size_t, uint32_t>& words);

/// The interface index of a port.
constexpr uint32_t port_at(uint32_t slot, uint32_t number)
{
    return 26U << 24 | slot << 16 | number << 8;
}

struct ScriptedPlatform {
    std::function<PlatformAnswer(const PlatformCall&)> answer;
    /// Changes the answer of any call that may bring a block, the port manager's too.
    std::function<void(PlatformAnswer&)> tamper;
    std::vector<PlatformCall> calls;
    std::map<uint32_t, ipcx_event_handler*> handlers;
    std::vector<Bytes> failed_writes;

    bool history_on = false;
    bool debug_on = false;
    std::vector<Bytes> history; ///< records of the event history
    std::vector<std::string> debug_output;

    int32_t switchover_reason = 0, supervisor_state = 0;

    std::optional<uint32_t> chassis_type = 0;
    uint32_t uptime = 0;                    ///< in hundredths of a second
    std::map<uint32_t, ScriptedPort> ports; ///< by interface index: type, slot, port, 0
    uint8_t port_type = 26;                 ///< of all ports
    /// The next port after an interface index; unless scripted, the one after it in `ports`.
    std::function<PlatformAnswer(uint32_t if_index)> next_port;
    int port_calls = 0; ///< of the port manager

    std::vector<std::string> unit_status; ///< heartbeats and unit statuses sent, in order

    /// Has one and the same answer for every call.
    void always_answer(const PlatformAnswer& same);
};

/// A message of the scripted transport.
struct Message {
    std::optional<Bytes> payload;
};

/// The platform of the running test; a fresh one for each.
extern ScriptedPlatform platform;

/// Blocks handed out; whoever counts them takes out those that were freed.
std::set<void*>& platform_blocks();
