#include "files/chassis_file.h"

#include "files/chassis_schema.h"
#include "files/entity_reader.h"
#include "model/led.h"
#include "model/nearest.h"

#include <algorithm>
#include <set>

namespace sim {
namespace {

/// Keys that a unit of a kind may have, and `more`.
Keys unit_keys(const UnitKind& kind, Keys more = {})
{
    more.insert(more.end(), {"sensors", kind.watts});
    if (!kind.parts.empty()) {
        more.push_back(kind.parts);
    }
    if (kind.type == UnitType::module) {
        more.insert(more.end(), {"role", "admin-status", "transceivers", "electrical", "port-speed",
                                 "interfaces"});
    }
    if (kind.type != UnitType::power_supply) {
        more.emplace_back("power-admin-status");
    }
    return entity_keys(std::move(more));
}

/// Reads one chassis file.
class Reader : EntityReader {
public:
    explicit Reader(const std::string& file, const Individual& individual = {},
                    Chassis::TimeSource now = Clock::now)
        : EntityReader(file, individual), chassis_(file, std::move(now))
    {
        chassis_.settings().individual = individual;
    }

    Chassis read()
    {
        return read_all([this] {
            bool known = attempt([this] { check_types(); });
            known = attempt([this] { read_places(); }) && known;
            for (const UnitKind& kind : unit_kinds) {
                const auto add = [&](const toml::table& entry) { add_units(kind, entry); };
                known = attempt_tables(kind.entry, add) && known;
            }
            const auto plug = [this](const toml::table& entry) { plug_unrecognized(entry); };
            known = attempt_tables("unrecognized", plug) && known;
            attempt([this] { configure_management(); });
            attempt_tables("fault", [this](const toml::table& entry) { set_fault(entry); });
            // What refers to entities depends on all of them.
            attempt([this] { read_supervisors(); }, known);
            attempt_tables(
                "led", [this](const toml::table& entry) { set_led(entry); }, known);
            if (known) {
                check_entries_used();
            }
            return std::move(chassis_);
        });
    }

    Assembly read_unit(uint32_t place, const std::string& type)
    {
        return read_all([&] {
            read_places();
            forget_entries(); // they belong to the units of the file
            const UnitKind& kind = kind_in(place);
            const Keys fitting = types_of(kind);
            const toml::table& wanted = required_type("types", type, fitting);
            if (std::ranges::find(fitting, type) == fitting.end()) {
                fail(wanted.source(), "[types.", type, "] does not fit: the place takes a ",
                     key_of(unit_types, kind.type));
            }
            const toml::table entry{{"type", type}};
            return make_unit(kind, place - kind.place_base, table_of(kind, entry));
        });
    }

    Transceiver read_transceiver(const Entity& port, const std::string& type)
    {
        return read_all([&] {
            read_places();
            required_type("transceivers", type, transceiver_types());
            const toml::table entry{{"type", type}};
            return make_transceiver(with_type(entry, "transceivers"), port);
        });
    }

    std::vector<std::string> fitting_types(const Entity& place) const
    {
        return read_all([&] {
            const Keys names = place.port ? transceiver_types() : types_of(kind_in(place.index));
            return std::vector<std::string>(names.begin(), names.end());
        });
    }

    toml::table read_types()
    {
        return read_all([this] {
            check_types();
            toml::table types;
            for (const std::string_view key : {"types", "transceivers"}) {
                if (const toml::node* node = root().get(key)) {
                    types.insert(key, *node);
                }
            }
            return types;
        });
    }

private:
    /// Calls `use` with each table of an array of tables, as attempt() does.
    bool attempt_tables(std::string_view key, auto&& use, bool known = true) const
    {
        return attempt([&] { for_each_table(root().get(key), key, use); }, known);
    }

    /// Everything but the units.
    void read_places()
    {
        read_entries();
        if (const toml::node* system = root().get("system")) {
            chassis_.settings().system = make_system(as_table(*system, "system"));
        }
        Keys keys = {"chassis",      "types", "transceivers", "entity", "system",
                     "unrecognized", "led",   "supervisors",  "fault",  "management"};
        for (const UnitKind& kind : unit_kinds) {
            keys.push_back(kind.entry);
        }
        check_keys(root(), keys);
        const toml::table& table = as_table(required(root(), "chassis", "the file"), "chassis");
        add_chassis(table);
        for (const UnitKind& kind : unit_kinds) {
            add_places(kind, table);
        }
    }

    /// All types must be valid, also unused ones.
    void check_types()
    {
        for_each_type("transceivers", [&](const toml::table& type, std::string_view /*name*/) {
            check_keys(type, transceiver_keys());
            make_transceiver({type}, usual_port({}, 1, 1));
        });
        for_each_type("types", [&](const toml::table& type, std::string_view /*name*/) {
            wrong_types_.insert(&type);
            make_unit(kind_of(type), 1, {type});
            stop_unless_sound();
            wrong_types_.erase(&type);
        });
    }

