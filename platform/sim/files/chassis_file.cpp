#include "files/chassis_file.h"

#include "files/chassis_schema.h"
#include "model/led.h"
#include "records/entity_record.h"
#include "records/transceiver_record.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>

namespace sim {
namespace {

/// Keys that any entity may have, and `more`.
Keys entity_keys(Keys more = {})
{
    more.insert(more.end(), {"vendor-type", "replaceable", "failed"});
    for (const EntityText& text : entity_texts) {
        more.push_back(text.key);
    }
    return more;
}

/// Keys that a unit of a kind may have, and `more`.
Keys unit_keys(const UnitKind& kind, Keys more = {})
{
    more.insert(more.end(), {"sensors", kind.watts});
    if (!kind.parts.empty()) {
        more.push_back(kind.parts);
    }
    if (kind.type == UnitType::module) {
        more.insert(more.end(), {"role", "admin-status", "transceivers", "electrical"});
    }
    if (kind.type != UnitType::power_supply) {
        more.emplace_back("power-admin-status");
    }
    return entity_keys(std::move(more));
}

/// Keys that a transceiver may have, and `more`.
Keys transceiver_keys(Keys more = {})
{
    more.insert(more.end(), {"diagnostics", "lanes"});
    for (const TransceiverText& text : transceiver_texts) {
        more.push_back(text.key);
    }
    for (const Quantity& quantity : quantities) {
        more.push_back(quantity.key);
    }
    return more;
}

/// Reads one chassis file.
class Reader : TomlReader {
public:
    explicit Reader(const std::string& file, Chassis::TimeSource now = Clock::now)
        : TomlReader(file), chassis_(file, std::move(now))
    {
    }

    Chassis read()
    {
        read_places();
        for (const UnitKind& kind : unit_kinds) {
            for_each_table(root().get(kind.entry), kind.entry,
                           [&](const toml::table& entry) { add_units(kind, entry); });
        }
        for_each_table(root().get("unrecognized"), "unrecognized",
                       [&](const toml::table& entry) { plug_unrecognized(entry); });
        if (!entity_entries_.empty()) {
            const auto& [index, entry] = *entity_entries_.begin();
            fail(entry->source(), "there is no entity ", index);
        }
        read_supervisors();
        for_each_table(root().get("led"), "led", [&](const toml::table& entry) { set_led(entry); });
        for_each_table(root().get("fault"), "fault",
                       [&](const toml::table& entry) { set_fault(entry); });
        return std::move(chassis_);
    }

    Assembly read_unit(uint32_t place, const std::string& type)
    {
        read_places();
        entity_entries_.clear(); // they are about the units of the file
        const auto in_place = [&](const UnitKind& kind) {
            return place > kind.place_base && place <= kind.place_base + kind.max_places;
        };
        const auto* kind = std::ranges::find_if(unit_kinds, in_place);
        if (kind == std::end(unit_kinds)) {
            throw FileError(concat(file(), ": no unit fits into ", place));
        }
        if (!root()["types"][type].is_table()) {
            throw FileError(concat(file(), ": there is no [types.", type, "]"));
        }
        const toml::table entry{{"type", type}};
        const Settings settings = settings_of(*kind, entry);
        return make_unit(*kind, place - kind->place_base, settings);
    }

    Transceiver read_transceiver(const Entity& port, const std::string& type)
    {
        read_places();
        if (!root()["transceivers"][type].is_table()) {
            throw FileError(concat(file(), ": there is no [transceivers.", type, "]"));
        }
        const toml::table entry{{"type", type}};
        const Settings settings = with_type(entry, "transceivers");
        return make_transceiver(settings, port);
    }

