/// Units as the platform manager's tables and events carry them, in host order.
#pragma once

#include "model/chassis.h"
#include "wire/records.h"

namespace sim {

module_record encode_module(const Unit& unit);

power_status_record encode_power(const Unit& unit);

unit_status_record encode_status(const Unit& unit);

power_supply_output_record encode_output(const Chassis& chassis, const Unit& unit);

/// The one group of power supplies, whose index is 1.
power_supply_group_record encode_power_supply_group(const Chassis& chassis);

/// The supervisors: the slot numbers of the active and the standby one (0 for none) with their
/// status, their common state, and the number of switchovers.
rf_status_record encode_redundancy(const Chassis& chassis);

} // namespace sim