    /// The kind of the units that a place takes.
    const UnitKind& kind_in(uint32_t place) const
    {
        const auto* kind = std::ranges::find_if(unit_kinds, [&](const UnitKind& one) {
            return place > one.place_base && place <= one.place_base + one.max_places;
        });
        if (kind == std::end(unit_kinds)) {
            throw FileError(concat(file(), ": no unit fits into ", place));
        }
        return *kind;
    }

    /// The names of the types of a kind of units.
    Keys types_of(const UnitKind& kind) const
    {
        Keys names;
        for_each_type("types", [&](const toml::table& table, std::string_view name) {
            if (unknown_keys(table, unit_keys(kind)).empty()) {
                names.push_back(name);
            }
        });
        return names;
    }

    Keys transceiver_types() const
    {
        Keys names;
        for_each_type("transceivers", [&](const toml::table& /*type*/, std::string_view name) {
            names.push_back(name);
        });
        return names;
    }

    /// The table of a type. The error of a missing one lists those that fit.
    const toml::table& required_type(std::string_view types, const std::string& type,
                                     const Keys& fitting) const
    {
        if (const toml::table* table = root()[types][type].as_table()) {
            return *table;
        }
        throw FileError(concat(file(), ": there is no [", types, ".", type, "]",
                               fitting.empty() ? "" : "; there is ", listed(fitting)));
    }

    /// Calls `use` with each table of types and its name.
    void for_each_type(std::string_view types, auto&& use) const
    {
        if (const toml::node* node = root().get(types)) {
            attempt_each(as_table(*node, types), [&](const auto& named) {
                const auto& [name, type] = named;
                use(as_table(type, name.str()), name.str());
            });
        }
    }

    /// The kind of units that allows the most keys of a type. It should allow all.
    const UnitKind& kind_of(const toml::table& type) const
    {
        Keys all;
        for (const UnitKind& kind : unit_kinds) {
            const Keys keys = unit_keys(kind);
            all.insert(all.end(), keys.begin(), keys.end());
        }
        check_keys(type, all);
        const UnitKind& kind = *std::ranges::min_element(unit_kinds, {}, [&](const UnitKind& one) {
            return unknown_keys(type, unit_keys(one)).size();
        });
        if (sound() && !unknown_keys(type, unit_keys(kind)).empty()) {
            report(type.source(), "no module, power supply or fan tray may have all of these keys");
        }
        return kind;
    }

    void plug_unrecognized(const toml::table& entry)
    {
        check_keys(entry, entity_keys({"place"}));
        const toml::node& node = required(entry, "place", "[[unrecognized]]");
        const uint32_t place = number(node, "place", 1, INT32_MAX);
        const auto found = chassis_.places().find(place);
        if (found == chassis_.places().end()) {
            fail(node.source(), "there is no slot or bay ", place);
        }
        const Entity& container = chassis_.entities().at(place);
        if (chassis_.find(found->second.unit_index) != nullptr) {
            fail(node.source(), container.name, " is not empty");
        }
        Entity unit = unrecognized_unit(container, found->second.unit_index);
        describe(unit, {entry});
        stop_unless_sound();
        chassis_.add(std::move(unit));
    }

    void read_supervisors()
    {
        const toml::node* node = root().get("supervisors");
        if (node == nullptr) {
            return;
        }
        const toml::table& table = as_table(*node, "supervisors");
        check_keys(table, {"in-charge", "switchovers", "last-reason", "last-action", "state"});
        Redundancy redundancy = chassis_.redundancy();
        redundancy.switchovers = count({table}, "switchovers", UINT32_MAX);
        const auto code = [&](std::string_view key, int32_t& value) {
            if (const toml::node* given = table.get(key)) {
                value = number<int32_t>(*given, key, INT32_MIN, INT32_MAX);
            }
            return table.contains(key);
        };
        code("last-reason", redundancy.last_reason);
        constexpr auto last_action =
            static_cast<uint32_t>(RedundancyAction::switch_over_and_restart);
        redundancy.last_action =
            static_cast<RedundancyAction>(count({table}, "last-action", last_action));
        if (int32_t state = 0; code("state", state)) {
            redundancy.state_by_hand = state;
        }
        if (const toml::node* slot = table.get("in-charge")) {
            redundancy.active = in_charge(*slot);
        }
        stop_unless_sound();
        chassis_.set_redundancy(redundancy);
    }

