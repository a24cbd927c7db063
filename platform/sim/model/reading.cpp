#include "model/reading.h"

#include <cmath>
#include <numbers>
#include <utility>

namespace sim {
namespace {

/// What is after the point of a positive number.
double fraction(double number)
{
    return number - std::floor(number);
}

} // namespace

double Reading::at(Clock::time_point time) const
{
    if (by_hand_) {
        return *by_hand_;
    }
    // Periods of four to eight minutes, and phases spread evenly: neighbouring seeds lie far apart.
    const double period = 240.0 + 37U * seed_ % 240U;
    const double phase = fraction(seed_ * std::numbers::phi);
    const double seconds = std::chrono::duration<double>(time.time_since_epoch()).count();
    const double wave = std::sin(2 * std::numbers::pi * (fraction(seconds / period) + phase));
    return std::lerp(low_, high_, (1 + wave) / 2);
}

bool Threshold::is_beyond(double reading) const
{
    switch (relation_) {
    case Relation::less_than:
        return reading < value_;
    case Relation::less_or_equal:
        return reading <= value_;
    case Relation::greater_than:
        return reading > value_;
    case Relation::greater_or_equal:
        break;
    }
    return reading >= value_;
}

bool Threshold::is_crossed_by(double reading)
{
    const bool beyond = is_beyond(reading);
    const bool was_beyond = std::exchange(was_beyond_, beyond).value_or(true);
    return beyond && !was_beyond;
}

} // namespace sim
