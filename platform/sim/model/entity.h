/// Physical entities: the rows of the physical table.
#pragma once

#include "model/named.h"
#include "model/sensor.h"
#include "model/transceiver.h"

#include <cstdint>
#include <optional>
#include <string>

namespace sim {

/// Values of ENTITY-MIB's entPhysicalClass.
enum class EntityClass : int32_t {
    unknown = 2, ///< an unrecognized unit
    chassis = 3,
    container = 5,
    power_supply = 6,
    fan = 7,
    sensor = 8,
    module = 9,
    port = 10,
};

inline constexpr Named<EntityClass> entity_classes[] = {{"unknown", EntityClass::unknown},
                                                        {"chassis", EntityClass::chassis},
                                                        {"container", EntityClass::container},
                                                        {"power-supply", EntityClass::power_supply},
                                                        {"fan", EntityClass::fan},
                                                        {"sensor", EntityClass::sensor},
                                                        {"module", EntityClass::module},
                                                        {"port", EntityClass::port}};

/// Status of an entity, the same in all tables. Only `ok` is healthy.
enum class EntityStatus : int32_t {
    unknown = 1,
    ok = 2,
    off = 3,
    failed = 4,
    starting = 5,
};

inline constexpr Named<EntityStatus> entity_statuses[] = {{"unknown", EntityStatus::unknown},
                                                          {"ok", EntityStatus::ok},
                                                          {"off", EntityStatus::off},
                                                          {"failed", EntityStatus::failed},
                                                          {"starting", EntityStatus::starting}};

/// The one entity of the chassis itself.
inline constexpr uint32_t chassis_index = 1;

/// The index of a module, by the number from 1 of its slot.
constexpr uint32_t module_index(uint32_t slot)
{
    return 1000 + slot;
}

/// The index of a port, by the numbers from 1 of the slot and of the port within it.
constexpr uint32_t port_index(uint32_t slot, uint32_t number)
{
    return 5000 + 100 * slot + number;
}

/// One physical entity. The lengths of its texts are bounded by its record; see entity_record.h.
struct Entity {
    uint32_t index = 0;                           ///< entPhysicalIndex
    EntityClass entity_class = EntityClass::port; ///< entPhysicalClass
    uint32_t contained_in = 0;                    ///< index of the container, 0 for none
    int32_t position = -1;                        ///< among its siblings of the same class
    uint32_t vendor_type = 1;                     ///< last sub-identifier of the vendor type
    bool replaceable = false;                     ///< field-replaceable unit
    bool failed = false;                          ///< by itself, not with what contains it
    std::string description{};
    std::string name{};
    std::string hardware_revision{};
    std::string firmware_revision{};
    std::string software_revision{};
    std::string serial{};
    std::string manufacturer{};
    std::string model{};
    std::string alias{};
    std::string asset_id{};
    std::string second_serial{};
    std::string part_revision{};
    std::string clei_code{};
    std::optional<Sensor> sensor{}; ///< that it is
    std::optional<Port> port{};     ///< that it is
};

/// A new value for one text of an entity.
struct TextChange {
    std::string Entity::*text;
    std::string value;
};

} // namespace sim