    /// The index of the active supervisor, or of the last active one, by its slot.
    uint32_t in_charge(const toml::node& slot) const
    {
        const auto* modules = std::ranges::find(unit_kinds, UnitType::module, &UnitKind::type);
        const uint32_t place = number(slot, "in-charge", 1, modules->max_places);
        const uint32_t index = modules->base + place;
        const Unit* unit = chassis_.find_unit(index);
        const bool in_service =
            unit != nullptr && is_supervisor(*unit) && unit->status == EntityStatus::ok;
        if (!in_service && active_supervisor(chassis_) != nullptr) {
            fail(slot.source(), "slot ", place, " holds no supervisor in service");
        }
        return index;
    }

    void configure_management()
    {
        if (const toml::node* node = root().get("management")) {
            const toml::table& table = as_table(*node, "management");
            change_as_said(table, [&] {
                chassis_.configure_interface(chassis_.management().port->if_index,
                                             make_interface(table));
            });
        }
    }

    /// Makes a change that the switch may refuse.
    void change_as_said(const toml::table& table, auto change) const
    {
        try {
            change();
        } catch (const Refusal& refusal) {
            fail(table.source(), refusal.what());
        }
    }

    void set_led(const toml::table& entry)
    {
        check_keys(entry, {"entity", "led", "value"});
        const uint32_t index = number(required(entry, "entity", "[[led]]"), "entity", 1, INT32_MAX);
        const toml::node& led = required(entry, "led", "[[led]]");
        const uint32_t which = number(led, "led", 1, INT32_MAX);
        const toml::node& node = required(entry, "value", "[[led]]");
        const int32_t value = node.is_integer()
                                  ? number<int32_t>(node, "value", INT32_MIN, INT32_MAX)
                                  : static_cast<int32_t>(choice(node, "value", led_colours).value);
        const Unit* unit = chassis_.known_unit(index);
        if (unit == nullptr ? index != chassis_index || which != status_led
                            : which > number_of_leds(*unit)) {
            fail(led.source(), "entity ", index, " has no LED ", which);
        }
        stop_unless_sound();
        sim::set_led(chassis_, index, which, value);
    }

    void set_fault(const toml::table& entry)
    {
        check_keys(entry, {"request", "operation", "effect", "amount", "count"});
        const toml::node& request = required(entry, "request", "[[fault]]");
        const toml::node& effect = required(entry, "effect", "[[fault]]");
        Fault fault{.request = choice(request, "request", request_names).key,
                    .kind = &choice(effect, "effect", fault_kinds)};
        if (const toml::node* node = entry.get("operation")) {
            fault.operation = choice(*node, "operation", operation_names).value;
        }
        if (const toml::node* node = entry.get("count")) {
            fault.left = number(*node, "count", 1, UINT32_MAX);
        }
        stop_unless_sound();
        const toml::node* amount = entry.get("amount");
        if (fault.kind->most != 0) {
            fault.amount =
                number(required(entry, "amount", concat("a fault '", fault.kind->key, "'")),
                       "amount", 1, fault.kind->most);
        } else if (amount != nullptr) {
            fail(amount->source(), "'", fault.kind->key, "' takes no 'amount'");
        }
        stop_unless_sound();
        change_as_said(entry, [&] { chassis_.set_fault(fault); });
    }

    void add_chassis(const toml::table& table)
    {
        Keys keys =
            entity_keys({"sensors", "start-seconds", "type-code", "diagnostics-delay-ms",
                         "redundancy-mode", "max-default-in-line-power", "status-notifications"});
        for (const UnitKind& kind : unit_kinds) {
            keys.push_back(kind.place_count);
        }
        check_keys(table, keys);

        read_own(table);
        chassis_.add(own());
        for (Entity& sensor : make_sensors(own(), 0, {table})) {
            chassis_.add(std::move(sensor));
        }

        chassis_.start_under(choice({table}, "redundancy-mode", "none", redundancy_modes).value);
        SwitchSettings& settings = chassis_.settings();
        const auto usual_seconds = static_cast<uint32_t>(settings.start_time.count());
        settings.start_time =
            std::chrono::seconds(count({table}, "start-seconds", 3600, usual_seconds));
        settings.type_code = count({table}, "type-code", UINT32_MAX);
        settings.diagnostics_delay =
            std::chrono::milliseconds(count({table}, "diagnostics-delay-ms", 10000));
        settings.max_default_in_line_power = static_cast<int32_t>(
            count({table}, "max-default-in-line-power", max_in_line_power, max_in_line_power));
        settings.status_notifications = is_set({table}, "status-notifications", true);
    }

    /// Slots and bays are all containers in the chassis, so their positions are consecutive.
    void add_places(const UnitKind& kind, const toml::table& table)
    {
        const uint32_t places = count({table}, kind.place_count, kind.max_places);
        for (uint32_t place = 1; place <= places; ++place) {
            Entity container = completed(usual_container(kind, own(), place));
            container.position = ++containers_;
            const uint32_t index = container.index;
            chassis_.add(std::move(container));
            chassis_.add_place(
                {.index = index, .type = kind.type, .unit_index = kind.base + place});
        }
    }

