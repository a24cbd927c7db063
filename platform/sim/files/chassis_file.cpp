#include "files/chassis_file.h"

#include "files/chassis_schema.h"
#include "files/toml_reader.h"
#include "records/entity_record.h"
#include "records/transceiver_record.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <regex>
#include <set>

namespace sim {
namespace {

/// Keys that any entity may have, and `more`.
Keys entity_keys(Keys more)
{
    more.insert(more.end(), {"vendor-type", "replaceable"});
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
        more.insert(more.end(), {"role", "transceivers", "electrical"});
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
        read_entity_entries();
        read_places();
        for (const UnitKind& kind : unit_kinds) {
            for_each_table(root().get(kind.entry), kind.entry,
                           [&](const toml::table& entry) { add_units(kind, entry); });
        }
        plug_unrecognized();
        check_entity_entries();
        return std::move(chassis_);
    }

    Assembly read_unit(uint32_t place, const std::string& type)
    {
        read_places();
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
        return make_unit(*kind, place - kind->place_base, settings, settings.inherited->source());
    }

    Transceiver read_transceiver(const Entity& port, const std::string& type)
    {
        read_places();
        if (!root()["transceivers"][type].is_table()) {
            throw FileError(concat(file(), ": there is no [transceivers.", type, "]"));
        }
        const toml::table entry{{"type", type}};
        const Settings settings = with_type(entry, "transceivers");
        return make_transceiver(settings, port, settings.inherited->source());
    }

private:
    /// Everything but the units.
    void read_places()
    {
        check_keys(root(), {"chassis", "types", "transceivers", "module", "power-supply",
                            "fan-tray", "entity"});
        check_types();
        const toml::node* settings = root().get("chassis");
        if (settings == nullptr) {
            fail(root().source(), "there is no [chassis] table");
        }
        add_chassis(as_table(*settings, "chassis"));
        check_transceiver_types();
        for (const UnitKind& kind : unit_kinds) {
            add_places(kind, as_table(*settings, "chassis"));
        }
    }

    /// Entries for entities that are described with others otherwise.
    void read_entity_entries()
    {
        for_each_table(root().get("entity"), "entity", [&](const toml::table& entry) {
            check_keys(entry, entity_keys({"index", "failed"}));
            const toml::node& index = required(entry, "index", "[[entity]]");
            const uint32_t value = number(index, "index", 1, INT32_MAX);
            if (!entity_entries_.emplace(value, &entry).second) {
                fail(index.source(), "another [[entity]] has the index ", value);
            }
        });
    }

    void check_entity_entries() const
    {
        for (const auto& [index, entry] : entity_entries_) {
            if (!described_.contains(index)) {
                fail(entry->source(), "there is no entity ", index);
            }
        }
    }

    void plug_unrecognized()
    {
        const toml::node* places = root()["chassis"]["unrecognized"].node();
        if (places == nullptr) {
            return;
        }
        if (!places->is_array()) {
            fail(places->source(), "'unrecognized' is not an array");
        }
        for (const toml::node& node : *places->as_array()) {
            const uint32_t place = number(node, "unrecognized", 1, INT32_MAX);
            if (!chassis_.places().contains(place)) {
                fail(node.source(), "there is no slot or bay ", place);
            }
            try {
                chassis_.plug_unknown(place);
            } catch (const Refusal& refusal) {
                fail(node.source(), refusal.what());
            }
        }
    }

    void check_types() const
    {
        const toml::node* types = root().get("types");
        if (types == nullptr) {
            return;
        }
        Keys keys;
        for (const UnitKind& kind : unit_kinds) {
            keys = unit_keys(kind, std::move(keys));
        }
        for (const auto& [name, type] : as_table(*types, "types")) {
            check_keys(as_table(type, name.str()), keys);
        }
    }

    /// Types of transceivers are good as a whole, also those that no port holds.
    void check_transceiver_types() const
    {
        const toml::node* types = root().get("transceivers");
        if (types == nullptr) {
            return;
        }
        const Entity no_port{.port = Port{}};
        for (const auto& [name, node] : as_table(*types, "transceivers")) {
            const toml::table& type = as_table(node, name.str());
            check_keys(type, transceiver_keys());
            make_transceiver({type}, no_port, type.source());
        }
    }