    toml::table read_types()
    {
        check_types();
        toml::table types;
        for (const std::string_view key : {"types", "transceivers"}) {
            if (const toml::node* node = root().get(key)) {
                types.insert(key, *node);
            }
        }
        return types;
    }

private:
    /// Everything but the units.
    void read_places()
    {
        Keys keys = {"chassis",      "types", "transceivers", "entity",
                     "unrecognized", "led",   "supervisors",  "fault"};
        for (const UnitKind& kind : unit_kinds) {
            keys.push_back(kind.entry);
        }
        check_keys(root(), keys);
        check_types();
        const toml::node* node = root().get("chassis");
        if (node == nullptr) {
            fail(root().source(), "there is no [chassis] table");
        }
        read_entity_entries();
        const toml::table& settings = as_table(*node, "chassis");
        add_chassis(settings);
        for (const UnitKind& kind : unit_kinds) {
            add_places(kind, settings);
        }
    }

    /// Types are good as a whole, also those that nothing has.
    void check_types()
    {
        for_each_type("transceivers", [&](const toml::table& type) {
            check_keys(type, transceiver_keys());
            make_transceiver({type}, make_port({}, 1, 1));
        });
        for_each_type("types",
                      [&](const toml::table& type) { make_unit(kind_of(type), 1, {type}); });
    }

    void for_each_type(std::string_view types, auto&& use) const
    {
        if (const toml::node* node = root().get(types)) {
            for (const auto& [name, type] : as_table(*node, types)) {
                use(as_table(type, name.str()));
            }
        }
    }

    /// A kind of units that may have all keys of a type.
    const UnitKind& kind_of(const toml::table& type) const
    {
        Keys all;
        for (const UnitKind& kind : unit_kinds) {
            const Keys keys = unit_keys(kind);
            if (unknown_key(type, keys) == nullptr) {
                return kind;
            }
            all.insert(all.end(), keys.begin(), keys.end());
        }
        check_keys(type, all);
        fail(type.source(), "no module, power supply or fan tray may have all of these keys");
    }

    /// Entries for entities that are described with others otherwise.
    void read_entity_entries()
    {
        for_each_table(root().get("entity"), "entity", [&](const toml::table& entry) {
            check_keys(entry, entity_keys({"index"}));
            const toml::node& index = required(entry, "index", "[[entity]]");
            const uint32_t value = number(index, "index", 1, INT32_MAX);
            if (!entity_entries_.emplace(value, &entry).second) {
                fail(index.source(), "another [[entity]] has the index ", value);
            }
        });
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
        if (const toml::node* slot = table.get("in-charge")) {
            redundancy.active = in_charge(*slot);
        }
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
        chassis_.set_redundancy(redundancy);
    }

    /// The index of the supervisor in charge, or of the one that was last, by its slot.
    uint32_t in_charge(const toml::node& slot) const
    {
        const auto* modules = std::ranges::find(unit_kinds, UnitType::module, &UnitKind::type);
        const uint32_t place = number(slot, "in-charge", 1, modules->max_places);
        const uint32_t index = modules->base + place;
        const Unit* unit = chassis_.find_unit(index);
        const bool in_service =
            unit != nullptr && is_supervisor(*unit) && unit->status == EntityStatus::ok;
        if (!in_service && chassis_.active_supervisor() != nullptr) {
            fail(slot.source(), "slot ", place, " holds no supervisor in service");
        }
        return index;
    }

    void set_led(const toml::table& entry)
    {
        check_keys(entry, {"entity", "led", "value"});
        const uint32_t index = number(required(entry, "entity", "[[led]]"), "entity", 1, INT32_MAX);
        const toml::node& led = required(entry, "led", "[[led]]");
        const uint32_t which = number(led, "led", 1, INT32_MAX);
        const Unit* unit = chassis_.known_unit(index);
        if (unit == nullptr ? index != chassis_index || which != status_led
                            : which > number_of_leds(*unit)) {
            fail(led.source(), "entity ", index, " has no LED ", which);
        }
        const toml::node& value = required(entry, "value", "[[led]]");
        chassis_.set_led(index, which,
                         value.is_integer() ? number<int32_t>(value, "value", INT32_MIN, INT32_MAX)
                                            : static_cast<int32_t>(
                                                  choice({entry}, "value", "", led_colours).value));
    }

