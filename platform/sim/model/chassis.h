/// The model of the simulated switch: the physical entities that a chassis is made of, and the
/// units among them.
///
/// Every change of the chassis is made here and notifies the observers; nothing else raises events.
#pragma once

#include "model/entity.h"
#include "model/fault.h"
#include "model/power.h"
#include "model/reading.h"
#include "model/redundancy.h"
#include "model/unit.h"
#include "wire/events.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

/// A slot or bay. Its container has a row whether or not a unit fills it.
struct Place {
    uint32_t index = 0;               ///< entPhysicalIndex of the container
    UnitType type{};                  ///< of the units that it takes
    uint32_t unit_index = 0;          ///< entPhysicalIndex of the unit in it
    std::optional<Assembly> pulled{}; ///< what was pulled from it and may be inserted again
};

/// The system group of the switch.
struct System {
    std::string description{}; ///< empty for one that derives from the chassis
    std::string contact{};
    std::string name{}; ///< empty for the one that the agent has
    std::string location{};
};

/// A text of the system group: its name in files, and the sub-identifier of its object.
struct SystemText {
    std::string_view key;
    std::string System::*text;
    uint32_t object;
    size_t capacity = 255; ///< longest text in bytes
};
inline constexpr SystemText system_texts[] = {{"description", &System::description, 1},
                                              {"contact", &System::contact, 4},
                                              {"name", &System::name, 5},
                                              {"location", &System::location, 6}};

inline constexpr size_t max_own_serial = 27; ///< bytes that leave room for an index after it
inline constexpr uint32_t max_load = 100;

/// What a switch has of its own, apart from others of the same chassis file.
struct Individual {
    std::string serial{}; ///< of the chassis; empty for that of the file
    uint32_t load = 0;    ///< of interfaces without one in the file, in percent of their speed
};

/// Settings of the whole switch.
struct SwitchSettings {
    Individual individual{};
    System system{};
    int32_t max_default_in_line_power = max_in_line_power;
    bool status_notifications = true; ///< events of units are raised; see Chassis::observe()
    uint32_t type_code = 0;           ///< of the chassis, as the platform database shows it
    std::chrono::milliseconds diagnostics_delay{}; ///< that reading a transceiver takes
    std::chrono::seconds start_time{3}; ///< that a module starts before it goes into service
    /// Overrides of LEDs, by entity and number of the LED.
    std::map<std::pair<uint32_t, uint32_t>, int32_t> leds_by_hand{};
};

/// A change that the switch refuses, with the reason.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Something that happened to the switch.
struct Occurrence {
    uint32_t event;                     ///< its number
    uint32_t index = 0;                 ///< entPhysicalIndex of its subject; 0 for none
    std::optional<Crossing> crossing{}; ///< of sensor_threshold_crossed
};

/// A unit that the switch does not recognize, in the place whose container is given.
Entity unrecognized_unit(const Entity& container, uint32_t index);

/// The management port as it leaves the factory.
Entity management_port();

class Chassis {
public:
    using LinkObserver = std::function<void(const Entity& port)>;
    using Observer = std::function<void(const Occurrence& occurrence)>;
    using TimeSource = std::function<Clock::time_point()>;

    /// @param file name of the file that describes the chassis
    /// @param now  what the chassis takes the time from
    explicit Chassis(std::string file, TimeSource now = Clock::now)
        : file_(std::move(file)), now_(std::move(now))
    {
        settle_link(management_);
    }

    // While the chassis is put together; nothing of it is a change that observers see.

    /// Adds an entity. Throws std::invalid_argument when its index is taken or lies among the
    /// transceivers' rows.
    void add(Entity entity);

    /// Adds a place whose container is there, and a unit that is in service from the start, unless
    /// it is starting or has failed, or its administrative statuses have it off.
    void add_place(Place place) { places_.emplace(place.index, std::move(place)); }
    void add_unit(Assembly assembly);

