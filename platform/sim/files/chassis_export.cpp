#include "files/chassis_export.h"

#include "files/chassis_schema.h"
#include "files/toml_writer.h"
#include "model/led.h"
#include "records/entity_record.h"
#include "records/transceiver_record.h"

#include <algorithm>
#include <cmath>

namespace sim {
namespace {

/// Writes a key that differs from the default and from the type; a key of the type may have to be
/// overridden by the default.
template <typename Value>
void put_unusual(toml::table& table, std::string_view key, const Value& value, const Value& usual,
                 const toml::table& type = {})
{
    if (value != usual || type.contains(key)) {
        put(table, key, value);
    }
}

void put_if(toml::table& table, std::string_view key, bool value)
{
    if (value) {
        put(table, key, true);
    }
}

void put_held(toml::table& table, const Reading& reading)
{
    if (const auto held = reading.by_hand()) {
        if (*held == no_light) {
            put(table, "held", no_light_key);
        } else {
            put(table, "held", *held);
        }
    }
}

void put_array(toml::table& table, std::string_view key, toml::array array)
{
    if (!array.empty()) {
        table.insert(key, std::move(array));
    }
}

void put_entity(toml::table& table, const Entity& entity, const Entity& usual)
{
    for (const EntityText& text : entity_texts) {
        put_unusual(table, text.key, entity.*text.text, usual.*text.text);
    }
    put_unusual(table, "vendor-type", entity.vendor_type, usual.vendor_type);
    put_unusual(table, "replaceable", entity.replaceable, usual.replaceable);
    put_unusual(table, "failed", entity.failed, usual.failed);
}

toml::table load_table(const Load& load)
{
    toml::table table;
    for (const LoadRate& rate : load_rates) {
        put_unusual(table, rate.key, load.*rate.value, Load().*rate.value);
    }
    table.is_inline(true);
    return table;
}

/// What is not as usual of an interface.
toml::table interface_table(const Port& port)
{
    const InterfaceSettings& settings = port.interface.settings;
    toml::table table;
    put_unusual(table, "alias", settings.alias, {});
    put_unusual(table, "admin-status", key_of(link_admins, settings.admin),
                key_of(link_admins, LinkAdmin::up));
    put_unusual(table, "notifications", settings.notifies, true);
    for (const auto& [key, load] :
         {std::pair("in", &settings.in), std::pair("out", &settings.out)}) {
        if (*load != Load()) {
            table.insert(key, load_table(*load));
        }
    }
    return table;
}

/// Ports with equal tables share an element.
class PortGroups {
public:
    void add(toml::table table, uint32_t port)
    {
        auto group = std::ranges::find(groups_, table, &Group::table);
        if (group == groups_.end()) {
            group = groups_.insert(group, {std::move(table), {}});
        }
        group->ports.push_back(port);
    }

    toml::array list() const;

private:
    struct Group {
        toml::table table;
        std::vector<uint32_t> ports;
    };
    std::vector<Group> groups_;
};

/// A list such as "1-8,10" of increasing numbers.
std::string port_list(const std::vector<uint32_t>& numbers)
{
    std::string list;
    for (size_t first = 0, next = 0; first < numbers.size(); first = next) {
        do {
            ++next;
        } while (next < numbers.size() && numbers[next] == numbers[next - 1] + 1);
        list += concat(list.empty() ? "" : ",", numbers[first]);
        if (next - first > 1) {
            list += concat("-", numbers[next - 1]);
        }
    }
    return list;
}

toml::array PortGroups::list() const
{
    toml::array list;
    for (const Group& group : groups_) {
        toml::table table = group.table;
        put(table, "ports", port_list(group.ports));
        list.push_back(std::move(table));
    }
    return list;
}

toml::table threshold_table(const Sensor& sensor, const SensorThreshold& threshold)
{
    toml::table table;
    put(table, "value", threshold.value() / steps_per_unit(sensor));
    put(table, "relation", key_of(relations, threshold.relation()));
    put(table, "severity", key_of(severities, threshold.severity));
    put_unusual(table, "notify", threshold.notifies, true);
    table.is_inline(true);
    return table;
}

toml::table measurement_table(const Quantity& quantity, const Measurement& measurement)
{
    toml::table table;
    const ReadingRange& range = measurement.range;
    put_unusual(table, "low", range.low, quantity.usual.low);
    put_unusual(table, "high", range.high, quantity.usual.high);
    for (size_t index = 0; index < transceiver_thresholds; ++index) {
        put_unusual(table, threshold_keys[index], range.thresholds[index],
                    quantity.usual.thresholds[index]);
    }
    put_held(table, measurement.reading);
    table.is_inline(true);
    return table;
}

class Writer {
public:
    explicit Writer(const Chassis& chassis)
        : chassis_(chassis), own_(chassis.entities().at(chassis_index)),
          types_(read_types(chassis.file()))
    {
    }