    void set_fault(const toml::table& entry)
    {
        check_keys(entry, {"request", "operation", "effect", "amount", "count"});
        required(entry, "request", "[[fault]]");
        required(entry, "effect", "[[fault]]");
        Fault fault{.request = choice({entry}, "request", "", request_names).value,
                    .kind = &choice({entry}, "effect", "", fault_kinds)};
        if (entry.contains("operation")) {
            fault.operation = choice({entry}, "operation", "", operation_names).value;
        }
        const toml::node* amount = entry.get("amount");
        if (fault.kind->most != 0) {
            fault.amount =
                number(required(entry, "amount", concat("a fault '", fault.kind->key, "'")),
                       "amount", 1, fault.kind->most);
        } else if (amount != nullptr) {
            fail(amount->source(), "'", fault.kind->key, "' takes no 'amount'");
        }
        if (const toml::node* node = entry.get("count")) {
            fault.left = number(*node, "count", 1, UINT32_MAX);
        }
        chassis_.set_fault(fault);
    }

    /// A text. One that is no UTF-8 is a table with its bytes in hexadecimal.
    std::string bytes(const toml::node& node, std::string_view what) const
    {
        const toml::table* table = node.as_table();
        if (table == nullptr) {
            return text(node, what);
        }
        check_keys(*table, {"hex"});
        const toml::node& hex = required(*table, "hex", concat("'", what, "'"));
        const std::string digits = text(hex, "hex");
        if (digits.size() % 2 != 0 ||
            digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            fail(hex.source(), "'hex' is not pairs of hexadecimal digits such as \"c3a4\"");
        }
        std::string value;
        for (size_t i = 0; i < digits.size(); i += 2) {
            value.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
        }
        return value;
    }

    /// Overwrites the texts of something with what its settings say.
    template <typename Described, typename Text, size_t Count>
    void read_texts(Described& described, const Text (&texts)[Count],
                    const Settings& settings) const
    {
        for (const Text& one : texts) {
            const toml::node* node = settings.find(one.key);
            if (node == nullptr) {
                continue;
            }
            const std::string value = bytes(*node, one.key);
            if (value.size() > one.capacity) {
                fail(node->source(), "'", one.key, "' has ", value.size(), " bytes, more than ",
                     one.capacity);
            }
            // In its record a text ends with the first NUL.
            if (value.find('\0') != std::string::npos) {
                fail(node->source(), "'", one.key, "' contains a NUL");
            }
            described.*one.text = value;
        }
    }

    /// Refuses texts that are too long: those which their settings do not give derive from the
    /// chassis's.
    template <typename Described, typename Text, size_t Count>
    void check_derived(const Described& described, const Text (&texts)[Count],
                       const std::string& whose) const
    {
        for (const Text& one : texts) {
            const std::string& value = described.*one.text;
            if (value.size() > one.capacity) {
                fail(own_settings_->find(one.key)->source(), "'", one.key,
                     "' is too long: that of ", whose, ", which derives from it, has ",
                     value.size(), " bytes, more than ", one.capacity);
            }
        }
    }

    /// Overwrites the entity's defaults with what its settings say.
    void describe(Entity& entity, const Settings& settings) const
    {
        read_texts(entity, entity_texts, settings);
        if (const toml::node* node = settings.find("vendor-type")) {
            entity.vendor_type = number(*node, "vendor-type", 0, UINT32_MAX);
        }
        entity.replaceable = is_set(settings, "replaceable", entity.replaceable);
        entity.failed = is_set(settings, "failed", entity.failed);
    }

    /// An entity as its own entry says, if there is one.
    Entity completed(Entity entity)
    {
        if (const auto entry = entity_entries_.extract(entity.index)) {
            describe(entity, {*entry.mapped()});
        }
        return entity;
    }