    /// Adds a unit that was pulled from its place and may be inserted.
    void add_pulled(Assembly assembly);

    /// Sets the state of the supervisors. An active one that is not in service is replaced by
    /// another one.
    void set_redundancy(const Redundancy& redundancy);

    /// Sets the redundancy mode, even if it does not cover the power drawn.
    void start_under(RedundancyMode mode) { redundancy_mode_ = mode; }

    // How it is.

    /// Calls `observer` at every change: after it, but before a removed unit is gone. While status
    /// notifications are off, changes of units are not reported.
    void observe(Observer observer) { observers_.push_back(std::move(observer)); }

    /// Calls `observer` whenever an interface has gone up or down.
    void observe_links(LinkObserver observer) { link_observers_.push_back(std::move(observer)); }

    /// Calls `observer` after each write of an operator, whatever was written.
    void observe_writes(std::function<void()> observer) { write_observer_ = std::move(observer); }

    const std::string& file() const { return file_; }

    Clock::time_point now() const { return now_(); }

    /// All entities and all units in increasing order of index.
    const std::map<uint32_t, Entity>& entities() const { return entities_; }
    const std::map<uint32_t, Unit>& units() const { return units_; }

    /// The management port, which is no entity of the physical table.
    const Entity& management() const { return management_; }

    /// How often ports have been added or removed, and when that last was.
    uint32_t ports_generation() const { return ports_generation_; }
    Clock::time_point ports_changed() const { return ports_changed_; }

    /// All places by the index of their container.
    const std::map<uint32_t, Place>& places() const { return places_; }

    /// The entity with an index, or null.
    const Entity* find(uint32_t index) const;

    /// The unit with an index, or null.
    const Unit* find_unit(uint32_t index) const;

    /// The unit with an index, in its place or pulled from it, or null.
    const Unit* known_unit(uint32_t index) const;

    /// Status of an entity: of a unit, from its power and its failures; of a part, that of its unit
    /// unless the part itself has failed.
    EntityStatus status(const Entity& entity) const;

    /// Whether a sensor measures, which needs its unit in service.
    SensorStatus sensor_status(const Entity& sensor) const;

    /// Whether a sensor's value, as it was last measured, is beyond one of its thresholds.
    bool is_beyond(const Entity& sensor, const SensorThreshold& threshold) const;

    const Redundancy& redundancy() const { return redundancy_; }

    RedundancyMode redundancy_mode() const { return redundancy_mode_; }

    /// Injected faults, in the order of their numbers. Spent ones are removed.
    const std::vector<Fault>& faults() const { return faults_; }
    std::vector<Fault>& faults() { return faults_; }

    /// When the inventory last changed; at first when the chassis was made.
    Clock::time_point last_change() const { return last_change_; }

    // Changes. An index that is unknown throws std::out_of_range, what the switch refuses Refusal.

    SwitchSettings& settings() { return settings_; }
    const SwitchSettings& settings() const { return settings_; }

    /// Writes texts of an entity; values that are already there change nothing.
    void write(uint32_t index, std::span<const TextChange> changes);

    /// Reports a write of an operator that has been carried out.
    void announce_write() const
    {
        if (write_observer_) {
            write_observer_();
        }
    }

    /// Counts as a change of the inventory, and notifies the observers.
    void announce_change();

    /// Switches a module, or the power of a module or fan tray.
    void set_admin_status(uint32_t index, AdminStatus status);
    void set_power_admin_status(uint32_t index, PowerAdminStatus status);

    /// Refused if the mode does not cover the power drawn.
    void set_redundancy_mode(RedundancyMode mode);

    /// Sets the output of a power supply, which it delivers while healthy.
    void set_output(uint32_t index, uint32_t watts);

    /// Makes a unit or a fan fail, or repairs it; a fan tray is repaired with its fans.
    void set_failed(uint32_t index, bool failed);

    /// Pulls a unit out of its place, by its own index or by that of the place's container.
    void pull(uint32_t index);

