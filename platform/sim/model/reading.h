/// Readings: what is measured, as it moves with time, and the thresholds that it is watched for.
#pragma once

#include "model/clock.h"

#include <cstdint>
#include <optional>

namespace sim {

/// A quantity that moves slowly and smoothly between two bounds, in a unit of the caller's. It
/// depends on nothing but the time, so that it goes on where it was after any pause.
class Reading {
public:
    /// @param seed makes readings move apart from each other, such as the index of what has it
    Reading(double low, double high, uint32_t seed) : low_(low), high_(high), seed_(seed) {}

    /// The reading at a time, within the bounds unless it is set by hand.
    double at(Clock::time_point time) const;

    /// Has the reading stay at a value, within the bounds or not, or move again.
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

/// How a reading lies to a threshold that it is beyond, as entSensorThresholdRelation says it.
enum class Relation : int32_t {
    less_than = 1,
    less_or_equal = 2,
    greater_than = 3,
    greater_or_equal = 4,
};

/// A value that a reading is watched for. Both are in the unit in which the reading is reported,
/// and rounded alike, so that a crossing can be seen in what is reported.
class Threshold {
public:
    Threshold(double value, Relation relation) : value_(value), relation_(relation) {}

    double value() const { return value_; }
    Relation relation() const { return relation_; }

    bool is_beyond(double reading) const;

    /// Whether the reading has come beyond the threshold since the last look. What is beyond it at
    /// the first look has not crossed it.
    bool is_crossed_by(double reading);

    /// Has the next look be the first one, as when nothing was measured meanwhile.
    void forget() { was_beyond_.reset(); }

private:
    double value_;
    Relation relation_;
    std::optional<bool> was_beyond_; ///< at the last look
};

/// What is reported of a reading that crossed a threshold, in the steps of its reports.
struct Crossing {
    int32_t value;
    int32_t threshold_value;
    uint32_t threshold; ///< number of the threshold, from 1
};

} // namespace sim
