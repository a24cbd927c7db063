#include "model/ports.h"

#include "if_index.h"

namespace sim {

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
                      "; say which type of transceiver to insert");
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
