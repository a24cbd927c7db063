/// The parts of a chassis file that describe entities: texts, sensors, transceivers of ports.
#pragma once

#include "files/chassis_schema.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

/// Keys that any entity may have, and `more`.
Keys entity_keys(Keys more = {});

/// Keys that a transceiver may have, and `more`.
Keys transceiver_keys(Keys more = {});

/// The entities of a chassis file. Errors throw FileError.
class EntityReader : protected TomlReader {
protected:
    EntityReader(const std::string& file, Individual individual)
        : TomlReader(file), individual_(std::move(individual))
    {
    }

    /// Reads the [[entity]] tables, which override the keys of entities.
    void read_entries();

    /// Refuses entries of entities that do not exist.
    void check_entries_used() const;

    void forget_entries() { entries_.clear(); }

    /// Describes the chassis, from which other entities derive manufacturer and serial number.
    /// Before this call they have none.
    void read_own(const toml::table& table);

    const Entity& own() const { return own_; }

    /// Overwrites the entity's defaults with what its table says.
    void describe(Entity& entity, const InheritingTable& table) const;

    /// Applies the entity's own entry, if there is one.
    Entity completed(Entity entity);

    /// Refuses texts that are too long because they derive from the chassis's.
    void check_derived(const Entity& entity) const;

    /// An entry with the type that it refers to, if it does, in a table of types.
    InheritingTable with_type(const toml::table& entry, std::string_view types) const;

    /// The sensors that a holder's table lists. @param holder_number see usual_sensor
    std::vector<Entity> make_sensors(const Entity& holder, uint32_t holder_number,
                                     const InheritingTable& table);

    /// Sets the cages, transceivers and interfaces of a module's ports, which are in the order of
    /// their numbers.
    void fit_ports(std::span<Entity> ports, const InheritingTable& table) const;

    /// The texts of the system group.
    System make_system(const toml::table& table) const;

    /// The settings of an interface. @param more keys that the table may have
    InterfaceSettings make_interface(const toml::table& entry, Keys more = {}) const;

    /// A transceiver in a port.
    Transceiver make_transceiver(const InheritingTable& table, const Entity& port) const;

private:
    template <typename Described, typename Text, size_t Count>
    void read_texts(Described& described, const Text (&texts)[Count],
                    const InheritingTable& table) const;
    template <typename Described, typename Text, size_t Count>
    void check_lengths(const Described& described, const Text (&texts)[Count],
                       const std::string& whose) const;
    std::vector<uint32_t> port_list(const toml::node& node, std::string_view what,
                                    size_t count) const;
    Load make_load(const toml::table& entry, std::string_view what) const;
    Measurement make_measurement(const Quantity& quantity, const toml::node* node,
                                 WordFormat format, uint32_t seed) const;
    ReadingRange range_of(const Quantity& quantity, const toml::table& table) const;
    void check_name(const Entity& sensor, const toml::table& entry) const;
    Sensor make_sensor(uint32_t index, const toml::table& entry) const;
    SensorThreshold make_threshold(const Sensor& sensor, const toml::table& entry) const;

    Individual individual_;
    Entity own_;
    std::optional<InheritingTable> own_table_;       ///< what it is described with
    std::map<uint32_t, const toml::table*> entries_; ///< by index, those not yet used
};

} // namespace sim
