#include "model/ports.h"

#include "if_index.h"

#include <algorithm>

namespace sim {
namespace {

/// Whether the light that a transceiver receives is below its low alarm.
bool is_dark(const Chassis& chassis, const Transceiver& transceiver)
{
    constexpr size_t receive_power = 4;
    static_assert(quantities[receive_power].sensor_code == SFP_RX_POWER);
    return transceiver.measurements[receive_power].thresholds[low_alarm].is_beyond(
        raw_reading(chassis, transceiver, receive_power));
}

} // namespace

const Entity* find_port(const Chassis& chassis, uint32_t if_index)
{
    uint8_t slot = 0;
    uint8_t number = 0;
    if (if_index_get_slot(if_index, &slot) != 0 || if_index_get_port(if_index, &number) != 0) {
        return nullptr;
    }
    // The codec numbers slots and ports from 0.
    const Entity* entity = chassis.find(port_index(slot + 1U, number + 1U));
    return entity != nullptr && entity->port ? entity : nullptr;
}

const Entity* find_interface(const Chassis& chassis, uint32_t if_index)
{
    const Entity& management = chassis.management();
    return management.port->if_index == if_index ? &management : find_port(chassis, if_index);
}

uint32_t speed_of(const Port& port)
{
    const uint32_t plugged = port.transceiver ? port.transceiver->speed : 0;
    return plugged == 0 ? port.speed : std::min(plugged, port.speed);
}

const Transceiver* transceiver_in_service(const Chassis& chassis, const Entity& port)
{
    const bool there =
        port.port && port.port->transceiver && chassis.status(port) == EntityStatus::ok;
    return there ? &*port.port->transceiver : nullptr;
}

bool has_diagnostics(const Chassis& chassis, const Entity& port)
{
    const Transceiver* transceiver = transceiver_in_service(chassis, port);
    return transceiver != nullptr && transceiver->diagnostics != Diagnostics::none;
}

const Entity* next_port_with_diagnostics(const Chassis& chassis, uint32_t if_index)
{
    const auto& entities = chassis.entities();
    const Entity* known = find_port(chassis, if_index);
    const uint32_t start = known == nullptr ? port_index(0, 0) : known->index;
    for (auto entry = entities.upper_bound(start); entry != entities.end(); ++entry) {
        const Entity& entity = entry->second;
        if (entity.port && entity.port->if_index > if_index && has_diagnostics(chassis, entity)) {
            return &entity;
        }
    }
    return nullptr;
}

WordFormat reading_format(const Chassis& chassis, const Transceiver& transceiver)
{
    return has_integer_readings(chassis.settings().type_code) ? WordFormat::integer
                                                              : threshold_format(transceiver);
}

double raw_reading(const Chassis& chassis, const Transceiver& transceiver, size_t quantity)
{
    const double reading = transceiver.measurements.at(quantity).reading.at(chassis.now());
    return raw_value(quantities.at(quantity), reading, reading_format(chassis, transceiver));
}

Entity management_port()
{
    constexpr uint32_t if_index = 5U << 24; // as the codec has it
    char name[IF_INDEX_TEXT_SIZE];
    sprintf_if_index(name, if_index);
    return {.index = 0,
            .description = "Management port",
            .name = name,
            .port = Port{.if_index = if_index, .has_cage = false, .speed = 1000}};
}

// Changes of the ports of a chassis.

void Chassis::plug(uint32_t index, std::optional<Transceiver> other)
{
    Port& port = port_at(index);
    const std::string& name = entities_.at(index).name;
    if (!port.has_cage) {
        throw Refusal(name + " has no cage for a transceiver");
    }
    if (port.transceiver) {
        throw Refusal(name + " holds a transceiver");
    }
    if (!other && !port.unplugged) {
        throw Refusal("nothing was pulled from " + name +
                      "; choose a type of transceiver with --type");
    }
    port.transceiver = std::move(other ? other : port.unplugged);
    port.unplugged.reset();
    measure(entities_.at(index));
    announce_change();
}

void Chassis::unplug(uint32_t index)
{
    Port& port = port_at(index);
    if (!port.transceiver) {
        throw Refusal(entities_.at(index).name + " holds no transceiver");
    }
    port.unplugged = std::exchange(port.transceiver, std::nullopt);
    forget_thresholds(*port.unplugged);
    settle_link(entities_.at(index));
    announce_change();
}

void Chassis::set_transceiver_reading(uint32_t index, size_t quantity, std::optional<double> value)
{
    Port& port = port_at(index);
    const std::string& name = entities_.at(index).name;
    if (!port.transceiver || port.transceiver->diagnostics == Diagnostics::none) {
        throw Refusal(name + " has no transceiver with diagnostics");
    }
    const Quantity& what = quantities.at(quantity);
    if (value && !can_tell(what, *value)) {
        throw Refusal(name + " cannot report such a " + std::string(what.key));
    }
    // A crossing since the last check is not due to the override.
    measure(entities_.at(index));
    port.transceiver->measurements.at(quantity).reading.set_by_hand(value);
    measure(entities_.at(index));
}

std::vector<diag_info> Chassis::read_diagnostics(uint32_t index)
{
    Port& port = port_at(index);
    ++port.diagnostics_reads;
    return read_lanes(port.transceiver.value(), now_(), reading_format(*this, *port.transceiver));
}

void Chassis::configure_interface(uint32_t if_index, const InterfaceSettings& settings)
{
    const Entity* found = find_interface(*this, if_index);
    if (found == nullptr) {
        throw std::out_of_range("there is no interface " + std::to_string(if_index));
    }
    Entity& port = found == &management_ ? management_ : entities_.at(found->index);
    for (const Load& load : {settings.in, settings.out}) {
        if (load.bits_per_second > 1e6 * speed_of(*port.port)) {
            throw Refusal(port.name + " has a speed of " + std::to_string(speed_of(*port.port)) +
                          " Mbit/s");
        }
    }
    Interface& interface = port.port->interface;
    // Each load counts as long as it lasts.
    stop_traffic(interface);
    interface.settings = settings;
    start_traffic(interface);
    settle_link(port);
}

void Chassis::start_traffic(Interface& interface)
{
    if (interface.status == LinkStatus::up) {
        interface.in.start(now_());
        interface.out.start(now_());
    }
}

void Chassis::stop_traffic(Interface& interface)
{
    interface.in.stop(now_(), interface.settings.in);
    interface.out.stop(now_(), interface.settings.out);
}

/// The status that follows from the module, the transceiver and the settings of a port.
LinkStatus Chassis::link_status(const Entity& port) const
{
    if (port.port->has_cage && !port.port->transceiver) {
        return LinkStatus::not_present;
    }
    const Unit* module = find_unit(port.contained_in);
    const bool passive = module != nullptr && module->admin_status == AdminStatus::standby;
    if (port.port->interface.settings.admin == LinkAdmin::down || passive ||
        status(port) != EntityStatus::ok) {
        return LinkStatus::down;
    }
    return has_diagnostics(*this, port) && is_dark(*this, *port.port->transceiver)
               ? LinkStatus::down
               : LinkStatus::up;
}

/// The one place where the status of a link changes.
void Chassis::settle_link(Entity& port)
{
    Interface& interface = port.port->interface;
    const LinkStatus before = interface.status;
    const LinkStatus now = link_status(port);
    if (now == before) {
        return;
    }
    stop_traffic(interface);
    interface.status = now;
    interface.status_changed = now_();
    start_traffic(interface);
    // IF-MIB has no notification of what happens between two statuses other than up.
    if (before == LinkStatus::up || now == LinkStatus::up) {
        for (const LinkObserver& observer : link_observers_) {
            observer(port);
        }
    }
}

Port& Chassis::port_at(uint32_t index)
{
    Entity& entity = entities_.at(index);
    if (!entity.port) {
        throw Refusal(entity.name + " is no port");
    }
    return *entity.port;
}

void Chassis::measure_transceiver(Entity& port)
{
    Transceiver& transceiver = *port.port->transceiver;
    if (!has_diagnostics(*this, port)) {
        forget_thresholds(transceiver);
        return;
    }
    for (size_t i = 0; i < quantities.size(); ++i) {
        const double raw = raw_reading(*this, transceiver, i);
        uint32_t number = 0;
        for (Threshold& threshold : transceiver.measurements[i].thresholds) {
            ++number;
            if (threshold.is_crossed_by(raw)) {
                notify({sensor_threshold_crossed, sensor_index(port.port->if_index, quantities[i]),
                        Crossing{served_value(quantities[i], raw),
                                 served_value(quantities[i], threshold.value()), number}});
            }
        }
    }
}

} // namespace sim