    void add_chassis(const toml::table& settings)
    {
        Keys keys =
            entity_keys({"sensors", "start-seconds", "type-code", "diagnostics-delay-ms",
                         "redundancy-mode", "max-default-in-line-power", "status-notifications"});
        for (const UnitKind& kind : unit_kinds) {
            keys.push_back(kind.place_count);
        }
        check_keys(settings, keys);

        const auto entry = entity_entries_.extract(chassis_index);
        own_settings_.emplace(entry ? Settings{*entry.mapped(), &settings} : Settings{settings});
        own_ = make_chassis();
        describe(own_, *own_settings_);
        chassis_.add(own_);
        for (Entity& sensor : make_sensors(own_, 0, {settings})) {
            chassis_.add(std::move(sensor));
        }

        const auto usual_seconds = static_cast<uint32_t>(chassis_.start_time().count());
        chassis_.set_start_time(
            std::chrono::seconds(count({settings}, "start-seconds", 3600, usual_seconds)));
        chassis_.start_under(choice({settings}, "redundancy-mode", "none", redundancy_modes).value);
        SwitchSettings& switch_settings = chassis_.settings();
        switch_settings.type_code = count({settings}, "type-code", UINT32_MAX);
        switch_settings.diagnostics_delay =
            std::chrono::milliseconds(count({settings}, "diagnostics-delay-ms", 10000));
        switch_settings.max_default_in_line_power = static_cast<int32_t>(
            count({settings}, "max-default-in-line-power", max_in_line_power, max_in_line_power));
        switch_settings.status_notifications = is_set({settings}, "status-notifications", true);
    }

    /// Slots and bays are all containers in the chassis, so their positions follow on each other.
    void add_places(const UnitKind& kind, const toml::table& settings)
    {
        const uint32_t places = count({settings}, kind.place_count, kind.max_places);
        for (uint32_t place = 1; place <= places; ++place) {
            Entity container = completed(make_container(kind, own_, place));
            container.position = ++containers_;
            const uint32_t index = container.index;
            chassis_.add(std::move(container));
            chassis_.add_place(
                {.index = index, .type = kind.type, .unit_index = kind.base + place});
        }
    }

    /// An entry with the type that it refers to, if it does, in a table of types.
    Settings with_type(const toml::table& entry, std::string_view types) const
    {
        const toml::node* node = entry.get("type");
        if (node == nullptr) {
            return {entry};
        }
        const std::string name = text(*node, "type");
        const toml::node* type = root()[types][name].node();
        if (type == nullptr) {
            fail(node->source(), "there is no [", types, ".", name, "]");
        }
        return {entry, type->as_table()};
    }

    Settings settings_of(const UnitKind& kind, const toml::table& entry) const
    {
        Keys keys = unit_keys(kind, {"type", kind.place, "pulled"});
        if (kind.type == UnitType::module) {
            keys.insert(keys.end(), {"starting", "starts"});
        }
        check_keys(entry, keys);
        const Settings settings = with_type(entry, "types");
        if (settings.inherited != nullptr) {
            check_keys(*settings.inherited, unit_keys(kind));
        }
        return settings;
    }

    /// One entry describes the unit in one place, or like units in several.
    void add_units(const UnitKind& kind, const toml::table& entry)
    {
        const Settings settings = settings_of(kind, entry);
        const toml::node& place = required(entry, kind.place, concat("[[", kind.entry, "]]"));
        if (!place.is_array()) {
            add_unit(kind, place, settings);
            return;
        }
        for (const toml::node& one : *place.as_array()) {
            add_unit(kind, one, settings);
        }
    }

    void add_unit(const UnitKind& kind, const toml::node& node, const Settings& settings)
    {
        const uint32_t place = number(node, kind.place, 1, kind.max_places);
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
        Assembly assembly = make_unit(kind, place, settings);
        const bool pulled = is_set(settings, "pulled");
        assembly.unit.starts = count(settings, "starts", UINT32_MAX, pulled ? 0 : 1);
        if (pulled) {
            chassis_.add_pulled(std::move(assembly));
        } else {
            assembly.unit.status =
                is_set(settings, "starting") ? EntityStatus::starting : EntityStatus::off;
            chassis_.add_unit(std::move(assembly));
        }
    }

