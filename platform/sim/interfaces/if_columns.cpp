#include "interfaces/if_columns.h"

#include "model/ports.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <algorithm>
#include <chrono>

namespace sim {
namespace {

constexpr uint64_t true_value = 1;
constexpr uint64_t false_value = 2;

uint64_t none(const InterfaceRow& /*row*/)
{
    return 0;
}

template <uint64_t number>
uint64_t always(const InterfaceRow& /*row*/)
{
    return number;
}

std::string text_of_name(const InterfaceRow& row)
{
    return row.name;
}

/// Settings of a direction and its counters.
struct In {
    static constexpr auto load = &InterfaceSettings::in;
    static constexpr auto traffic = &Interface::in;
};
struct Out {
    static constexpr auto load = &InterfaceSettings::out;
    static constexpr auto traffic = &Interface::out;
};

template <typename Direction, uint64_t Counters::*counter>
uint64_t counted(const InterfaceRow& row)
{
    const Interface& interface = row.port.interface;
    return (interface.*Direction::traffic)
               .at(row.chassis.now(), interface.settings.*Direction::load).*
           counter;
}

uint64_t index(const InterfaceRow& row)
{
    return row.port.if_index;
}

/// In bits a second, as far as 32 bits hold it.
uint64_t speed(const InterfaceRow& row)
{
    return std::min<uint64_t>(uint64_t{1000000} * speed_of(row.port), UINT32_MAX);
}

uint64_t high_speed(const InterfaceRow& row)
{
    return speed_of(row.port);
}

/// A locally administered address: from the chassis' serial number, slot and port.
std::string physical_address(const InterfaceRow& row)
{
    const uint32_t block = address_block(row.chassis.entities().at(chassis_index).serial);
    const auto byte = [](uint32_t word, int shift) { return static_cast<char>(word >> shift); };
    const uint32_t place = row.port.if_index;
    const bool is_management = place == row.chassis.management().port->if_index;
    return {'\x02',         byte(block, 16), byte(block, 8),
            byte(block, 0), byte(place, 16), is_management ? '\x80' : byte(place, 8)};
}

uint64_t admin_status(const InterfaceRow& row)
{
    return static_cast<uint64_t>(row.port.interface.settings.admin);
}

void write_admin_status(InterfaceSettings& settings, const netsnmp_variable_list& value)
{
    settings.admin = static_cast<LinkAdmin>(*value.val.integer);
}

uint64_t oper_status(const InterfaceRow& row)
{
    return static_cast<uint64_t>(row.port.interface.status);
}

uint64_t last_change(const InterfaceRow& row)
{
    return uptime_at(row.chassis, row.port.interface.status_changed);
}

uint64_t notifications(const InterfaceRow& row)
{
    return row.port.interface.settings.notifies ? true_value : false_value;
}

void write_notifications(InterfaceSettings& settings, const netsnmp_variable_list& value)
{
    settings.notifies = *value.val.integer == true_value;
}

std::string alias(const InterfaceRow& row)
{
    return row.port.interface.settings.alias;
}

void write_alias(InterfaceSettings& settings, const netsnmp_variable_list& value)
{
    settings.alias.assign(reinterpret_cast<const char*>(value.val.string), value.val_len);
}

constexpr uint64_t ethernet = 6;
constexpr uint64_t mtu = 1500;

constexpr InterfaceColumn if_table[] = {
    {1, ASN_INTEGER, index},
    {2, ASN_OCTET_STR, nullptr, text_of_name},
    {3, ASN_INTEGER, always<ethernet>},
    {4, ASN_INTEGER, always<mtu>},
    {5, ASN_GAUGE, speed},
    {6, ASN_OCTET_STR, nullptr, physical_address},
    {7, ASN_INTEGER, admin_status, nullptr, write_admin_status, 1, 2},
    {8, ASN_INTEGER, oper_status},
    {9, ASN_TIMETICKS, last_change},
    {10, ASN_COUNTER, counted<In, &Counters::octets>},
    {11, ASN_COUNTER, counted<In, &Counters::packets>},
    {12, ASN_COUNTER, none}, // all packets are unicast
    {13, ASN_COUNTER, counted<In, &Counters::discards>},
    {14, ASN_COUNTER, counted<In, &Counters::errors>},
    {15, ASN_COUNTER, none},
    {16, ASN_COUNTER, counted<Out, &Counters::octets>},
    {17, ASN_COUNTER, counted<Out, &Counters::packets>},
    {18, ASN_COUNTER, none},
    {19, ASN_COUNTER, counted<Out, &Counters::discards>},
    {20, ASN_COUNTER, counted<Out, &Counters::errors>},
    {21, ASN_GAUGE, none},
    {22, ASN_OBJECT_ID}, // always zeroDotZero
};

constexpr InterfaceColumn if_x_table[] = {
    {1, ASN_OCTET_STR, nullptr, text_of_name},
    {2, ASN_COUNTER, none},
    {3, ASN_COUNTER, none},
    {4, ASN_COUNTER, none},
    {5, ASN_COUNTER, none},
    {6, ASN_COUNTER64, counted<In, &Counters::octets>},
    {7, ASN_COUNTER64, counted<In, &Counters::packets>},
    {8, ASN_COUNTER64, none},
    {9, ASN_COUNTER64, none},
    {10, ASN_COUNTER64, counted<Out, &Counters::octets>},
    {11, ASN_COUNTER64, counted<Out, &Counters::packets>},
    {12, ASN_COUNTER64, none},
    {13, ASN_COUNTER64, none},
    {14, ASN_INTEGER, notifications, nullptr, write_notifications, 1, 2},
    {15, ASN_GAUGE, high_speed},
    {16, ASN_INTEGER, always<false_value>},
    {17, ASN_INTEGER, always<true_value>},
    {18, ASN_OCTET_STR, nullptr, alias, write_alias, 0, max_link_alias},
    {19, ASN_TIMETICKS, none},
};

} // namespace

const std::span<const InterfaceColumn> if_table_columns(if_table);
const std::span<const InterfaceColumn> if_x_table_columns(if_x_table);

uint32_t uptime_at(const Chassis& chassis, Clock::time_point time)
{
    using Hundredths = std::chrono::duration<int64_t, std::centi>;
    // Computed once: otherwise a time would differ by a hundredth from read to read.
    static const Clock::time_point start = chassis.now() - Hundredths(netsnmp_get_agent_uptime());
    const auto uptime = std::chrono::duration_cast<Hundredths>(time - start).count();
    return static_cast<uint32_t>(std::max<int64_t>(uptime, 0));
}

} // namespace sim
