/// The model of the simulated switch: the physical entities that a chassis is made of.
///
/// Whatever changes in it changes here, and the change itself is what tells the observers; nobody
/// else raises events.
#pragma once

#include "opcodes.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace sim {

/// Values of ENTITY-MIB's entPhysicalClass.
enum class EntityClass : int32_t {
    chassis = 3,
    container = 5,
    power_supply = 6,
    fan = 7,
    sensor = 8,
    module = 9,
    port = 10,
};

/// How a physical entity is; 2 is what a healthy one reports.
enum class EntityStatus : int32_t { ok = 2 };

/// One physical entity. The lengths of its texts are bounded by its record; see entity_record.h.
struct Entity {
    uint32_t index = 0;                           ///< entPhysicalIndex
    EntityClass entity_class = EntityClass::port; ///< entPhysicalClass
    uint32_t contained_in = 0;                    ///< index of the container, 0 for none
    int32_t position = -1;                        ///< among its siblings of the same class
    uint32_t vendor_type = 1;                     ///< last sub-identifier of the vendor type
    bool replaceable = false;                     ///< field-replaceable unit
    EntityStatus status = EntityStatus::ok;
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
};

/// A new value for one text of an entity.
struct TextChange {
    std::string Entity::*text;
    std::string value;
};

class Chassis {
public:
    using Clock = std::chrono::system_clock;
    using Observer = std::function<void(Event)>;

    /// @param file name of the file that describes the chassis
    explicit Chassis(std::string file) : file_(std::move(file)) {}

    /// Adds an entity while the chassis is put together; no change that anybody is told of.
    /// Throws std::invalid_argument when its index is taken or lies among the transceivers' rows.
    void add(Entity entity);

    /// Has `observer` called at every change, after it happened.
    void observe(Observer observer) { observers_.push_back(std::move(observer)); }

    const std::string& file() const { return file_; }

    /// All entities in increasing order of index.
    const std::map<uint32_t, Entity>& entities() const { return entities_; }

    /// The entity with an index, or null.
    const Entity* find(uint32_t index) const;

    /// The entity with the least index above `index`, or null.
    const Entity* next_after(uint32_t index) const;

    /// Writes texts of an entity; values that are already there change nothing.
    /// Throws std::out_of_range for an unknown index.
    void write(uint32_t index, std::span<const TextChange> changes);

    /// Counts as a change of the inventory, and tells the observers so.
    void announce_change();

    /// When the inventory last changed; at first when the chassis was made.
    Clock::time_point last_change() const { return last_change_; }

private:
    std::string file_;
    std::map<uint32_t, Entity> entities_;
    std::vector<Observer> observers_;
    Clock::time_point last_change_ = Clock::now();
};

} // namespace sim