    std::string write()
    {
        root_ = types_;
        put_chassis();
        for (const UnitKind& kind : unit_kinds) {
            put_units(kind);
        }
        put_unrecognized();
        put_system();
        put_array(root_, "entity", std::move(entities_));
        put_supervisors();
        put_leds();
        put_faults();
        return formatted(root_);
    }

private:
    using Parts = std::vector<const Entity*>; ///< in the order of their indexes

    void put_chassis()
    {
        toml::table table;
        put_entity(table, own_, usual_chassis());
        put(table, "start-seconds", static_cast<int64_t>(chassis_.settings().start_time.count()));
        put(table, "type-code", chassis_.settings().type_code);
        put(table, "diagnostics-delay-ms",
            static_cast<int64_t>(chassis_.settings().diagnostics_delay.count()));
        put_unusual(table, "redundancy-mode", key_of(redundancy_modes, chassis_.redundancy_mode()),
                    key_of(redundancy_modes, RedundancyMode::none));
        put_unusual(table, "max-default-in-line-power",
                    chassis_.settings().max_default_in_line_power, max_in_line_power);
        put_unusual(table, "status-notifications", chassis_.settings().status_notifications, true);
        put_array(table, "sensors", sensors(own_, parts_of(chassis_index)));
        for (const UnitKind& kind : unit_kinds) {
            put(table, kind.place_count, static_cast<int64_t>(put_places(kind)));
        }
        root_.insert("chassis", std::move(table));
    }

    void put_system()
    {
        toml::table system;
        for (const SystemText& text : system_texts) {
            put_unusual(system, text.key, chassis_.settings().system.*text.text, {});
        }
        put_table("system", std::move(system));
        put_table("management", interface_table(*chassis_.management().port));
    }

    void put_table(std::string_view key, toml::table table)
    {
        if (!table.empty()) {
            root_.insert(key, std::move(table));
        }
    }

    /// @return the number of places of a kind
    uint32_t put_places(const UnitKind& kind)
    {
        uint32_t count = 0;
        while (const Entity* container = chassis_.find(kind.place_base + count + 1)) {
            ++count;
            put_part(*container, usual_container(kind, own_, count));
        }
        return count;
    }

    /// An entity entry, if any key differs from the default.
    void put_part(const Entity& entity, const Entity& usual)
    {
        toml::table table;
        put_entity(table, entity, usual);
        if (!table.empty()) {
            put(table, "index", entity.index);
            entities_.push_back(std::move(table));
        }
    }

    void put_units(const UnitKind& kind)
    {
        toml::array units;
        for (const auto& [index, place] : chassis_.places()) {
            if (place.type != kind.type) {
                continue;
            }
            if (const Unit* unit = chassis_.find_unit(place.unit_index)) {
                units.push_back(fitted_table(kind, *unit));
            } else if (place.pulled) {
                units.push_back(pulled_table(kind, *place.pulled));
            }
        }
        put_array(root_, kind.entry, std::move(units));
    }

    void put_unrecognized()
    {
        toml::array list;
        for (const auto& [index, place] : chassis_.places()) {
            const Entity* unit = chassis_.find(place.unit_index);
            if (unit == nullptr || unit->entity_class != EntityClass::unknown) {
                continue;
            }
            toml::table table;
            put(table, "place", index);
            put_entity(table, *unit,
                       unrecognized_unit(chassis_.entities().at(index), place.unit_index));
            list.push_back(std::move(table));
        }
        put_array(root_, "unrecognized", std::move(list));
    }

