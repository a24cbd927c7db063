/// Faults on demand: answers of the platform manager and of the port manager that go wrong because
/// somebody wants to see what comes of it.
#pragma once

#include "model/named.h"
#include "opcodes.h"

#include <cstdint>
#include <optional>
#include <string_view>

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
    cut,     ///< the blocks of the answer miss as many bytes as the amount says
    pad,     ///< they have as many more, all zero
    delay,   ///< the answer takes as many milliseconds more
};

struct FaultKind {
    std::string_view key; ///< for chmctl
    FaultEffect effect;
    std::string_view amount; ///< what it is, empty for none
    uint32_t most;           ///< of the amount, which is 1 at least
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
    uint32_t number = 0;            ///< that the chassis gives it
    uint64_t strikes = 0;
};

} // namespace sim
