/// The columns of IF-MIB's tables of interfaces, as data.
#pragma once

#include "model/chassis.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <cstdint>
#include <span>
#include <string>

namespace sim {

/// An interface whose row is read.
struct InterfaceRow {
    const Chassis& chassis;
    const std::string& name;
    const Port& port;
};

/// A column: its number, its type, and the function of that type which gives its value. A column
/// that has `write` may be set: to a number within a range, or to a text not longer.
struct InterfaceColumn {
    unsigned int number;
    u_char type;
    uint64_t (*value)(const InterfaceRow& row) = nullptr;
    std::string (*text)(const InterfaceRow& row) = nullptr;
    void (*write)(InterfaceSettings& settings, const netsnmp_variable_list& value) = nullptr;
    long least = 0;
    long most = 0;
};

/// In increasing order of their numbers, from 1 on without a gap.
extern const std::span<const InterfaceColumn> if_table_columns;
extern const std::span<const InterfaceColumn> if_x_table_columns;

/// A time as the agent's uptime, in hundredths of a second; 0 for one before its start.
uint32_t uptime_at(const Chassis& chassis, Clock::time_point time);

} // namespace sim
