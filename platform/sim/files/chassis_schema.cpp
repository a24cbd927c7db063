#include "files/chassis_schema.h"

#include "if_index.h"
#include "wire/physical_index.h"

namespace sim {
namespace {

std::string derived_serial(const std::string& chassis_serial, uint32_t index)
{
    return chassis_serial.empty() ? "" : concat(chassis_serial, "-", index);
}

} // namespace

Entity usual_chassis()
{
    return {.index = chassis_index,
            .entity_class = EntityClass::chassis,
            .description = "Chassis",
            .name = "Chassis"};
}

Entity usual_port(const Entity& chassis, uint32_t slot, uint32_t number)
{
    // The codec numbers slots and ports from 0.
    uint32_t if_index = 0;
    if_index_phy_ethernet_init(&if_index, static_cast<uint8_t>(slot - 1),
                               static_cast<uint8_t>(number - 1), 0);
    char name[IF_INDEX_TEXT_SIZE];
    sprintf_if_index(name, if_index);

    return {.index = port_index(slot, number),
            .entity_class = EntityClass::port,
            .description = "Ethernet port",
            .name = name,
            .manufacturer = chassis.manufacturer,
            .port = Port{.if_index = if_index}};
}

Entity usual_fan(const Entity& chassis, uint32_t tray, uint32_t number)
{
    return {.index = 4000 + 16 * tray + number,
            .entity_class = EntityClass::fan,
            .description = "Fan",
            .name = concat("Fan ", tray, "/", number),
            .manufacturer = chassis.manufacturer};
}

Entity usual_sensor(const Entity& chassis, const Entity& holder, uint32_t holder_number,
                    uint32_t number)
{
    return {.index = ENTITY_SENSOR_START + max_sensors * holder_number + number - 1,
            .entity_class = EntityClass::sensor,
            .contained_in = holder.index,
            .position = static_cast<int32_t>(number),
            .name = concat("sensor ", number),
            .manufacturer = chassis.manufacturer};
}

Entity usual_container(const UnitKind& kind, const Entity& chassis, uint32_t place)
{
    return {.index = kind.place_base + place,
            .entity_class = EntityClass::container,
            .contained_in = chassis_index,
            .vendor_type = kind.place_vendor_type,
            .description = std::string(kind.place_name),
            .name = concat(kind.place_name, " ", place),
            .manufacturer = chassis.manufacturer};
}

Entity usual_unit(const UnitKind& kind, const Entity& chassis, uint32_t place)
{
    return {.index = kind.base + place,
            .entity_class = kind.entity_class,
            .contained_in = kind.place_base + place,
            .position = 1,
            .vendor_type = kind.vendor_type,
            .replaceable = true,
            .description = std::string(kind.name),
            .name = concat(kind.name, " ", place),
            .serial = derived_serial(chassis.serial, kind.base + place),
            .manufacturer = chassis.manufacturer};
}

Transceiver usual_transceiver(const Entity& chassis, uint32_t port)
{
    Transceiver transceiver;
    transceiver.manufacturer = chassis.manufacturer;
    transceiver.serial = derived_serial(chassis.serial, port);
    return transceiver;
}

} // namespace sim