    /// In its record a text ends with the first NUL.
    void check_text(const toml::source_region& where, const auto& text,
                    const std::string& value) const
    {
        if (value.size() > text.capacity) {
            fail(where, "'", text.key, "' has ", value.size(), " bytes, more than ", text.capacity);
        }
        if (value.find('\0') != std::string::npos) {
            fail(where, "'", text.key, "' contains a NUL");
        }
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
            described.*one.text = text(*node, one.key);
            check_text(node->source(), one, described.*one.text);
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
    }

    /// An entity with what it has from others, checked.
    Entity completed(Entity entity, const toml::source_region& where)
    {
        described_.insert(entity.index);
        if (const auto entry = entity_entries_.find(entity.index); entry != entity_entries_.end()) {
            describe(entity, {*entry->second});
            entity.failed = is_set({*entry->second}, "failed") || entity.failed;
        }
        if (entity.manufacturer.empty()) {
            entity.manufacturer = own_.manufacturer;
        }
        for (const EntityText& text : entity_texts) {
            check_text(where, text, entity.*text.text);
        }
        return entity;
    }

    void add_chassis(const toml::table& settings)
    {
        Keys keys = entity_keys(
            {"sensors", "start-seconds", "type-code", "diagnostics-delay-ms", "unrecognized"});
        for (const UnitKind& kind : unit_kinds) {
            keys.push_back(kind.place_count);
        }
        check_keys(settings, keys);

        Entity chassis = make_chassis();
        describe(chassis, {settings});
        own_ = chassis;
        if (const toml::node* node = settings.get("start-seconds")) {
            chassis_.set_start_time(std::chrono::seconds(number(*node, "start-seconds", 0, 3600)));
        }
        chassis_.settings().type_code = count({settings}, "type-code", UINT32_MAX);
        chassis_.settings().diagnostics_delay =
            std::chrono::milliseconds(count({settings}, "diagnostics-delay-ms", 10000));
        chassis_.add(completed(chassis, settings.source()));
        for (Entity& sensor : make_sensors(chassis, 0, {settings})) {
            chassis_.add(std::move(sensor));
        }
    }

