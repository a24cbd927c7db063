#include "model/chassis.h"

#include "model/power.h"
#include "wire/physical_index.h"

#include <algorithm>

namespace sim {
namespace {

bool is_about_unit(uint32_t event)
{
    return event != inventory_change && event != supervisor_switchover &&
           event != sensor_threshold_crossed;
}

} // namespace

Entity unrecognized_unit(const Entity& container, uint32_t index)
{
    return {.index = index,
            .entity_class = EntityClass::unknown,
            .contained_in = container.index,
            .position = 1,
            .replaceable = true,
            .failed = true,
            .description = "Unit that the switch does not recognize",
            .name = "Unknown unit in " + container.name};
}

void Chassis::add(Entity entity)
{
    const uint32_t index = entity.index;
    // A walk resumes after PLATFORM_ROWS_RESUME, so that a row there would never be seen.
    if (is_transceiver_sensor(index) || index == PLATFORM_ROWS_RESUME) {
        throw std::invalid_argument("index " + std::to_string(index) +
                                    " lies among the transceivers' sensors");
    }
    const auto [added, is_new] = entities_.emplace(index, std::move(entity));
    if (!is_new) {
        throw std::invalid_argument("index " + std::to_string(index) + " is taken");
    }
    measure(added->second);
    if (added->second.port) {
        mark_ports();
    }
}

void Chassis::add_unit(Assembly assembly)
{
    Unit& unit = fit(std::move(assembly));
    unit.powered = true;
    unit.status_changed = unit.went_into_service = last_change_;
    if (unit.status == EntityStatus::starting) {
        unit.ready_at = last_change_ + settings_.start_time;
    } else {
        unit.status = EntityStatus::ok;
    }
    settle(unit);
}

void Chassis::add_pulled(Assembly assembly)
{
    const auto place = std::ranges::find_if(
        places_, [&](const auto& entry) { return entry.second.unit_index == assembly.unit.index; });
    place->second.pulled = std::move(assembly);
}

void Chassis::set_redundancy(const Redundancy& redundancy)
{
    redundancy_ = redundancy;
    settle_roles();
}

const Entity* Chassis::find(uint32_t index) const
{
    const auto found = entities_.find(index);
    return found == entities_.end() ? nullptr : &found->second;
}

const Unit* Chassis::find_unit(uint32_t index) const
{
    const auto found = units_.find(index);
    return found == units_.end() ? nullptr : &found->second;
}

const Unit* Chassis::known_unit(uint32_t index) const
{
    for (const auto& [container, place] : places_) {
        if (place.unit_index == index && place.pulled) {
            return &place.pulled->unit;
        }
    }
    return find_unit(index);
}

EntityStatus Chassis::status(const Entity& entity) const
{
    if (const Unit* unit = find_unit(entity.index)) {
        return unit->status;
    }
    if (entity.failed) {
        return EntityStatus::failed;
    }
    const Unit* holder = find_unit(entity.contained_in);
    if (holder == nullptr) {
        return EntityStatus::ok;
    }
    if (holder->status != EntityStatus::failed) {
        return holder->status;
    }
    // A fan tray that failed with one of its fans still has the others.
    return holder->powered ? EntityStatus::ok : EntityStatus::off;
}

SensorStatus Chassis::sensor_status(const Entity& sensor) const
{
    if (status(sensor) == EntityStatus::ok) {
        return SensorStatus::ok;
    }
    const Unit* holder = find_unit(sensor.contained_in);
    const bool failed =
        sensor.failed || (holder != nullptr && holder->status == EntityStatus::failed);
    return failed ? SensorStatus::nonoperational : SensorStatus::unavailable;
}

bool Chassis::is_beyond(const Entity& sensor, const SensorThreshold& threshold) const
{
    return sensor_status(sensor) == SensorStatus::ok &&
           threshold.is_beyond(sensor.sensor.value().value);
}

void Chassis::write(uint32_t index, std::span<const TextChange> changes)
{
    Entity& entity = entities_.at(index);
    bool changed = false;
    for (const TextChange& change : changes) {
        std::string& text = entity.*change.text;
        changed |= text != change.value;
        text = change.value;
    }
    if (changed) {
        announce_change();
    }
}

void Chassis::mark_ports()
{
    ++ports_generation_;
    ports_changed_ = now_();
}

void Chassis::announce_change()
{
    last_change_ = now_();
    notify({inventory_change});
}

void Chassis::set_admin_status(uint32_t index, AdminStatus status)
{
    Unit& unit = units_.at(index);
    if (status != AdminStatus::on) {
        refuse_for_active_supervisor(unit);
    }
    if (status == AdminStatus::restart) {
        unit.admin_status = AdminStatus::on;
        settle_after_break(unit);
        return;
    }
    unit.admin_status = status;
    settle(unit);
}

void Chassis::set_power_admin_status(uint32_t index, PowerAdminStatus status)
{
    Unit& unit = units_.at(index);
    if (status == PowerAdminStatus::off || status == PowerAdminStatus::cycle) {
        refuse_for_active_supervisor(unit);
    }
    if (status == PowerAdminStatus::cycle) {
        unit.power_admin_status = PowerAdminStatus::on;
        settle_after_break(unit);
        return;
    }
    unit.power_admin_status = status;
    settle(unit);
}

void Chassis::set_redundancy_mode(RedundancyMode mode)
{
    if (mode == redundancy_mode_) {
        return;
    }
    const uint32_t available = available_watts(*this, mode);
    if (available < drawn_watts(*this)) {
        throw Refusal("the mode would leave " + std::to_string(available) + " W of the " +
                      std::to_string(drawn_watts(*this)) + " W that are drawn");
    }
    redundancy_mode_ = mode;
}

void Chassis::set_output(uint32_t index, uint32_t watts)
{
    const auto found = units_.find(index);
    if (found == units_.end() || found->second.type != UnitType::power_supply) {
        throw Refusal(entities_.at(index).name + " is no power supply");
    }
    const Unit before = found->second;
    found->second.watts = watts;
    notify_changes(before, found->second);
}

void Chassis::set_failed(uint32_t index, bool failed)
{
    const Entity& entity = entities_.at(index);
    const bool fan = entity.entity_class == EntityClass::fan;
    const auto found = units_.find(fan ? entity.contained_in : index);
    if (found == units_.end()) {
        throw Refusal(entity.name + " is no module, power supply, fan tray or fan");
    }
    for (auto& [number, part] : entities_) {
        if (number == index || (!failed && part.contained_in == index)) {
            part.failed = failed;
        }
    }
    Unit& unit = found->second;
    if (failed && !fan && unit.power_admin_status == PowerAdminStatus::on_until_failure) {
        unit.power_admin_status = PowerAdminStatus::off;
    }
    settle(unit);
}

void Chassis::pull(uint32_t index)
{
    if (const auto named = places_.find(index); named != places_.end()) {
        if (find(named->second.unit_index) == nullptr) {
            throw Refusal(entities_.at(index).name + " is empty");
        }
        index = named->second.unit_index;
    }
    const Entity& entity = entities_.at(index);
    const auto place = places_.find(entity.contained_in);
    if (place == places_.end() || !entity.replaceable) {
        throw Refusal(entity.name + " is not replaceable");
    }
    const auto unit = units_.find(index);
    if (unit != units_.end()) {
        refuse_for_active_supervisor(unit->second);
        change_status(unit->second, EntityStatus::off, false);
    }
    notify({fru_removed, index});

    std::vector<Entity> entities;
    std::erase_if(entities_, [&](auto& entry) {
        const bool goes = entry.first == index || entry.second.contained_in == index;
        if (goes) {
            entities.push_back(std::move(entry.second));
        }
        return goes;
    });
    const bool brought_ports =
        std::ranges::any_of(entities, [](const Entity& part) { return part.port.has_value(); });
    if (unit != units_.end()) {
        place->second.pulled = Assembly{unit->second, std::move(entities)};
        units_.erase(unit);
    }
    if (brought_ports) {
        mark_ports();
    }
    announce_change();
}

void Chassis::insert(uint32_t index, std::optional<Assembly> other)
{
    Place& place = empty_place(index);
    if (other) {
        // Overrides end with the unit that was there.
        std::erase_if(settings_.leds_by_hand,
                      [&](const auto& led) { return led.first.first == place.unit_index; });
        place.pulled = std::move(other);
    }
    if (!place.pulled) {
        throw Refusal("nothing was pulled from " + entities_.at(index).name +
                      "; choose a type of unit with --type");
    }
    Unit& unit = fit(std::move(*place.pulled));
    place.pulled.reset();
    notify({fru_inserted, unit.index});
    announce_change();
    settle(unit);
}

void Chassis::plug_unknown(uint32_t index)
{
    const uint32_t unit = empty_place(index).unit_index;
    add(unrecognized_unit(entities_.at(index), unit));
    notify({unrecognized_fru, unit});
    announce_change();
}

void Chassis::set_reading(uint32_t index, std::optional<double> value)
{
    Sensor& sensor = sensor_of(index);
    if (value && !(std::abs(*value) <= most_reading(sensor.scale, sensor.precision))) {
        throw Refusal(entities_.at(index).name + " cannot report such a value");
    }
    // A crossing since the last measurement is not due to the override.
    measure(entities_.at(index));
    sensor.reading.set_by_hand(value);
    measure(entities_.at(index));
}

void Chassis::set_threshold_notification(uint32_t index, uint32_t threshold, bool on)
{
    sensor_of(index).thresholds.at(threshold - 1).notifies = on;
}

void Chassis::advance()
{
    for (auto& [index, unit] : units_) {
        if (unit.status == EntityStatus::starting) {
            settle(unit);
        }
    }
    for (auto& [index, entity] : entities_) {
        measure(entity);
    }
}

void Chassis::notify(const Occurrence& occurrence)
{
    if (is_about_unit(occurrence.event) && !settings_.status_notifications) {
        return;
    }
    for (const Observer& observer : observers_) {
        observer(occurrence);
    }
}

Unit& Chassis::fit(Assembly assembly)
{
    // The unit comes first: without it, its sensors would count as the chassis's and measure.
    Unit& unit = units_.emplace(assembly.unit.index, assembly.unit).first->second;
    for (Entity& entity : assembly.entities) {
        add(std::move(entity));
    }
    return unit;
}

Sensor& Chassis::sensor_of(uint32_t index)
{
    Entity& entity = entities_.at(index);
    if (!entity.sensor) {
        throw Refusal(entity.name + " is no sensor");
    }
    return *entity.sensor;
}

/// Takes the readings of an entity that measures, and reports the thresholds that they crossed.
void Chassis::measure(Entity& entity)
{
    if (entity.port && entity.port->transceiver) {
        measure_transceiver(entity);
    }
    if (entity.port) {
        settle_link(entity);
    }
    if (!entity.sensor) {
        return;
    }
    Sensor& sensor = *entity.sensor;
    if (sensor_status(entity) != SensorStatus::ok) {
        for (SensorThreshold& threshold : sensor.thresholds) {
            threshold.forget();
        }
        return;
    }
    sensor.measured = now_();
    sensor.value = in_steps(sensor, sensor.reading.at(sensor.measured));
    uint32_t number = 0;
    for (SensorThreshold& threshold : sensor.thresholds) {
        ++number;
        if (threshold.is_crossed_by(sensor.value) && threshold.notifies) {
            notify({sensor_threshold_crossed, entity.index,
                    Crossing{sensor.value, static_cast<int32_t>(threshold.value()), number}});
        }
    }
}

void Chassis::measure_parts(const Unit& unit)
{
    for (auto& [index, entity] : entities_) {
        if (entity.contained_in == unit.index) {
            measure(entity);
        }
    }
}

Place& Chassis::empty_place(uint32_t index)
{
    const std::string& name = entities_.at(index).name;
    const auto place = places_.find(index);
    if (place == places_.end()) {
        throw Refusal(name + " is no slot or bay; insert takes the slot or bay");
    }
    if (find(place->second.unit_index) != nullptr) {
        throw Refusal(name + " is not empty");
    }
    return place->second;
}

bool Chassis::has_failed_part(const Unit& unit) const
{
    return std::ranges::any_of(entities_, [&](const auto& entry) {
        return entry.second.failed && entry.second.contained_in == unit.index;
    });
}

/// The one place where a unit's status changes.
void Chassis::change_status(Unit& unit, EntityStatus status, bool powered)
{
    const Unit before = unit;
    unit.status = status;
    unit.powered = powered;
    unit.starts += powered && !before.powered ? 1 : 0;
    if (status != before.status) {
        unit.status_changed = now_();
        if (status == EntityStatus::ok) {
            unit.went_into_service = unit.status_changed;
        }
    }
    notify_changes(before, unit);
    measure_parts(unit);
    settle_roles();
}

void Chassis::notify_changes(const Unit& before, const Unit& unit)
{
    if (unit.type == UnitType::power_supply) {
        if (watts_now(unit) != watts_now(before)) {
            notify({power_supply_output_change, unit.index});
        }
        return;
    }
    if (power_status(unit) != power_status(before)) {
        notify({power_status_change, unit.index});
    }
    if (unit.status != before.status) {
        notify({unit.type == UnitType::module ? module_status_change : fan_tray_status_change,
                unit.index});
    }
}

/// Brings a unit to the status that follows from its failures and administrative statuses.
void Chassis::settle(Unit& unit)
{
    const bool off =
        unit.admin_status == AdminStatus::off || unit.power_admin_status == PowerAdminStatus::off;
    if (entities_.at(unit.index).failed) {
        change_status(unit, EntityStatus::failed, false);
    } else if (off) {
        change_status(unit, EntityStatus::off, false);
    } else if (has_failed_part(unit)) {
        change_status(unit, EntityStatus::failed, true);
    } else {
        start(unit);
    }
}

/// Brings a unit into service: a module after it has started, which takes time.
void Chassis::start(Unit& unit)
{
    if (unit.type == UnitType::module && !unit.powered) {
        unit.ready_at = now_() + settings_.start_time;
        change_status(unit, EntityStatus::starting, true);
    }
    const bool ready = now_() >= unit.ready_at;
    change_status(unit, ready ? EntityStatus::ok : EntityStatus::starting, true);
}

/// Settles a unit; one that runs goes off first.
void Chassis::settle_after_break(Unit& unit)
{
    if (unit.powered) {
        change_status(unit, EntityStatus::off, false);
    }
    settle(unit);
}

} // namespace sim