    /// Fills an empty place, by the index of its container, with what was last pulled from it or
    /// with another unit that is made for it.
    void insert(uint32_t index, std::optional<Assembly> other = std::nullopt);

    /// Fills an empty place with a unit that the switch does not recognize.
    void plug_unknown(uint32_t index);

    /// Switches over to the standby supervisor. Refused if there is none.
    void switch_over(int32_t reason);

    /// Carries out an administrative action of the supervisors.
    void act(RedundancyAction action);

    /// Overrides the supervisors' state code, or ends the override.
    void set_supervisor_state(std::optional<int32_t> state) { redundancy_.state_by_hand = state; }

    /// Adds a fault, and numbers it. Refused if there are too many, if delays, cut or padded bytes
    /// of a single request would exceed the limit of their kind, for an operation with which the
    /// request is never sent, and for cut or padded answers of the port manager: its blocks have no
    /// length and are trusted to be as long as the contract says.
    void set_fault(Fault fault);

    /// Plugs what was last unplugged from a port, or another transceiver, into its empty cage.
    void plug(uint32_t index, std::optional<Transceiver> other = std::nullopt);

    /// Takes the transceiver out of a port.
    void unplug(uint32_t index);

    /// Overrides a reading of a port's transceiver, in its unit, or ends the override.
    /// @param quantity its place in `quantities`
    void set_transceiver_reading(uint32_t index, size_t quantity, std::optional<double> value);

    /// Reads the diagnostics of all lanes of a port's transceiver, none when it has none, and
    /// counts that.
    std::vector<diag_info> read_diagnostics(uint32_t index);

    /// Sets all settings of an interface. Refused if a load exceeds its speed.
    void configure_interface(uint32_t if_index, const InterfaceSettings& settings);

    /// Overrides the reading of a sensor, in the unit of its kind, or ends the override. Refused if
    /// the sensor cannot report the value.
    void set_reading(uint32_t index, std::optional<double> value);

    /// Sets whether crossings of a threshold of a sensor, counted from 1, raise events.
    void set_threshold_notification(uint32_t index, uint32_t threshold, bool on);

    /// Advances the time: modules that have started go into service, sensors and transceivers
    /// measure.
    void advance();

private:
    void notify(const Occurrence& occurrence);
    void mark_ports();
    Unit& fit(Assembly assembly);
    Sensor& sensor_of(uint32_t index);
    void measure(Entity& entity);
    void measure_parts(const Unit& unit);
    Port& port_at(uint32_t index);
    void measure_transceiver(Entity& port);
    LinkStatus link_status(const Entity& port) const;
    void settle_link(Entity& port);
    void start_traffic(Interface& interface);
    void stop_traffic(Interface& interface);
    Place& empty_place(uint32_t index);
    bool has_failed_part(const Unit& unit) const;
    void refuse_for_active_supervisor(const Unit& unit) const;
    void change_status(Unit& unit, EntityStatus status, bool powered);
    void notify_changes(const Unit& before, const Unit& unit);
    void settle_roles();
    void put_in_charge(uint32_t supervisor, int32_t reason);
    void settle(Unit& unit);
    void start(Unit& unit);
    void settle_after_break(Unit& unit);

    std::string file_;
    TimeSource now_;
    std::map<uint32_t, Entity> entities_;
    Entity management_ = management_port();
    uint32_t ports_generation_ = 0;
    Clock::time_point ports_changed_{};
    std::map<uint32_t, Unit> units_;
    std::map<uint32_t, Place> places_;
    std::vector<Observer> observers_;
    std::vector<LinkObserver> link_observers_;
    std::function<void()> write_observer_;
    RedundancyMode redundancy_mode_ = RedundancyMode::none;
    Redundancy redundancy_;
    SwitchSettings settings_;
    std::vector<Fault> faults_;
    uint32_t last_fault_ = 0; ///< number
    Clock::time_point last_change_ = now_();
};

} // namespace sim
