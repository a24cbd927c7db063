/// Readings, which move with time, and their thresholds.
#pragma once

#include "model/clock.h"

#include <cstdint>
#include <optional>

namespace sim {

/// A quantity that moves slowly and smoothly between two bounds, in a unit of the caller. It is a
/// function of time alone, so that it does not jump after a pause.
class Reading {
public:
    /// @param seed makes readings differ from each other, such as the index of the entity
    Reading(double low, double high, uint32_t seed) : low_(low), high_(high), seed_(seed) {}

    /// The reading at a time, within the bounds unless overridden.
    double at(Clock::time_point time) const;

    /// Overrides the reading, with any value, or ends the override.
    void set_by_hand(std::optional<double> value)
    {
        // -0 becomes 0: they differ as raw words of reals, and a person who writes -0 means 0.
        by_hand_ = value ? std::optional(*value + 0.0) : std::nullopt;
    }

    bool is_by_hand() const { return by_hand_.has_value(); }

    double low() const { return low_; }
    double high() const { return high_; }
    std::optional<double> by_hand() const { return by_hand_; }

private:
    double low_;
    double high_;
    uint32_t seed_;
    std::optional<double> by_hand_;
};

/// The relation of a reading to a threshold that it is beyond: entSensorThresholdRelation.
enum class Relation : int32_t {
    less_than = 1,
    less_or_equal = 2,
    greater_than = 3,
    greater_or_equal = 4,
};

/// A threshold of a reading. Both are in the unit in which the reading is reported, and rounded
/// alike, so that a crossing shows in the reported value.
class Threshold {
public:
    Threshold(double value, Relation relation) : value_(value), relation_(relation) {}

    double value() const { return value_; }
    Relation relation() const { return relation_; }

    bool is_beyond(double reading) const;

    /// Whether the reading has gone beyond the threshold since the last check. A reading that is
    /// beyond it at the first check has not crossed it.
    bool is_crossed_by(double reading);

    /// Makes the next check the first one, for instance after a pause of the measurement.
    void forget() { was_beyond_.reset(); }

private:
    double value_;
    Relation relation_;
    std::optional<bool> was_beyond_; ///< at the last check
};

/// The report of a crossing, in the steps in which the reading is reported.
struct Crossing {
    int32_t value;
    int32_t threshold_value;
    uint32_t threshold; ///< number of the threshold, from 1
};

} // namespace sim