    /// A unit for a place, with its parts.
    Assembly make_unit(const UnitKind& kind, uint32_t place, const Settings& settings)
    {
        Entity entity = sim::make_unit(kind, own_, place);
        describe(entity, settings);
        entity = completed(std::move(entity));
        check_derived(entity, entity_texts, entity.name);

        Assembly assembly{
            .unit = {.type = kind.type,
                     .index = entity.index,
                     .number = place,
                     .role = choice(settings, "role", "line-card", roles).value,
                     .watts = count(settings, kind.watts, max_watts),
                     .admin_status = choice(settings, "admin-status", "on", admin_statuses).value,
                     .power_admin_status =
                         choice(settings, "power-admin-status", "on", power_admin_statuses).value},
            .entities = make_sensors(entity, kind.sensor_holder_base + place, settings)};
        const uint32_t parts = count(settings, kind.parts, kind.max_parts);
        for (uint32_t number = 1; number <= parts; ++number) {
            Entity part = completed(kind.make_part(own_, place, number));
            part.contained_in = entity.index;
            part.position = static_cast<int32_t>(number);
            assembly.entities.push_back(std::move(part));
        }
        if (kind.type == UnitType::module) {
            fit_ports(std::span(assembly.entities).last(parts), settings);
        }
        assembly.entities.push_back(std::move(entity));
        return assembly;
    }

    /// Says of a module's ports, in the order of their numbers, which have a cage and what is in
    /// it.
    void fit_ports(std::span<Entity> ports, const Settings& settings) const
    {
        if (const toml::node* electrical = settings.find("electrical")) {
            for (const uint32_t number : port_list(*electrical, "electrical", ports.size())) {
                ports[number - 1].port->has_cage = false;
            }
        }
        const toml::node* transceivers = settings.find("transceivers");
        for_each_table(transceivers, "transceivers", [&](const toml::table& entry) {
            check_keys(entry, transceiver_keys({"ports", "type", "unplugged"}));
            const toml::node& list = required(entry, "ports", "an element of 'transceivers'");
            for (const uint32_t number : port_list(list, "ports", ports.size())) {
                Entity& entity = ports[number - 1];
                if (!entity.port->has_cage) {
                    fail(list.source(), "port ", number, " is electrical");
                }
                if (entity.port->transceiver || entity.port->unplugged) {
                    fail(list.source(), "port ", number, " holds another transceiver");
                }
                (is_set({entry}, "unplugged") ? entity.port->unplugged : entity.port->transceiver) =
                    make_transceiver(with_type(entry, "transceivers"), entity);
            }
        });
    }

    /// The numbers that a text such as "1-8,10" lists, of `count` ports numbered from 1.
    std::vector<uint32_t> port_list(const toml::node& node, std::string_view what,
                                    size_t count) const
    {
        const auto given = node.value_exact<std::string_view>();
        std::string_view rest = given.value_or("");
        const auto refuse_unless = [&](bool good) {
            if (!good) {
                fail(node.source(), "'", what, "' is not a list of ports such as \"1-8,10\"");
            }
        };
        const auto take_number = [&] {
            uint32_t number = 0;
            const auto [end, error] =
                std::from_chars(rest.data(), rest.data() + rest.size(), number);
            refuse_unless(error == std::errc());
            rest.remove_prefix(static_cast<size_t>(end - rest.data()));
            return number;
        };
        const auto take = [&](char character) {
            const bool there = rest.starts_with(character);
            rest.remove_prefix(there ? 1 : 0);
            return there;
        };
        refuse_unless(given.has_value());
        std::vector<uint32_t> numbers;
        for (bool more = !rest.empty(); more; more = take(',')) {
            while (!numbers.empty() && take(' ')) {
            }
            const uint32_t first = take_number();
            const uint32_t last = take('-') ? take_number() : first;
            if (first < 1 || first > last || last > count) {
                fail(node.source(), "'", what, "' lists ", first,
                     last == first ? "" : concat("-", last), ", not within 1-", count);
            }
            for (uint32_t number = first; number <= last; ++number) {
                numbers.push_back(number);
            }
        }
        refuse_unless(rest.empty());
        return numbers;
    }

