#include "interfaces/if_mib.h"

#include "interfaces/identity.h"
#include "interfaces/if_columns.h"
#include "libraries/c_boundary.h"
#include "libraries/event_queue.h"
#include "libraries/notification_sender.h"
#include "model/ports.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

namespace sim {
namespace {

constexpr oid if_number[] = {1, 3, 6, 1, 2, 1, 2, 1};
constexpr oid if_entries[] = {1, 3, 6, 1, 2, 1, 2, 2};
constexpr oid if_x_entries[] = {1, 3, 6, 1, 2, 1, 31, 1, 1};
constexpr oid if_table_last_change[] = {1, 3, 6, 1, 2, 1, 31, 1, 5};
constexpr oid if_stack_last_change[] = {1, 3, 6, 1, 2, 1, 31, 1, 6};
constexpr oid trap_enterprise[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 3, 0};
constexpr oid link_down[] = {1, 3, 6, 1, 6, 3, 1, 1, 5, 3};
constexpr oid link_up[] = {1, 3, 6, 1, 6, 3, 1, 1, 5, 4};

/// An interface as the agent's container of rows has it.
struct Row {
    netsnmp_index index; ///< first, as the container wants it
    oid if_index;
    const Entity* port;
};

Chassis* served_chassis = nullptr;
uint32_t generation = 0; ///< of the served chassis, whose interfaces the rows are
std::vector<Row> rows;
netsnmp_container* container = nullptr; ///< the rows by index, for both tables
std::vector<netsnmp_handler_registration*> registrations;

struct FreeTableInformation {
    void operator()(netsnmp_table_registration_info* information) const
    {
        netsnmp_table_registration_info_free(information);
    }
};
using TableInformation = std::unique_ptr<netsnmp_table_registration_info, FreeTableInformation>;
std::vector<TableInformation> table_information; ///< of the registrations, which do not free it

void add_row(const Entity& port)
{
    rows.push_back({{}, port.port->if_index, &port});
}

/// Modules come and go with their ports; the container follows when somebody asks.
void update_rows()
{
    if (!rows.empty() && generation == served_chassis->ports_generation()) {
        return;
    }
    CONTAINER_CLEAR(container, nullptr, nullptr);
    rows.clear();
    add_row(served_chassis->management());
    for (const auto& [index, entity] : served_chassis->entities()) {
        if (entity.port) {
            add_row(entity);
        }
    }
    for (Row& row : rows) {
        row.index = {1, &row.if_index};
        CONTAINER_INSERT(container, &row);
    }
    generation = served_chassis->ports_generation();
}

int before_access(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                  netsnmp_agent_request_info* info, netsnmp_request_info* requests)
{
    guard([] { update_rows(); });
    return netsnmp_call_next_handler(handler, registration, info, requests);
}

const InterfaceColumn& column_of(const netsnmp_mib_handler* handler, netsnmp_request_info* request)
{
    const auto& columns = *static_cast<const std::span<const InterfaceColumn>*>(handler->myvoid);
    return columns[netsnmp_extract_table_info(request)->colnum - 1];
}

void put_value(netsnmp_variable_list* variable, const InterfaceColumn& column,
               const InterfaceRow& row)
{
    static constexpr oid zero_dot_zero[] = {0, 0};
    if (column.type == ASN_OBJECT_ID) {
        snmp_set_var_typed_value(variable, column.type, zero_dot_zero, sizeof zero_dot_zero);
    } else if (column.text != nullptr) {
        const std::string text = column.text(row);
        snmp_set_var_typed_value(variable, column.type, text.data(), text.size());
    } else if (column.type == ASN_COUNTER64) {
        const uint64_t value = column.value(row);
        const counter64 halves = {static_cast<u_long>(value >> 32),
                                  static_cast<u_long>(value & UINT32_MAX)};
        snmp_set_var_typed_value(variable, column.type, &halves, sizeof halves);
    } else {
        // Counters of 32 bits wrap.
        const auto value = static_cast<uint32_t>(column.value(row));
        snmp_set_var_typed_value(variable, column.type, &value, sizeof value);
    }
}

/// The error of a value that a column does not take, or SNMP_ERR_NOERROR.
int check_value(const InterfaceColumn& column, const netsnmp_variable_list& value)
{
    if (column.write == nullptr) {
        return SNMP_ERR_NOTWRITABLE;
    }
    return column.type == ASN_INTEGER
               ? netsnmp_check_vb_int_range(&value, static_cast<int>(column.least),
                                            static_cast<int>(column.most))
               : netsnmp_check_vb_type_and_max_size(&value, column.type,
                                                    static_cast<size_t>(column.most));
}

void write_value(const InterfaceColumn& column, const netsnmp_variable_list& value,
                 const Port& port)
{
    InterfaceSettings settings = port.interface.settings;
    column.write(settings, value);
    served_chassis->configure_interface(port.if_index, settings);
    served_chassis->announce_write();
}

void serve_request(int mode, netsnmp_agent_request_info* info, netsnmp_request_info* request,
                   const InterfaceColumn& column, const Row& row)
{
    const Entity& port = *row.port;
    switch (mode) {
    case MODE_GET:
        put_value(request->requestvb, column, {*served_chassis, port.name, *port.port});
        break;
    case MODE_SET_RESERVE1:
        netsnmp_set_request_error(info, request, check_value(column, *request->requestvb));
        break;
    case MODE_SET_COMMIT:
        write_value(column, *request->requestvb, *port.port);
        break;
    default: // nothing is reserved, and nothing fails that would have to be undone
        break;
    }
}

int serve_table(netsnmp_mib_handler* handler, netsnmp_handler_registration* /*registration*/,
                netsnmp_agent_request_info* info, netsnmp_request_info* requests)
{
    return guard(SNMP_ERR_GENERR, [&] {
        for (netsnmp_request_info* request = requests; request; request = request->next) {
            const auto* row =
                static_cast<const Row*>(netsnmp_container_table_extract_context(request));
            if (request->processed != 0) {
                continue;
            }
            if (row == nullptr) {
                netsnmp_set_request_error(info, request,
                                          info->mode == MODE_GET ? SNMP_NOSUCHINSTANCE
                                                                 : SNMP_ERR_NOCREATION);
                continue;
            }
            serve_request(info->mode, info, request, column_of(handler, request), *row);
        }
        return SNMP_ERR_NOERROR;
    });
}

template <typename Value>
int serve_scalar(netsnmp_agent_request_info* info, netsnmp_request_info* requests, u_char type,
                 Value value)
{
    if (info->mode == MODE_GET) {
        snmp_set_var_typed_value(requests->requestvb, type, &value, sizeof value);
    }
    return SNMP_ERR_NOERROR;
}

int serve_number(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
                 netsnmp_agent_request_info* info, netsnmp_request_info* requests)
{
    guard([] { update_rows(); });
    return serve_scalar(info, requests, ASN_INTEGER, static_cast<int32_t>(rows.size()));
}

int serve_table_last_change(netsnmp_mib_handler* /*handler*/,
                            netsnmp_handler_registration* /*registration*/,
                            netsnmp_agent_request_info* info, netsnmp_request_info* requests)
{
    return serve_scalar(info, requests, ASN_TIMETICKS,
                        uptime_at(*served_chassis, served_chassis->ports_changed()));
}

int serve_stack_last_change(netsnmp_mib_handler* /*handler*/,
                            netsnmp_handler_registration* /*registration*/,
                            netsnmp_agent_request_info* info, netsnmp_request_info* requests)
{
    return serve_scalar(info, requests, ASN_TIMETICKS, uint32_t{0}); // no interface is on another
}

netsnmp_handler_registration* registration_of(const char* name, Netsnmp_Node_Handler* handler,
                                              std::span<const oid> root, int access)
{
    auto* registration =
        netsnmp_create_handler_registration(name, handler, root.data(), root.size(), access);
    if (registration == nullptr) {
        throw std::bad_alloc();
    }
    registration->priority = 100; // before that of the agent, which has the machine's interfaces
    return registration;
}

void keep(netsnmp_handler_registration* registration, int outcome)
{
    if (outcome != MIB_REGISTERED_OK) {
        throw std::runtime_error("the agent does not take the interfaces");
    }
    registrations.push_back(registration);
}

void register_scalar(const char* name, std::span<const oid> root, Netsnmp_Node_Handler* handler)
{
    auto* registration = registration_of(name, handler, root, HANDLER_CAN_RONLY);
    keep(registration, netsnmp_register_read_only_scalar(registration));
}

void register_table(const char* name, std::span<const oid> root,
                    const std::span<const InterfaceColumn>& columns)
{
    auto* registration = registration_of(name, serve_table, root, HANDLER_CAN_RWRITE);
    // The agent does not write to what is here.
    registration->handler->myvoid = const_cast<std::span<const InterfaceColumn>*>(&columns);
    auto* information = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
    table_information.emplace_back(information);
    netsnmp_table_helper_add_indexes(information, ASN_INTEGER, 0);
    information->min_column = columns.front().number;
    information->max_column = columns.back().number;
    keep(registration, netsnmp_container_table_register(registration, information, container,
                                                        TABLE_CONTAINER_KEY_NETSNMP_INDEX));
    netsnmp_inject_handler(registration,
                           netsnmp_create_handler("interfaces_follow_modules", before_access));
}

/// The event of an interface that went up or down, beyond the platform manager's numbers; it waits
/// with theirs, so that notifications come in the order of the changes.
constexpr uint32_t link_change = 0x10000;

/// What linkUp and linkDown report: the values of columns of ifTable when the status changed.
using LinkChange = std::array<int32_t, 3>;
constexpr oid reported_columns[std::tuple_size_v<LinkChange>] = {1, 7, 8};

void post_link_change(const Entity& port)
{
    const Interface& interface = port.port->interface;
    if (interface.settings.notifies) {
        const LinkChange change = {static_cast<int32_t>(port.port->if_index),
                                   static_cast<int32_t>(interface.settings.admin),
                                   static_cast<int32_t>(interface.status)};
        post_event(link_change, std::as_bytes(std::span(change)));
    }
}

void send_link_notification(const EventMessage& message)
{
    LinkChange change{};
    std::memcpy(change.data(), message.payload.data(), sizeof change);
    Bindings bindings(nullptr, snmp_free_varbind);
    netsnmp_variable_list* last = nullptr;
    const auto bind = [&](std::span<const oid> name, u_char type, const void* value, size_t size) {
        last = build_varbind(last, value, type, size, name.data(), name.size());
        if (last == nullptr) {
            throw std::bad_alloc();
        }
        if (!bindings) {
            bindings.reset(last);
        }
    };
    for (size_t i = 0; i < change.size(); ++i) {
        const oid name[] = {
            1, 3, 6, 1, 2, 1, 2, 2, 1, reported_columns[i], static_cast<oid>(change[0])};
        bind(name, ASN_INTEGER, &change[i], sizeof change[i]);
    }
    // Otherwise the agent adds the one of its own maker.
    const std::vector<oid> enterprise = object_identifier(*served_chassis);
    bind(trap_enterprise, ASN_OBJECT_ID, enterprise.data(), enterprise.size() * sizeof(oid));
    const bool is_up = change.back() == static_cast<int32_t>(LinkStatus::up);
    const std::span<const oid> name = is_up ? link_up : link_down;
    send_notification(name.data(), name.size(), std::move(bindings));
}

} // namespace

void serve_interfaces(Chassis& chassis)
{
    if (served_chassis != &chassis) {
        served_chassis = &chassis;
        rows.clear();
        chassis.observe_links(post_link_change);
    }
    if (!registrations.empty()) {
        return;
    }
    handle_events(link_change, send_link_notification);
    container = netsnmp_container_find("table_container");
    if (container == nullptr) {
        throw std::bad_alloc();
    }
    register_scalar("ifNumber", if_number, serve_number);
    register_table("ifTable", if_entries, if_table_columns);
    register_table("ifXTable", if_x_entries, if_x_table_columns);
    register_scalar("ifTableLastChange", if_table_last_change, serve_table_last_change);
    register_scalar("ifStackLastChange", if_stack_last_change, serve_stack_last_change);
}

void stop_serving_interfaces()
{
    for (auto* registration : registrations) {
        netsnmp_unregister_handler(registration);
    }
    registrations.clear();
    table_information.clear();
    rows.clear();
    ignore_events(link_change);
    if (container != nullptr) {
        CONTAINER_FREE(std::exchange(container, nullptr));
    }
}

} // namespace sim
