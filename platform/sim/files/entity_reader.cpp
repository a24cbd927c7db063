#include "files/entity_reader.h"

#include "model/ports.h"
#include "records/entity_record.h"
#include "records/transceiver_record.h"

#include <algorithm>
#include <charconv>

namespace sim {
namespace {

/// The first and last numbers of the ranges in a text such as "1-8,10".
std::optional<std::vector<std::pair<uint32_t, uint32_t>>> ranges_in(std::string_view rest)
{
    const auto take_number = [&]() -> std::optional<uint32_t> {
        uint32_t number = 0;
        const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        rest.remove_prefix(static_cast<size_t>(end - rest.data()));
        return error == std::errc() ? std::optional(number) : std::nullopt;
    };
    const auto take = [&](char character) {
        const bool there = rest.starts_with(character);
        rest.remove_prefix(there ? 1 : 0);
        return there;
    };
    std::vector<std::pair<uint32_t, uint32_t>> ranges;
    for (bool more = !rest.empty(); more; more = take(',')) {
        while (!ranges.empty() && take(' ')) {
        }
        const auto first = take_number();
        const auto last = take('-') ? take_number() : first;
        if (!first || !last) {
            return std::nullopt;
        }
        ranges.emplace_back(*first, *last);
    }
    return rest.empty() ? std::optional(ranges) : std::nullopt;
}

} // namespace

Keys entity_keys(Keys more)
{
    more.insert(more.end(), {"vendor-type", "replaceable", "failed"});
    for (const EntityText& text : entity_texts) {
        more.push_back(text.key);
    }
    return more;
}

Keys transceiver_keys(Keys more)
{
    more.insert(more.end(), {"diagnostics", "lanes", "speed"});
    for (const TransceiverText& text : transceiver_texts) {
        more.push_back(text.key);
    }
    for (const Quantity& quantity : quantities) {
        more.push_back(quantity.key);
    }
    return more;
}

void EntityReader::read_entries()
{
    for_each_table(root().get("entity"), "entity", [&](const toml::table& entry) {
        check_keys(entry, entity_keys({"index"}));
        const toml::node& index = required(entry, "index", "[[entity]]");
        const uint32_t value = number(index, "index", 1, INT32_MAX);
        Entity any;
        describe(any, {entry});
        if (!entries_.emplace(value, &entry).second) {
            fail(index.source(), "another [[entity]] has the index ", value);
        }
    });
}

/// Overwrites texts with those of a table.
template <typename Described, typename Text, size_t Count>
void EntityReader::read_texts(Described& described, const Text (&texts)[Count],
                              const InheritingTable& table) const
{
    for (const Text& one : texts) {
        const toml::node* node = table.find(one.key);
        if (node == nullptr) {
            continue;
        }
        const std::string value = bytes(*node, one.key);
        if (value.size() > one.capacity) {
            report(node->source(), "'", one.key, "' has ", value.size(), " bytes, more than ",
                   one.capacity);
        }
        // In its record a text ends with the first NUL.
        if (value.find('\0') != std::string::npos) {
            report(node->source(), "'", one.key, "' contains a NUL");
        }
        described.*one.text = value;
    }
}

/// Refuses texts that are too long; texts that the table does not give derive from the chassis.
template <typename Described, typename Text, size_t Count>
void EntityReader::check_lengths(const Described& described, const Text (&texts)[Count],
                                 const std::string& whose) const
{
    for (const Text& one : texts) {
        const std::string& value = described.*one.text;
        if (value.size() > one.capacity) {
            fail(own_table_->find(one.key)->source(), "'", one.key, "' is too long: that of ",
                 whose, ", which derives from it, has ", value.size(), " bytes, more than ",
                 one.capacity);
        }
    }
}

void EntityReader::describe(Entity& entity, const InheritingTable& table) const
{
    read_texts(entity, entity_texts, table);
    if (const toml::node* node = table.find("vendor-type")) {
        entity.vendor_type = number(*node, "vendor-type", 0, UINT32_MAX);
    }
    entity.replaceable = is_set(table, "replaceable", entity.replaceable);
    entity.failed = is_set(table, "failed", entity.failed);
}

void EntityReader::check_derived(const Entity& entity) const
{
    check_lengths(entity, entity_texts, entity.name);
}

void EntityReader::check_entries_used() const
{
    for (const auto& [index, entry] : entries_) {
        report(entry->source(), "there is no entity ", index);
    }
}

void EntityReader::read_own(const toml::table& table)
{
    const auto entry = entries_.extract(chassis_index);
    own_table_.emplace(entry ? InheritingTable{*entry.mapped(), &table} : InheritingTable{table});
    own_ = usual_chassis();
    describe(own_, *own_table_);
    if (!individual_.serial.empty()) {
        own_.serial = individual_.serial;
    }
}

Entity EntityReader::completed(Entity entity)
{
    if (const auto entry = entries_.extract(entity.index)) {
        describe(entity, {*entry.mapped()});
    }
    return entity;
}

InheritingTable EntityReader::with_type(const toml::table& entry, std::string_view types) const
{
    const toml::node* node = entry.get("type");
    if (node == nullptr) {
        return {entry};
    }
    const std::string name = text(*node, "type");
    const toml::node* type = root()[types][name].node();
    if (type == nullptr) {
        report(node->source(), "there is no [", types, ".", name, "]");
        return {entry};
    }
    return {entry, type->as_table()};
}

void EntityReader::fit_ports(std::span<Entity> ports, const InheritingTable& table) const
{
    if (const toml::node* speed = table.find("port-speed")) {
        for (Entity& entity : ports) {
            entity.port->speed = number(*speed, "port-speed", 1, max_speed);
        }
    }
    if (const toml::node* electrical = table.find("electrical")) {
        for (const uint32_t number : port_list(*electrical, "electrical", ports.size())) {
            ports[number - 1].port->has_cage = false;
        }
    }
    const toml::node* transceivers = table.find("transceivers");
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
    for_each_table(table.find("interfaces"), "interfaces", [&](const toml::table& entry) {
        const toml::node& list = required(entry, "ports", "an element of 'interfaces'");
        const InterfaceSettings settings = make_interface(entry, {"ports"});
        for (const uint32_t number : port_list(list, "ports", ports.size())) {
            Port& port = *ports[number - 1].port;
            const double most = 1e6 * speed_of(port);
            if (std::max(settings.in.bits_per_second, settings.out.bits_per_second) > most) {
                fail(list.source(), "port ", number, " has a speed of ", speed_of(port), " Mbit/s");
            }
            port.interface.settings = settings;
        }
    });
    for (Entity& entity : ports) {
        InterfaceSettings& settings = entity.port->interface.settings;
        if (settings.in == Load() && settings.out == Load()) {
            settings.in.bits_per_second = 1e4 * individual_.load * speed_of(*entity.port);
            settings.out = settings.in;
        }
    }
}

System EntityReader::make_system(const toml::table& table) const
{
    Keys keys;
    for (const SystemText& text : system_texts) {
        keys.push_back(text.key);
    }
    check_keys(table, keys);
    System system;
    read_texts(system, system_texts, {table});
    return system;
}

InterfaceSettings EntityReader::make_interface(const toml::table& entry, Keys more) const
{
    more.insert(more.end(), {"alias", "admin-status", "notifications", "in", "out"});
    check_keys(entry, more);
    InterfaceSettings settings;
    if (const toml::node* alias = entry.get("alias")) {
        settings.alias = bytes(*alias, "alias");
        if (settings.alias.size() > max_link_alias) {
            report(alias->source(), "'alias' has ", settings.alias.size(), " bytes, more than ",
                   max_link_alias);
        }
    }
    settings.admin = choice({entry}, "admin-status", "up", link_admins).value;
    settings.notifies = is_set({entry}, "notifications", true);
    settings.in = make_load(entry, "in");
    settings.out = make_load(entry, "out");
    return settings;
}

Load EntityReader::make_load(const toml::table& entry, std::string_view what) const
{
    const toml::node* node = entry.get(what);
    if (node == nullptr) {
        return {};
    }
    const toml::table& table = as_table(*node, what);
    Keys keys;
    for (const LoadRate& rate : load_rates) {
        keys.push_back(rate.key);
    }
    check_keys(table, keys);
    Load load;
    for (const LoadRate& rate : load_rates) {
        load.*rate.value = real(table, rate.key, load.*rate.value, rate.least, rate.most);
    }
    return load;
}

/// The numbers that a text such as "1-8,10" lists, of `count` ports numbered from 1.
std::vector<uint32_t> EntityReader::port_list(const toml::node& node, std::string_view what,
                                              size_t count) const
{
    const auto text = node.value_exact<std::string_view>();
    const auto ranges = text ? ranges_in(*text) : std::nullopt;
    if (!ranges) {
        report(node.source(), "'", what, "' is not a list of ports such as \"1-8,10\"");
        return {};
    }
    std::vector<uint32_t> numbers;
    for (const auto& [first, last] : *ranges) {
        if (first < 1 || first > last || last > count) {
            fail(node.source(), "'", what, "' lists ", first,
                 last == first ? "" : concat("-", last), ", not within 1-", count);
        }
        for (uint32_t number = first; number <= last; ++number) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

Transceiver EntityReader::make_transceiver(const InheritingTable& table, const Entity& port) const
{
    Transceiver transceiver = usual_transceiver(own_, port.index);
    transceiver.type = table.own["type"].value_or(std::string());
    read_texts(transceiver, transceiver_texts, table);
    check_lengths(transceiver, transceiver_texts, "the transceiver in " + port.name);
    transceiver.diagnostics = choice(table, "diagnostics", "internal", diagnostics_kinds).value;
    if (const toml::node* lanes = table.find("lanes")) {
        transceiver.lanes = number(*lanes, "lanes", 1, 8);
    }
    transceiver.speed = count(table, "speed", max_speed);
    for (const Quantity& quantity : quantities) {
        transceiver.measurements.push_back(
            make_measurement(quantity, table.find(quantity.key), threshold_format(transceiver),
                             sensor_index(port.port->if_index, quantity)));
    }
    return transceiver;
}

Measurement EntityReader::make_measurement(const Quantity& quantity, const toml::node* node,
                                           WordFormat format, uint32_t seed) const
{
    const bool dark = quantity.logarithmic && node != nullptr &&
                      node->value_exact<std::string_view>() == no_light_key;
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
            quantity.logarithmic && held->value_exact<std::string_view>() == no_light_key;
        measurement.reading.set_by_hand(
            held_dark ? no_light : real(table, "held", 0, quantity.least, quantity.most));
    }
    return measurement;
}

ReadingRange EntityReader::range_of(const Quantity& quantity, const toml::table& table) const
{
    ReadingRange range = quantity.usual;
    Keys keys = {"low", "high", "held"};
    keys.insert(keys.end(), std::begin(threshold_keys), std::end(threshold_keys));
    check_keys(table, keys);
    const auto read = [&](std::string_view key, double& value) {
        value = real(table, key, value, quantity.least, quantity.most);
    };
    read("low", range.low);
    read("high", range.high);
    for (size_t index = 0; index < transceiver_thresholds; ++index) {
        read(threshold_keys[index], range.thresholds[index]);
    }
    const auto check_order = [&](std::string_view lower, double low, std::string_view upper,
                                 double high) {
        if (low > high) {
            fail(table.source(), "'", lower, "' is ", low, ", above '", upper, "', which is ",
                 high);
        }
    };
    check_order("low", range.low, "high", range.high);
    const ThresholdIndex upwards[] = {low_alarm, low_warning, high_warning, high_alarm};
    for (size_t i = 1; i < std::size(upwards); ++i) {
        const ThresholdIndex lower = upwards[i - 1];
        const ThresholdIndex upper = upwards[i];
        check_order(threshold_keys[lower], range.thresholds[lower], threshold_keys[upper],
                    range.thresholds[upper]);
    }
    return range;
}

std::vector<Entity> EntityReader::make_sensors(const Entity& holder, uint32_t holder_number,
                                               const InheritingTable& table)
{
    std::vector<Entity> sensors;
    const auto make = [&](const toml::table& entry) {
        check_keys(entry, entity_keys({"kind", "scale", "precision", "low", "high", "held", "last",
                                       "thresholds"}));
        const auto number = static_cast<uint32_t>(sensors.size() + 1);
        Entity sensor = usual_sensor(own_, holder, holder_number, number);
        sensor.sensor = make_sensor(sensor.index, entry);
        sensor.description = sensor.sensor->kind->description;
        describe(sensor, {entry});
        // Entries of a type describe the sensors of many holders.
        sensor.name = holder.name + " " + sensor.name;
        sensor = completed(std::move(sensor));
        check_name(sensor, entry);
        sensors.push_back(std::move(sensor));
    };
    for_each_table(table.find("sensors"), "sensors", make, max_sensors);
    return sensors;
}

void EntityReader::check_name(const Entity& sensor, const toml::table& entry) const
{
    const size_t most = std::ranges::find(entity_texts, "name", &EntityText::key)->capacity;
    if (sensor.name.size() > most) {
        const toml::node* name = entry.get("name");
        fail((name == nullptr ? entry : *name).source(), "the sensor's 'name' has ",
             sensor.name.size(), " bytes after that of its holder, more than ", most);
    }
}

Sensor EntityReader::make_sensor(uint32_t index, const toml::table& entry) const
{
    const SensorKind& kind = choice({entry}, "kind", temperature_key, sensor_kinds);
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
    const auto add = [&](const toml::table& threshold) {
        sensor.thresholds.push_back(make_threshold(sensor, threshold));
    };
    for_each_table(entry.get("thresholds"), "thresholds", add, max_thresholds);
    return sensor;
}

SensorThreshold EntityReader::make_threshold(const Sensor& sensor, const toml::table& entry) const
{
    check_keys(entry, {"value", "relation", "severity", "notify"});
    const double most = most_reading(sensor.scale, sensor.precision);
    const double value = real(entry, "value", std::nullopt, -most, most);
    const Relation relation = choice({entry}, "relation", ">=", relations).value;
    return {Threshold(in_steps(sensor, value), relation),
            choice({entry}, "severity", "minor", severities).value,
            is_set({entry}, "notify", true)};
}

} // namespace sim