    /// A transceiver in a port.
    Transceiver make_transceiver(const Settings& settings, const Entity& port) const
    {
        Transceiver transceiver = sim::make_transceiver(own_, port.index);
        transceiver.type = settings.own["type"].value_or(std::string());
        read_texts(transceiver, transceiver_texts, settings);
        check_derived(transceiver, transceiver_texts, "the transceiver in " + port.name);
        transceiver.diagnostics =
            choice(settings, "diagnostics", "internal", diagnostics_kinds).value;
        if (const toml::node* lanes = settings.find("lanes")) {
            transceiver.lanes = number(*lanes, "lanes", 1, 8);
        }
        for (const Quantity& quantity : quantities) {
            transceiver.measurements.push_back(make_measurement(
                quantity, settings.find(quantity.key), threshold_format(transceiver),
                sensor_index(port.port->if_index, quantity)));
        }
        return transceiver;
    }

    Measurement make_measurement(const Quantity& quantity, const toml::node* node,
                                 WordFormat format, uint32_t seed) const
    {
        const bool dark = quantity.logarithmic && node != nullptr &&
                          node->value_exact<std::string_view>() == "none";
        if (dark || node == nullptr) {
            Measurement usual = sim::make_measurement(quantity, quantity.usual, format, seed);
            usual.reading.set_by_hand(dark ? std::optional(no_light) : std::nullopt);
            return usual;
        }
        const toml::table& table = as_table(*node, quantity.key);
        Measurement measurement =
            sim::make_measurement(quantity, range_of(quantity, table), format, seed);
        if (const toml::node* held = table.get("held")) {
            const bool held_dark =
                quantity.logarithmic && held->value_exact<std::string_view>() == "none";
            measurement.reading.set_by_hand(
                held_dark ? no_light : real(table, "held", 0, quantity.least, quantity.most));
        }
        return measurement;
    }

    ReadingRange range_of(const Quantity& quantity, const toml::table& table) const
    {
        ReadingRange range = quantity.usual;
        Keys keys = {"low", "high", "held"};
        keys.insert(keys.end(), std::begin(limit_keys), std::end(limit_keys));
        check_keys(table, keys);
        const auto read = [&](std::string_view key, double& value) {
            value = real(table, key, value, quantity.least, quantity.most);
        };
        read("low", range.low);
        read("high", range.high);
        for (size_t limit = 0; limit < limits; ++limit) {
            read(limit_keys[limit], range.thresholds[limit]);
        }
        const auto check_order = [&](std::string_view lower, double low, std::string_view upper,
                                     double high) {
            if (low > high) {
                fail(table.source(), "'", lower, "' is ", low, ", above '", upper, "', which is ",
                     high);
            }
        };
        check_order("low", range.low, "high", range.high);
        const Limit upwards[] = {low_alarm, low_warning, high_warning, high_alarm};
        for (size_t i = 1; i < std::size(upwards); ++i) {
            const Limit lower = upwards[i - 1];
            const Limit upper = upwards[i];
            check_order(limit_keys[lower], range.thresholds[lower], limit_keys[upper],
                        range.thresholds[upper]);
        }
        return range;
    }

