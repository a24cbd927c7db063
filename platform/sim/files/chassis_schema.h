/// The schema of chassis files, for their reader and their export.
#pragma once

#include "files/toml_reader.h"
#include "model/chassis.h"
#include "model/named.h"

#include <string>
#include <string_view>

namespace sim {

inline constexpr uint32_t max_sensors = 64; ///< of one entity

// Entities with their defaults. Their manufacturer is that of the chassis.

Entity usual_chassis();
Entity usual_port(const Entity& chassis, uint32_t slot, uint32_t number);
Entity usual_fan(const Entity& chassis, uint32_t tray, uint32_t number);
Entity usual_sensor(const Entity& chassis, const Entity& holder, uint32_t holder_number,
                    uint32_t number);

/// Kinds of units in the places of a chassis: modules in slots, power supplies and fan trays in
/// bays.
struct UnitKind {
    UnitType type;
    std::string_view entry; ///< each [[entry]] table of the file describes one
    std::string_view name;  ///< of a unit, before its place's number
    EntityClass entity_class;
    uint32_t vendor_type;
    uint32_t base; ///< the unit in place n has the index base + n

    std::string_view place;       ///< key of the number of the unit's place
    std::string_view place_count; ///< key of [chassis] with the number of places
    uint32_t max_places;
    std::string_view place_name;
    uint32_t place_vendor_type;
    uint32_t place_base;

    /// The platform's own sensors have 64 indexes for each entity that may hold some: the chassis
    /// is number 0 of these holders, the unit in place n is number sensor_holder_base + n.
    uint32_t sensor_holder_base;

    std::string_view watts;      ///< key of what a unit draws or delivers
    std::string_view parts = {}; ///< key with the number of ports or fans
    uint32_t max_parts = 0;
    Entity (*usual_part)(const Entity& chassis, uint32_t place, uint32_t number) = nullptr;
};

inline constexpr UnitKind unit_kinds[] = {
    {.type = UnitType::module,
     .entry = key_of(unit_types, UnitType::module),
     .name = "Module",
     .entity_class = EntityClass::module,
     .vendor_type = 1,
     .base = module_index(0),
     .place = "slot",
     .place_count = "slots",
     .max_places = 18,
     .place_name = "Slot",
     .place_vendor_type = 1,
     .place_base = 100,
     .sensor_holder_base = 0,
     .watts = "power",
     .parts = "ports",
     .max_parts = 64,
     .usual_part = usual_port},
    {.type = UnitType::power_supply,
     .entry = key_of(unit_types, UnitType::power_supply),
     .name = "Power supply",
     .entity_class = EntityClass::power_supply,
     .vendor_type = 1,
     .base = 2000,
     .place = "bay",
     .place_count = "power-supply-bays",
     .max_places = 16,
     .place_name = "Power supply bay",
     .place_vendor_type = 2,
     .place_base = 200,
     .sensor_holder_base = 20,
     .watts = "output"},
    {.type = UnitType::fan_tray,
     .entry = key_of(unit_types, UnitType::fan_tray),
     .name = "Fan tray",
     // A replaceable subsystem that contains fans is a module in ENTITY-MIB's terms.
     .entity_class = EntityClass::module,
     .vendor_type = 2,
     .base = 3000,
     .place = "bay",
     .place_count = "fan-tray-bays",
     .max_places = 16,
     .place_name = "Fan tray bay",
     .place_vendor_type = 3,
     .place_base = 300,
     .sensor_holder_base = 40,
     .watts = "power",
     .parts = "fans",
     .max_parts = 16,
     .usual_part = usual_fan},
};

Entity usual_container(const UnitKind& kind, const Entity& chassis, uint32_t place);

/// A unit; its serial number derives from that of the chassis.
Entity usual_unit(const UnitKind& kind, const Entity& chassis, uint32_t place);

/// A transceiver; its manufacturer and serial number derive from the chassis.
Transceiver usual_transceiver(const Entity& chassis, uint32_t port);

/// The tables of types in a file, all valid. Throws FileError.
toml::table read_types(const std::string& file);

} // namespace sim
