/// Interfaces: the ports of the switch as IF-MIB knows them.
#pragma once

#include "model/clock.h"
#include "model/named.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

/// Values of ifAdminStatus that the switch takes.
enum class LinkAdmin : int32_t { up = 1, down = 2 };

inline constexpr Named<LinkAdmin> link_admins[] = {{"up", LinkAdmin::up},
                                                   {"down", LinkAdmin::down}};

/// Values of ifOperStatus.
enum class LinkStatus : int32_t {
    up = 1,
    down = 2,
    not_present = 6, ///< the cage is empty
};

inline constexpr Named<LinkStatus> link_statuses[] = {
    {"up", LinkStatus::up}, {"down", LinkStatus::down}, {"not-present", LinkStatus::not_present}};

inline constexpr size_t max_link_alias = 64; ///< bytes of ifAlias

/// What passes an interface in one direction while it is up.
struct Load {
    double bits_per_second = 0;
    double packet_size = 500; ///< mean, in bytes
    double errors_per_second = 0;
    double discards_per_second = 0;

    bool operator==(const Load&) const = default;
};

/// One number of a load: its name in files and for chmctl, and its bounds.
struct LoadRate {
    std::string_view key;
    double Load::*value;
    double least;
    double most;
};

inline constexpr uint32_t max_speed = 1000000; ///< of an interface, in Mbit/s

inline constexpr LoadRate load_rates[] = {
    {"bits-per-second", &Load::bits_per_second, 0, 1e6 * max_speed},
    {"packet-size", &Load::packet_size, 64, 9216},
    {"errors-per-second", &Load::errors_per_second, 0, 1e6},
    {"discards-per-second", &Load::discards_per_second, 0, 1e6}};

/// What has passed an interface in one direction.
struct Counters {
    uint64_t octets = 0;
    uint64_t packets = 0;
    uint64_t errors = 0;
    uint64_t discards = 0;
};

/// The counters of one direction, computed when they are read.
class Traffic {
public:
    Counters at(Clock::time_point time, const Load& load) const;

    /// Counts the load from a time on.
    void start(Clock::time_point time) { since_ = time; }

    /// Stops counting the load.
    void stop(Clock::time_point time, const Load& load);

private:
    Counters counted_;
    std::optional<Clock::time_point> since_; ///< none while nothing passes
};

/// What an operator sets of an interface.
struct InterfaceSettings {
    std::string alias{}; ///< ifAlias
    LinkAdmin admin = LinkAdmin::up;
    bool notifies = true; ///< linkUp and linkDown are sent
    Load in{};
    Load out{};

    bool operator==(const InterfaceSettings&) const = default;
};

/// The middle three bytes of a switch's MAC addresses: a hash of the chassis' serial number.
uint32_t address_block(std::string_view serial);

struct Interface {
    InterfaceSettings settings{};
    LinkStatus status = LinkStatus::not_present;
    Clock::time_point status_changed{};
    Traffic in{};
    Traffic out{};
};

} // namespace sim