    void put_supervisors()
    {
        const Redundancy usual;
        const Redundancy& redundancy = chassis_.redundancy();
        toml::table table;
        if (redundancy.active != 0) {
            const auto* modules = std::ranges::find(unit_kinds, UnitType::module, &UnitKind::type);
            put(table, "in-charge", redundancy.active - modules->base);
        }
        put_unusual(table, "switchovers", redundancy.switchovers, usual.switchovers);
        put_unusual(table, "last-reason", redundancy.last_reason, usual.last_reason);
        put_unusual(table, "last-action", static_cast<int32_t>(redundancy.last_action),
                    static_cast<int32_t>(usual.last_action));
        if (redundancy.state_by_hand) {
            put(table, "state", *redundancy.state_by_hand);
        }
        put_table("supervisors", std::move(table));
    }

    void put_leds()
    {
        toml::array list;
        for (const auto& [led, value] : chassis_.settings().leds_by_hand) {
            toml::table table;
            put(table, "entity", led.first);
            put(table, "led", led.second);
            const auto* colour = std::ranges::find(led_colours, static_cast<LedColour>(value),
                                                   &Named<LedColour>::value);
            if (colour == std::end(led_colours)) {
                put(table, "value", value);
            } else {
                put(table, "value", colour->key);
            }
            list.push_back(std::move(table));
        }
        put_array(root_, "led", std::move(list));
    }

    void put_faults()
    {
        toml::array list;
        for (const Fault& fault : chassis_.faults()) {
            toml::table table;
            put(table, "request", fault.request);
            if (fault.operation) {
                put(table, "operation", key_of(operation_names, *fault.operation));
            }
            put(table, "effect", fault.kind->key);
            put_unusual(table, "amount", fault.amount, 0U);
            if (fault.left) {
                put(table, "count", *fault.left);
            }
            list.push_back(std::move(table));
        }
        put_array(root_, "fault", std::move(list));
    }

    Parts parts_of(uint32_t holder) const
    {
        Parts parts;
        for (const auto& [index, entity] : chassis_.entities()) {
            if (entity.contained_in == holder) {
                parts.push_back(&entity);
            }
        }
        return parts;
    }

    toml::table fitted_table(const UnitKind& kind, const Unit& unit)
    {
        toml::table table =
            unit_table(kind, unit, chassis_.entities().at(unit.index), parts_of(unit.index));
        put_if(table, "starting", unit.status == EntityStatus::starting);
        if (kind.type == UnitType::module) {
            put_unusual(table, "starts", unit.starts, 1U);
        }
        return table;
    }

    toml::table pulled_table(const UnitKind& kind, const Assembly& assembly)
    {
        const Entity* own = nullptr;
        Parts parts;
        for (const Entity& entity : assembly.entities) {
            if (entity.index == assembly.unit.index) {
                own = &entity;
            } else {
                parts.push_back(&entity);
            }
        }
        std::ranges::sort(parts, {}, &Entity::index);
        toml::table table = unit_table(kind, assembly.unit, *own, parts);
        put(table, "pulled", true);
        if (kind.type == UnitType::module) {
            put_unusual(table, "starts", assembly.unit.starts, 0U);
        }
        return table;
    }

    toml::table unit_table(const UnitKind& kind, const Unit& unit, const Entity& own,
                           const Parts& parts)
    {
        toml::table table;
        put_entity(table, own, usual_unit(kind, own_, unit.number));
        put(table, kind.place, unit.number);
        put(table, kind.watts, unit.watts);
        put_unusual(table, "admin-status", key_of(admin_statuses, unit.admin_status),
                    key_of(admin_statuses, AdminStatus::on));
        put_unusual(table, "power-admin-status",
                    key_of(power_admin_statuses, unit.power_admin_status),
                    key_of(power_admin_statuses, PowerAdminStatus::on));
        put_array(table, "sensors", sensors(own, parts));
        uint32_t count = 0;
        for (const Entity* part : parts) {
            if (!part->sensor) {
                put_part(*part, kind.usual_part(own_, unit.number, ++count));
            }
        }
        if (!kind.parts.empty()) {
            put(table, kind.parts, count);
        }
        if (kind.type == UnitType::module) {
            put(table, "role", key_of(module_roles, unit.role));
            put_ports(table, parts);
        }
        return table;
    }

    toml::array sensors(const Entity& holder, const Parts& parts)
    {
        toml::array list;
        for (const Entity* part : parts) {
            if (part->sensor) {
                list.push_back(sensor_table(holder, *part, static_cast<uint32_t>(list.size() + 1)));
            }
        }
        return list;
    }

