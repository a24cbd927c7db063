/// Faults on demand: answers of the platform manager and of the port manager that go wrong because
/// somebody wants to see what comes of it.
#pragma once

#include "model/named.h"
#include "opcodes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sim {

/// The port manager's calls, as requests beside the platform manager's opcodes.
enum class PortCall : uint32_t { configuration = 1, next_port, information, diagnostics };

/// Every request that may go wrong: the platform manager's by their opcodes, and the port
/// manager's.
inline constexpr Named<uint32_t> request_names[] = {
    {"port-configuration", static_cast<uint32_t>(PortCall::configuration)},
    {"next-port", static_cast<uint32_t>(PortCall::next_port)},
    {"transceiver-information", static_cast<uint32_t>(PortCall::information)},
    {"transceiver-diagnostics", static_cast<uint32_t>(PortCall::diagnostics)},
    {"terminal-message", static_cast<uint32_t>(Opcode::terminal_message)},
    {"physical-entity", static_cast<uint32_t>(Opcode::physical_entity)},
    {"power-supply-group", static_cast<uint32_t>(Opcode::power_supply_group)},
    {"fru-power-status", static_cast<uint32_t>(Opcode::fru_power_status)},
    {"module", static_cast<uint32_t>(Opcode::module)},
    {"max-default-in-line-power", static_cast<uint32_t>(Opcode::max_default_in_line_power)},
    {"sensor-value", static_cast<uint32_t>(Opcode::sensor_value)},
    {"sensor-threshold", static_cast<uint32_t>(Opcode::sensor_threshold)},
    {"last-change-time", static_cast<uint32_t>(Opcode::last_change_time)},
    {"enable-status-notification", static_cast<uint32_t>(Opcode::enable_status_notification)},
    {"redundancy", static_cast<uint32_t>(Opcode::redundancy)},
    {"fan-tray-status", static_cast<uint32_t>(Opcode::fan_tray_status)},
    {"led", static_cast<uint32_t>(Opcode::led)},
    {"power-supply-status", static_cast<uint32_t>(Opcode::power_supply_status)},
};

inline constexpr Named<int32_t> operation_names[] = {
    {"get", CHM_REQ_GET}, {"get-next", CHM_REQ_GETNEXT}, {"set", CHM_REQ_SET}};

enum class FaultEffect {
    fail,    ///< the request is not served; the amount is the result code
    nothing, ///< the request is not served either, but answered with success and no block
    cut,     ///< the block of the answer misses as many bytes as the amount says
    pad,     ///< it has as many more, all zero
    delay,   ///< the answer takes as many milliseconds more
};

struct FaultKind {
    std::string_view key; ///< for chmctl
    FaultEffect effect;
    std::string_view amount; ///< what it is, empty for none
    uint32_t most;           ///< of the amount, which is 1 at least; see set_fault()
};

inline constexpr FaultKind fault_kinds[] = {
    {"fail", FaultEffect::fail, "code", INT32_MAX},
    {"nothing", FaultEffect::nothing, "", 0},
    {"short", FaultEffect::cut, "bytes", 65536},
    {"long", FaultEffect::pad, "bytes", 65536},
    {"delay", FaultEffect::delay, "milliseconds", 10000},
};

struct Fault {
    uint32_t request;                   ///< see request_names
    std::optional<int32_t> operation{}; ///< none for any
    const FaultKind* kind;
    uint32_t amount = 0;
    std::optional<uint32_t> left{}; ///< how often it still strikes, none for until it is cleared
    uint32_t number = 0;            ///< given when it is set
    uint64_t strikes = 0;
};

/// What the faults make of one request, besides the time that it takes.
struct Disturbance {
    std::optional<int32_t> result{}; ///< with which the request is answered without being served
    ptrdiff_t more_bytes = 0;        ///< of the block, or fewer

    /// The size of a block of so many bytes.
    size_t disturbed(size_t size) const
    {
        const auto whole = static_cast<ptrdiff_t>(size) + more_bytes;
        return whole > 0 ? static_cast<size_t>(whole) : 0;
    }
};

/// The faults that are set, in the order of their numbers. Spent ones are gone.
const std::vector<Fault>& faults();

/// Most faults that may be set at a time.
inline constexpr size_t max_faults = 100;

/// Sets a fault. Throws std::invalid_argument for one too many, for one with which delays, cut or
/// padded bytes of a single request would add up to more than the most of their kind, and for an
/// answer of the port manager's that is cut or padded: without a length, its bytes are relied on.
/// @return its number
uint32_t set_fault(Fault fault);

/// Clears the fault with a number. @return false when there is none
bool clear_fault(uint32_t number);

/// Has the faults strike one request: waits as long as they say. Comes before every answer.
Disturbance disturb(uint32_t request, int32_t operation);

} // namespace sim