    std::vector<Entity> make_sensors(const Entity& holder, uint32_t holder_number,
                                     const Settings& settings)
    {
        std::vector<Entity> sensors;
        for_each_table(settings.find("sensors"), "sensors", [&](const toml::table& entry) {
            check_keys(entry, entity_keys({"kind", "scale", "precision", "low", "high", "held",
                                           "last", "thresholds"}));
            const auto number = static_cast<uint32_t>(sensors.size() + 1);
            if (number > max_sensors) {
                fail(entry.source(), "more than ", max_sensors, " sensors");
            }
            Entity sensor = sim::make_sensor(own_, holder, holder_number, number);
            sensor.sensor = make_sensor(sensor.index, entry);
            sensor.description = sensor.sensor->kind->description;
            describe(sensor, {entry});
            // Entries of a type describe the sensors of many holders.
            sensor.name = holder.name + " " + sensor.name;
            sensor = completed(std::move(sensor));
            check_name(sensor, entry);
            sensors.push_back(std::move(sensor));
        });
        return sensors;
    }

    void check_name(const Entity& sensor, const toml::table& entry) const
    {
        const size_t most = std::ranges::find(entity_texts, "name", &EntityText::key)->capacity;
        if (sensor.name.size() > most) {
            const toml::node* name = entry.get("name");
            fail((name == nullptr ? entry : *name).source(), "the sensor's 'name' has ",
                 sensor.name.size(), " bytes after that of its holder, more than ", most);
        }
    }

    Sensor make_sensor(uint32_t index, const toml::table& entry) const
    {
        const SensorKind& kind = choice({entry}, "kind", "temperature", sensor_kinds);
        const SensorScale scale =
            choice({entry}, "scale", key_of(sensor_scales, kind.scale), sensor_scales).value;
        const uint32_t precision = count({entry}, "precision", max_precision);
        const double most = most_reading(scale, precision);
        const double low = real(entry, "low", kind.low, -most, most);
        const double high = real(entry, "high", kind.high, -most, most);
        if (low > high) {
            fail(entry.source(), "'low' is ", low, ", above 'high', which is ", high);
        }
        Sensor sensor{&kind, scale, precision, Reading(low, high, index)};
        if (entry.contains("held")) {
            sensor.reading.set_by_hand(real(entry, "held", std::nullopt, -most, most));
        }
        sensor.value = in_steps(sensor, real(entry, "last", 0, -most, most));
        for_each_table(entry.get("thresholds"), "thresholds", [&](const toml::table& threshold) {
            if (sensor.thresholds.size() == max_thresholds) {
                fail(threshold.source(), "more than ", max_thresholds, " thresholds");
            }
            sensor.thresholds.push_back(make_threshold(sensor, threshold));
        });
        return sensor;
    }

    SensorThreshold make_threshold(const Sensor& sensor, const toml::table& entry) const
    {
        check_keys(entry, {"value", "relation", "severity", "notify"});
        const double most = most_reading(sensor.scale, sensor.precision);
        const double value = real(entry, "value", std::nullopt, -most, most);
        return {.severity = choice({entry}, "severity", "minor", severities).value,
                .limit = Threshold(in_steps(sensor, value),
                                   choice({entry}, "relation", ">=", relations).value),
                .notifies = is_set({entry}, "notify", true)};
    }

    Chassis chassis_;
    int32_t containers_ = 0; ///< so far, in the chassis
    Entity own_; ///< that of the chassis, from which others have their manufacturer and serial
    std::optional<Settings> own_settings_;                  ///< what it is described with
    std::map<uint32_t, const toml::table*> entity_entries_; ///< by index, those not yet used
};

} // namespace

Chassis load_chassis(const std::string& file, Chassis::TimeSource now)
{
    return Reader(file, std::move(now)).read();
}

toml::table read_types(const std::string& file)
{
    return Reader(file).read_types();
}

Assembly make_unit(const std::string& file, uint32_t place, const std::string& type)
{
    return Reader(file).read_unit(place, type);
}

Transceiver make_transceiver(const std::string& file, const Entity& port, const std::string& type)
{
    return Reader(file).read_transceiver(port, type);
}

} // namespace sim