    /// Slots and bays are all containers in the chassis, so their positions follow on each other.
    void add_places(const UnitKind& kind, const toml::table& settings)
    {
        const uint32_t places = count({settings}, kind.place_count, kind.max_places);
        for (uint32_t place = 1; place <= places; ++place) {
            Entity container = make_container(kind, place);
            container.position = ++containers_;
            const uint32_t index = container.index;
            chassis_.add(completed(std::move(container), settings.source()));
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
        Keys keys = unit_keys(kind, {"type", kind.place, "pulled", "failed"});
        if (kind.type == UnitType::module) {
            keys.push_back("admin-status");
        }
        if (kind.type != UnitType::power_supply) {
            keys.push_back("power-admin-status");
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
        Assembly assembly = make_unit(kind, place, settings, node.source());
        if (is_set(settings, "pulled")) {
            chassis_.add_pulled(std::move(assembly));
        } else {
            chassis_.add_unit(std::move(assembly));
        }
    }

    /// A unit for a place, with its parts. Complaints that no key is to blame for name `where`.
    Assembly make_unit(const UnitKind& kind, uint32_t place, const Settings& settings,
                       const toml::source_region& where)
    {
        Entity entity = sim::make_unit(kind, place, own_.serial);
        describe(entity, settings);
        entity.failed = is_set(settings, "failed");

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
            Entity part = kind.make_part(place, number);
            part.contained_in = entity.index;
            part.position = static_cast<int32_t>(number);
            assembly.entities.push_back(completed(std::move(part), where));
        }
        if (kind.type == UnitType::module) {
            fit_ports(std::span(assembly.entities).last(parts), settings);
        }
        assembly.entities.push_back(completed(std::move(entity), where));
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
                    make_transceiver(with_type(entry, "transceivers"), entity, list.source());
            }
        });
    }

    /// The numbers that a text such as "1-8,10" lists, of `count` ports numbered from 1.
    std::vector<uint32_t> port_list(const toml::node& node, std::string_view what,
                                    size_t count) const
    {
        static const std::regex whole(R"((\d{1,4}(-\d{1,4})?(, *\d{1,4}(-\d{1,4})?)*)?)");
        static const std::regex range(R"((\d+)(-(\d+))?)");
        const auto text = node.value_exact<std::string>();
        if (!text || !std::regex_match(*text, whole)) {
            fail(node.source(), "'", what, "' is not a list of ports such as \"1-8,10\"");
        }
        std::vector<uint32_t> numbers;
        for (std::sregex_iterator part(text->begin(), text->end(), range), end; part != end;
             ++part) {
            const auto first = static_cast<uint32_t>(std::stoul((*part)[1]));
            const bool one = !(*part)[3].matched;
            const auto last = one ? first : static_cast<uint32_t>(std::stoul((*part)[3]));
            if (first < 1 || first > last || last > count) {
                fail(node.source(), "'", what, "' lists ", part->str(), ", not within 1-", count);
            }
            for (uint32_t number = first; number <= last; ++number) {
                numbers.push_back(number);
            }
        }
        return numbers;
    }

    /// A transceiver in a port. Complaints that no key is to blame for name `where`.
    Transceiver make_transceiver(const Settings& settings, const Entity& port,
                                 const toml::source_region& where) const
    {
        Transceiver transceiver = sim::make_transceiver(own_, port.index);
        transceiver.type = settings.own["type"].value_or(std::string());
        read_texts(transceiver, transceiver_texts, settings);
        for (const TransceiverText& text : transceiver_texts) {
            check_text(where, text, transceiver.*text.text);
        }
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
                                           "thresholds"}));
            const auto number = static_cast<uint32_t>(sensors.size() + 1);
            if (number > max_sensors) {
                fail(entry.source(), "more than ", max_sensors, " sensors");
            }
            Entity sensor = sim::make_sensor(holder, holder_number, number);
            sensor.sensor = make_sensor(sensor.index, entry);
            sensor.description = sensor.sensor->kind->description;
            describe(sensor, {entry});
            // Entries of a type describe the sensors of many holders.
            sensor.name = holder.name + " " + sensor.name;
            sensors.push_back(completed(std::move(sensor), entry.source()));
        });
        return sensors;
    }

    Sensor make_sensor(uint32_t index, const toml::table& entry) const
    {
        const SensorKind& kind = choice({entry}, "kind", "temperature", sensor_kinds);
        const SensorScale scale =
            choice({entry}, "scale", key_of(sensor_scales, kind.scale), sensor_scales).value;
        const uint32_t precision = count({entry}, "precision", max_precision);
        const double most = max_sensor_value / steps_per_unit(scale, precision);
        const double low = real(entry, "low", kind.low, -most, most);
        const double high = real(entry, "high", kind.high, -most, most);
        if (low > high) {
            fail(entry.source(), "'low' is ", low, ", above 'high', which is ", high);
        }
        Sensor sensor{&kind, scale, precision, Reading(low, high, index)};
        if (entry.contains("held")) {
            sensor.reading.set_by_hand(real(entry, "held", std::nullopt, -most, most));
        }
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
        const double most = max_sensor_value / steps_per_unit(sensor);
        const double value = real(entry, "value", std::nullopt, -most, most);
        return {.severity = choice({entry}, "severity", "minor", severities).value,
                .limit = Threshold(in_steps(sensor, value),
                                   choice({entry}, "relation", ">=", relations).value),
                .notifies = is_set({entry}, "notify", true)};
    }

    Chassis chassis_;
    int32_t containers_ = 0; ///< so far, in the chassis
    Entity own_; ///< that of the chassis, from which others have their manufacturer and serial
    std::map<uint32_t, const toml::table*> entity_entries_; ///< by index
    std::set<uint32_t> described_;                          ///< indexes of all entities so far
};

} // namespace

Chassis load_chassis(const std::string& file, Chassis::TimeSource now)
{
    return Reader(file, std::move(now)).read();
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