    toml::table sensor_table(const Entity& holder, const Entity& entity, uint32_t number)
    {
        const Sensor& sensor = *entity.sensor;
        const SensorKind& kind = *sensor.kind;
        Entity usual = usual_sensor(own_, holder, 0, number);
        usual.description = kind.description;
        Entity named = entity;
        named.name = name_within(holder, entity, usual.name);
        toml::table table;
        put_entity(table, named, usual);
        put(table, "kind", kind.key);
        put(table, "low", sensor.reading.low());
        put(table, "high", sensor.reading.high());
        put_unusual(table, "scale", key_of(sensor_scales, sensor.scale),
                    key_of(sensor_scales, kind.scale));
        put_unusual(table, "precision", sensor.precision, 0U);
        put_held(table, sensor.reading);
        const bool measures = chassis_.find(entity.index) == &entity &&
                              chassis_.sensor_status(entity) == SensorStatus::ok;
        if (!measures) {
            put_unusual(table, "last", sensor.value / steps_per_unit(sensor), 0.0);
        }
        toml::array thresholds;
        for (const SensorThreshold& threshold : sensor.thresholds) {
            thresholds.push_back(threshold_table(sensor, threshold));
        }
        put_array(table, "thresholds", std::move(thresholds));
        return table;
    }

    /// The name of a sensor in the entry of its holder. A name that does not start with the
    /// holder's has an entity entry.
    std::string name_within(const Entity& holder, const Entity& sensor, const std::string& usual)
    {
        const std::string start = holder.name + " ";
        if (sensor.name.starts_with(start)) {
            return sensor.name.substr(start.size());
        }
        toml::table table;
        put(table, "index", sensor.index);
        put(table, "name", sensor.name);
        entities_.push_back(std::move(table));
        return usual;
    }

    void put_ports(toml::table& table, const Parts& parts) const
    {
        PortGroups transceivers;
        PortGroups interfaces;
        std::vector<uint32_t> electrical;
        for (const Entity* part : parts) {
            if (!part->port) {
                continue;
            }
            const auto number = static_cast<uint32_t>(part->position);
            const Port& port = *part->port;
            if (!port.has_cage) {
                electrical.push_back(number);
            }
            put_unusual(table, "port-speed", port.speed, Port().speed);
            if (toml::table settings = interface_table(port); !settings.empty()) {
                interfaces.add(std::move(settings), number);
            }
            if (!port.transceiver && !port.unplugged) {
                continue;
            }
            toml::table like = transceiver_table(part->index, port.transceiver ? *port.transceiver
                                                                               : *port.unplugged);
            put_if(like, "unplugged", !port.transceiver);
            transceivers.add(std::move(like), number);
        }
        put_array(table, "transceivers", transceivers.list());
        put_array(table, "interfaces", interfaces.list());
        if (!electrical.empty()) {
            put(table, "electrical", port_list(electrical));
        }
    }

    toml::table transceiver_table(uint32_t port, const Transceiver& transceiver) const
    {
        static const toml::table no_type;
        const toml::table* known = types_["transceivers"][transceiver.type].as_table();
        const toml::table& type = known == nullptr ? no_type : *known;
        toml::table table;
        if (known != nullptr) {
            put(table, "type", transceiver.type);
        }
        const Transceiver usual = usual_transceiver(own_, port);
        for (const TransceiverText& text : transceiver_texts) {
            put_unusual(table, text.key, transceiver.*text.text, usual.*text.text, type);
        }
        put_unusual(table, "diagnostics", key_of(diagnostics_kinds, transceiver.diagnostics),
                    key_of(diagnostics_kinds, usual.diagnostics), type);
        put_unusual(table, "lanes", transceiver.lanes, usual.lanes, type);
        put_unusual(table, "speed", transceiver.speed, usual.speed, type);
        for (size_t i = 0; i < quantities.size(); ++i) {
            toml::table range = measurement_table(quantities[i], transceiver.measurements[i]);
            if (!range.empty() || type.contains(quantities[i].key)) {
                table.insert(quantities[i].key, std::move(range));
            }
        }
        return table;
    }

    const Chassis& chassis_;
    const Entity& own_;       ///< that of the chassis
    const toml::table types_; ///< of the file that the chassis came from
    toml::table root_;
    toml::array entities_; ///< the [[entity]] entries
};

} // namespace

std::string export_chassis(const Chassis& chassis)
{
    return Writer(chassis).write();
}

} // namespace sim