    InheritingTable table_of(const UnitKind& kind, const toml::table& entry) const
    {
        Keys keys = unit_keys(kind, {"type", kind.place, "pulled"});
        if (kind.type == UnitType::module) {
            keys.insert(keys.end(), {"starting", "starts"});
        }
        check_keys(entry, keys);
        const InheritingTable table = with_type(entry, "types");
        if (table.inherited != nullptr && !wrong_types_.contains(table.inherited)) {
            check_keys(*table.inherited, unit_keys(kind));
        }
        return table;
    }

    /// One entry describes the unit in one place, or equal units in several.
    void add_units(const UnitKind& kind, const toml::table& entry)
    {
        const InheritingTable table = table_of(kind, entry);
        const toml::node& place = required(entry, kind.place, concat("[[", kind.entry, "]]"));
        if (!place.is_array()) {
            add_unit(kind, place, table);
            return;
        }
        const toml::array& places = *place.as_array();
        if (places.size() > kind.max_places) {
            fail(place.source(), "more than ", kind.max_places, " values of '", kind.place, "'");
        }
        attempt_each(places, [&](const toml::node& one) { add_unit(kind, one, table); });
    }

    void add_unit(const UnitKind& kind, const toml::node& node, const InheritingTable& table)
    {
        const uint32_t place = number(node, kind.place, 1, kind.max_places);
        Assembly assembly = make_unit(kind, place, table);
        const bool pulled = is_set(table, "pulled");
        const bool starting = is_set(table, "starting");
        assembly.unit.starts = count(table, "starts", UINT32_MAX, pulled ? 0 : 1);
        if (chassis_.find(kind.place_base + place) == nullptr) {
            fail(node.source(), "the chassis has no ", kind.place, " ", place, "; see its '",
                 kind.place_count, "'");
        }
        if (chassis_.find(kind.base + place) != nullptr) {
            fail(node.source(), kind.place, " ", place, " holds another ", kind.entry);
        }
        if (const Place& holder = chassis_.places().at(kind.place_base + place); holder.pulled) {
            fail(node.source(), "another ", kind.entry, " was pulled from ", kind.place, " ",
                 place);
        }
        stop_unless_sound();
        if (pulled) {
            chassis_.add_pulled(std::move(assembly));
        } else {
            assembly.unit.status = starting ? EntityStatus::starting : EntityStatus::off;
            chassis_.add_unit(std::move(assembly));
        }
    }

    /// A unit for a place, with its parts.
    Assembly make_unit(const UnitKind& kind, uint32_t place, const InheritingTable& table)
    {
        Entity entity = usual_unit(kind, own(), place);
        describe(entity, table);
        entity = completed(std::move(entity));
        check_derived(entity);

        Assembly assembly{
            .unit = {.type = kind.type,
                     .index = entity.index,
                     .number = place,
                     .role = choice(table, "role", "line-card", module_roles).value,
                     .watts = count(table, kind.watts, max_watts),
                     .admin_status = choice(table, "admin-status", "on", admin_statuses).value,
                     .power_admin_status =
                         choice(table, "power-admin-status", "on", power_admin_statuses).value},
            .entities = make_sensors(entity, kind.sensor_holder_base + place, table)};
        const uint32_t parts = count(table, kind.parts, kind.max_parts);
        for (uint32_t number = 1; number <= parts; ++number) {
            Entity part = completed(kind.usual_part(own(), place, number));
            part.contained_in = entity.index;
            part.position = static_cast<int32_t>(number);
            assembly.entities.push_back(std::move(part));
        }
        if (kind.type == UnitType::module) {
            fit_ports(std::span(assembly.entities).last(parts), table);
        }
        assembly.entities.push_back(std::move(entity));
        return assembly;
    }

    Chassis chassis_;
    std::set<const toml::table*> wrong_types_; ///< of units
    int32_t containers_ = 0;                   ///< so far, in the chassis
};

} // namespace

Chassis load_chassis(const std::string& file, Chassis::TimeSource now, const Individual& individual)
{
    return Reader(file, individual, std::move(now)).read();
}

toml::table read_types(const std::string& file)
{
    return Reader(file).read_types();
}

Assembly load_unit(const Chassis& chassis, uint32_t place, const std::string& type)
{
    return Reader(chassis.file(), chassis.settings().individual).read_unit(place, type);
}

std::vector<std::string> fitting_types(const Chassis& chassis, const Entity& place)
{
    return Reader(chassis.file(), chassis.settings().individual).fitting_types(place);
}

Transceiver load_transceiver(const Chassis& chassis, const Entity& port, const std::string& type)
{
    return Reader(chassis.file(), chassis.settings().individual).read_transceiver(port, type);
}

} // namespace sim
