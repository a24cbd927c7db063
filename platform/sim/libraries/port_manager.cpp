#include "libraries/c_boundary.h"
#include "libraries/disturbance.h"
#include "libraries/heartbeat.h"
#include "libraries/malloc_copy.h"
#include "libraries/platform_manager.h"
#include "libraries/result_code.h"
#include "model/fault.h"
#include "model/ports.h"
#include "records/transceiver_record.h"

#include <array>
#include <string_view>

namespace sim {
namespace {

/// The start of a port's configuration record.
struct PortConfigStart {
    uint32_t if_index;
    uint32_t error;
};
static_assert(offsetof(PortConfigStart, error) == PM_PORT_CONFIG_ERROR);

using PortConfig = std::array<std::byte, PM_PORT_CONFIG_SIZE>;
using Auxiliary = std::array<std::byte, PM_DIAG_AUX_SIZE>;
static_assert(sizeof(diag_info) == PM_DIAG_INFO_SIZE);

PortConfig encode_config(const Chassis& chassis, const Entity& port)
{
    const bool readable = has_diagnostics(chassis, port);
    const bool in_service = readable || chassis.status(port) == EntityStatus::ok;
    const ResultCode error = in_service ? ResultCode::ok : ResultCode::module_not_in_service;
    const PortConfigStart start = {port.port.value().if_index, static_cast<uint32_t>(error)};
    PortConfig config{};
    std::memcpy(config.data(), &start, sizeof start);
    config[PM_PORT_CONFIG_TRANSCEIVER] = std::byte{readable};
    return config;
}

/// Hands a copy of a block over to the caller.
template <typename Block>
ResultCode hand_over(const Block& block, void** response)
{
    *response = malloc_copy(std::as_bytes(std::span(block)));
    return ResultCode::ok;
}

/// Runs the body of a call with the chassis. @return the call's result
template <typename Body>
int32_t with_chassis(std::string_view request, Body body)
{
    return guard(static_cast<int32_t>(ResultCode::internal_error), [&] {
        Chassis* chassis = chassis_in_place();
        if (chassis == nullptr) {
            return static_cast<int32_t>(ResultCode::no_chassis);
        }
        const Disturbance disturbance =
            disturb(request, request == next_port ? CHM_REQ_GETNEXT : CHM_REQ_GET);
        return disturbance.result ? *disturbance.result : static_cast<int32_t>(body(*chassis));
    });
}

/// The same with a port of it, too.
template <typename Body>
int32_t with_port(std::string_view request, uint32_t if_index, Body body)
{
    return with_chassis(request, [&](Chassis& chassis) {
        const Entity* port = find_port(chassis, if_index);
        return port == nullptr ? ResultCode::no_such_entry : body(chassis, *port);
    });
}

} // namespace
} // namespace sim

using sim::Chassis;
using sim::Entity;
using sim::ResultCode;

int32_t pm_cmi_get_port_config(uint32_t /*queue*/, int32_t /*operation*/, uint32_t /*arg*/,
                               uint32_t* if_index, uint32_t* /*count*/, void** response,
                               uint32_t /*req_class*/)
{
    *response = nullptr;
    return sim::with_port(sim::port_configuration, *if_index,
                          [&](const Chassis& chassis, const Entity& port) {
                              return sim::hand_over(sim::encode_config(chassis, port), response);
                          });
}

int32_t pm_get_next_port_fcot_info_with_ddm(uint32_t /*queue*/, int32_t /*operation*/,
                                            uint32_t /*arg*/, uint32_t* if_index,
                                            uint32_t* /*count*/, void** response,
                                            uint32_t /*req_class*/)
{
    *response = nullptr;
    return sim::with_chassis(sim::next_port, [&](const Chassis& chassis) {
        const Entity* port = next_port_with_diagnostics(chassis, *if_index);
        if (port == nullptr) {
            return ResultCode::no_such_entry;
        }
        return sim::hand_over(std::array{port->port.value().if_index}, response);
    });
}

int32_t pm_cmi_get_fcot_info(uint32_t /*queue*/, int32_t /*operation*/, uint32_t /*arg*/,
                             uint32_t* if_index, uint32_t* /*count*/, void** response,
                             uint32_t /*req_class*/)
{
    *response = nullptr;
    return sim::with_port(
        sim::transceiver_information, *if_index, [&](const Chassis& chassis, const Entity& port) {
            const sim::Transceiver* transceiver = transceiver_in_service(chassis, port);
            if (transceiver == nullptr) {
                return ResultCode::no_such_entry;
            }
            return sim::hand_over(sim::encode_information(*transceiver), response);
        });
}

int32_t pm_get_sfp_diag_info(uint32_t /*queue*/, uint32_t if_index, void** diag, void** aux,
                             uint32_t* num_of_lanes)
{
    *diag = nullptr;
    *aux = nullptr;
    *num_of_lanes = 0;
    return sim::with_port(
        sim::transceiver_diagnostics, if_index, [&](Chassis& chassis, const Entity& port) {
            if (transceiver_in_service(chassis, port) == nullptr) {
                return ResultCode::no_such_entry;
            }
            sim::take_time(chassis.settings().diagnostics_delay);
            const std::vector<diag_info> lanes = chassis.read_diagnostics(port.index);
            const std::vector<sim::Auxiliary> auxiliaries(lanes.size());
            sim::hand_over(lanes, diag);
            sim::hand_over(auxiliaries, aux);
            *num_of_lanes = static_cast<uint32_t>(lanes.size());
            return ResultCode::ok;
        });
}
