/// The platform's own sensors: their readings, and how these are reported.
#pragma once

#include "model/named.h"
#include "model/reading.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace sim {

/// Values of entSensorType.
enum class SensorType : int32_t {
    volts_ac = 3,
    volts_dc = 4,
    amperes = 5,
    watts = 6,
    hertz = 7,
    celsius = 8,
    percent_humidity = 9,
    rpm = 10,
};

/// Values of entSensorScale.
enum class SensorScale : int32_t { milli = 8, units = 9 };

/// Values of entSensorStatus.
enum class SensorStatus : int32_t {
    ok = 1,
    unavailable = 2,    ///< not measured now
    nonoperational = 3, ///< failed
};

inline constexpr Named<SensorStatus> sensor_statuses[] = {
    {"ok", SensorStatus::ok},
    {"unavailable", SensorStatus::unavailable},
    {"nonoperational", SensorStatus::nonoperational}};

/// Values of entSensorThresholdSeverity.
enum class Severity : int32_t { other = 1, minor = 10, major = 20, critical = 30 };

inline constexpr Named<Relation> relations[] = {{"<", Relation::less_than},
                                                {"<=", Relation::less_or_equal},
                                                {">", Relation::greater_than},
                                                {">=", Relation::greater_or_equal}};

inline constexpr Named<Severity> severities[] = {{"other", Severity::other},
                                                 {"minor", Severity::minor},
                                                 {"major", Severity::major},
                                                 {"critical", Severity::critical}};

inline constexpr Named<SensorScale> sensor_scales[] = {{"milli", SensorScale::milli},
                                                       {"units", SensorScale::units}};

/// A kind of sensor, with its defaults for chassis files.
struct SensorKind {
    std::string_view key; ///< its name in chassis files and for chmctl
    std::string_view description;
    SensorType type;
    std::string_view unit; ///< of what is measured, for people
    SensorScale scale;
    double low; ///< in the unit
    double high;
};

inline constexpr std::string_view temperature_key = "temperature";
inline constexpr SensorKind sensor_kinds[] = {
    {temperature_key, "Temperature", SensorType::celsius, "°C", SensorScale::units, 35, 45},
    {"voltage", "Supply voltage", SensorType::volts_dc, "V", SensorScale::milli, 11.9, 12.1},
    {"ac-voltage", "AC voltage", SensorType::volts_ac, "V AC", SensorScale::units, 226, 234},
    {"current", "Current", SensorType::amperes, "A", SensorScale::milli, 20, 25},
    {"power", "Power", SensorType::watts, "W", SensorScale::units, 400, 500},
    {"frequency", "Frequency", SensorType::hertz, "Hz", SensorScale::milli, 49.9, 50.1},
    {"humidity", "Humidity", SensorType::percent_humidity, "% RH", SensorScale::units, 35, 45},
    {"fan-speed", "Fan speed", SensorType::rpm, "rpm", SensorScale::units, 5800, 6200},
};

/// A threshold in the steps in which the sensor's value is reported.
struct SensorThreshold : Threshold {
    Severity severity;
    bool notifies; ///< a crossing raises an event
};

inline constexpr size_t max_thresholds = 4;          ///< of one sensor
inline constexpr uint32_t max_precision = 9;         ///< decimal places
inline constexpr double max_sensor_value = 1e9;      ///< in steps; the least is minus it
inline constexpr uint32_t sensor_update_seconds = 1; ///< from one measurement to the next

/// A sensor. The entity that has it describes it.
struct Sensor {
    const SensorKind* kind;
    SensorScale scale;
    uint32_t precision; ///< decimal places that its value is reported with
    Reading reading;    ///< in the kind's unit
    std::vector<SensorThreshold> thresholds{};
    int32_t value = 0;            ///< as it was last measured, in the steps in which it is reported
    Clock::time_point measured{}; ///< when that was
};

/// Number of steps in which a sensor reports one unit of its kind.
inline double steps_per_unit(SensorScale scale, uint32_t precision)
{
    return std::pow(10, precision + (scale == SensorScale::milli ? 3 : 0));
}

inline double steps_per_unit(const Sensor& sensor)
{
    return steps_per_unit(sensor.scale, sensor.precision);
}

/// The largest value, in the unit, that a sensor can report; the least is minus it.
inline double most_reading(SensorScale scale, uint32_t precision)
{
    return max_sensor_value / steps_per_unit(scale, precision);
}

/// The reported steps of a value in the unit of the sensor's kind, which must be within its range.
inline int32_t in_steps(const Sensor& sensor, double value)
{
    return static_cast<int32_t>(std::lround(value * steps_per_unit(sensor)));
}

} // namespace sim
