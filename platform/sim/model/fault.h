/// Fault injection: faulty answers of the platform manager and of the port manager, for tests of
/// what follows.
#pragma once

#include "model/named.h"
#include "wire/requests.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

namespace sim {

/// A request into which faults can be injected.
struct RequestName {
    std::string_view key;             ///< for chmctl
    bool get = true;                  ///< whether the MIB modules send it to read a row
    bool get_next = false;            ///< whether they send it to read the next row
    bool set = false;                 ///< whether they send it to write
    std::optional<uint32_t> opcode{}; ///< of one of the platform manager

    /// Whether the MIB modules send it with an operation.
    constexpr bool is_sent(int32_t operation) const
    {
        return operation == CHM_REQ_GET ? get : operation == CHM_REQ_GETNEXT ? get_next : set;
    }
};

// The port manager's requests.
inline constexpr std::string_view port_configuration = "port-configuration";
inline constexpr std::string_view next_port = "next-port";
inline constexpr std::string_view transceiver_information = "transceiver-information";
inline constexpr std::string_view transceiver_diagnostics = "transceiver-diagnostics";

/// The port manager's requests and the platform manager's.
struct RequestNames {
    RequestName all[4 + std::size(platform_requests)] = {{port_configuration},
                                                         {next_port, false, true},
                                                         {transceiver_information},
                                                         {transceiver_diagnostics}};

    constexpr RequestNames()
    {
        std::ranges::transform(platform_requests, all + 4, [](const RequestCode& request) {
            return RequestName{request.name, true, request.indexes != 0,
                               request.access == Access::read_write, request.opcode};
        });
    }
};
inline constexpr RequestNames request_name_table;
inline constexpr auto& request_names = request_name_table.all;

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
    uint32_t most;           ///< of the amount, which is 1 at least; see Chassis::set_fault()
};

inline constexpr FaultKind fault_kinds[] = {
    {"fail", FaultEffect::fail, "code", INT32_MAX},
    {"nothing", FaultEffect::nothing, "", 0},
    {"short", FaultEffect::cut, "bytes", 65536},
    {"long", FaultEffect::pad, "bytes", 65536},
    {"delay", FaultEffect::delay, "milliseconds", 10000},
};

struct Fault {
    std::string_view request;           ///< one of request_names
    std::optional<int32_t> operation{}; ///< none for any
    const FaultKind* kind;
    uint32_t amount = 0;
    std::optional<uint32_t> left{}; ///< remaining strikes, none for until it is cleared
    uint32_t number = 0;            ///< that the chassis gives it
    uint64_t strikes = 0;
};

/// Most faults that may be set at a time.
inline constexpr size_t max_faults = 100;

/// Whether a fault strikes such a request.
constexpr bool concerns(const Fault& fault, std::string_view request, int32_t operation)
{
    return fault.request == request && fault.operation.value_or(operation) == operation;
}

} // namespace sim
