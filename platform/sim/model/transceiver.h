/// Ports and the optical transceivers in their cages, with the diagnostics that these report.
#pragma once

#include "model/interface.h"
#include "model/named.h"
#include "model/reading.h"
#include "wire/physical_index.h"
#include "wire/records.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

/// Diagnostics of a transceiver: the byte of its diagnostic monitoring type.
enum class Diagnostics : uint8_t {
    none = 0,
    internal = 0x60, ///< raw words are integers
    external = 0x50, ///< raw words are single-precision reals
};

inline constexpr Named<Diagnostics> diagnostics_kinds[] = {{"internal", Diagnostics::internal},
                                                           {"external", Diagnostics::external},
                                                           {"none", Diagnostics::none}};

/// The format of a raw word of diagnostics.
enum class WordFormat { integer, real };

/// The thresholds of a reading in the order of their indexes, which count from 1.
enum ThresholdIndex : size_t {
    high_alarm,
    high_warning,
    low_alarm,
    low_warning,
    transceiver_thresholds
};
inline constexpr std::string_view threshold_keys[transceiver_thresholds] = {
    "high-alarm", "high-warning", "low-alarm", "low-warning"};

/// Bounds between which a reading moves, and its thresholds.
struct ReadingRange {
    double low = 0;
    double high = 0;
    std::array<double, transceiver_thresholds> thresholds{};
};

/// One of the five quantities that a transceiver measures.
struct Quantity {
    std::string_view key;           ///< in chassis files and for chmctl
    std::string_view unit;          ///< for people; readings and ranges are in this unit
    port_sfp_sens_type sensor_code; ///< its place among the physical indexes of a port's sensors
    bool logarithmic;               ///< in decibels of a milliwatt
    double raw_per_unit;            ///< of the raw word; of a logarithmic one, per milliwatt
    double raw_per_served; ///< the same for a value of the sensor tables, unless logarithmic
    int decimals;          ///< of a served value in the unit for people
    double least;          ///< that raw words can hold
    double most;
    double lane_step; ///< by which a lane reads more than the one after it
    ReadingRange usual;
    uint32_t diag_info::*word;
    std::array<uint32_t diag_info::*, transceiver_thresholds> threshold_words;
};

/// Transmit and receive power differ in their place and in their defaults.
constexpr Quantity
optical_power(std::string_view key, port_sfp_sens_type sensor_code, ReadingRange usual,
              uint32_t diag_info::*word,
              std::array<uint32_t diag_info::*, transceiver_thresholds> threshold_words)
{
    return {.key = key,
            .unit = "dBm",
            .sensor_code = sensor_code,
            .logarithmic = true,
            .raw_per_unit = 1000,
            .raw_per_served = 1,
            .decimals = 3,
            .least = -30,
            .most = 10,
            .lane_step = 0.1,
            .usual = usual,
            .word = word,
            .threshold_words = threshold_words};
}

/// In the order of the condition bits in a lane's alarm and warning flags.
inline constexpr std::array<Quantity, 5> quantities = {{
    {.key = "temperature",
     .unit = "°C",
     .sensor_code = SFP_TEMPERATURE,
     .logarithmic = false,
     .raw_per_unit = 1000,
     .raw_per_served = 1,
     .decimals = 3,
     .least = -128,
     .most = 128,
     .lane_step = 0.1,
     .usual = {.low = 32, .high = 40, .thresholds = {75, 70, -5, 0}},
     .word = &diag_info::temp,
     .threshold_words = {&diag_info::temp_hi_alarm, &diag_info::temp_hi_warn,
                         &diag_info::temp_lo_alarm, &diag_info::temp_lo_warn}},
    {.key = "voltage",
     .unit = "V",
     .sensor_code = SFP_VOLTAGE,
     .logarithmic = false,
     .raw_per_unit = 1e6,
     .raw_per_served = 1000,
     .decimals = 3,
     .least = 0,
     .most = 6.5,
     .lane_step = 0.002,
     .usual = {.low = 3.27, .high = 3.32, .thresholds = {3.63, 3.465, 2.97, 3.135}},
     .word = &diag_info::volt,
     .threshold_words = {&diag_info::volt_hi_alarm, &diag_info::volt_hi_warn,
                         &diag_info::volt_lo_alarm, &diag_info::volt_lo_warn}},
    {.key = "bias-current",
     .unit = "mA",
     .sensor_code = SFP_CURRENT,
     .logarithmic = false,
     .raw_per_unit = 1,
     .raw_per_served = 1,
     .decimals = 0,
     .least = 0,
     .most = 500,
     .lane_step = 1,
     .usual = {.low = 30, .high = 38, .thresholds = {75, 70, 5, 10}},
     .word = &diag_info::current,
     .threshold_words = {&diag_info::current_hi_alarm, &diag_info::current_hi_warn,
                         &diag_info::current_lo_alarm, &diag_info::current_lo_warn}},
    optical_power("transmit-power", SFP_TX_POWER,
                  {.low = -2.6, .high = -2.2, .thresholds = {2, 1, -8, -7}}, &diag_info::tx_pwr,
                  {&diag_info::tx_pwr_hi_alarm, &diag_info::tx_pwr_hi_warn,
                   &diag_info::tx_pwr_lo_alarm, &diag_info::tx_pwr_lo_warn}),
    optical_power("receive-power", SFP_RX_POWER,
                  {.low = -4.8, .high = -4, .thresholds = {2, 1, -13, -11}}, &diag_info::rx_pwr,
                  {&diag_info::rx_pwr_hi_alarm, &diag_info::rx_pwr_hi_warn,
                   &diag_info::rx_pwr_lo_alarm, &diag_info::rx_pwr_lo_warn}),
}};

/// The logarithmic reading without any light, whose raw word is 0.
inline constexpr double no_light = -std::numeric_limits<double>::infinity();
inline constexpr std::string_view no_light_key = "none";

/// A reading in its unit for people, and its thresholds in units of the raw word.
struct Measurement {
    Reading reading;
    std::array<Threshold, transceiver_thresholds> thresholds;
    ReadingRange range{}; ///< from which both were made
};

struct Transceiver {
    std::string type{}; ///< of the chassis file, empty for none
    std::string manufacturer{};
    std::string model{}; ///< part number
    std::string revision{};
    std::string serial{};
    std::string alias{};
    Diagnostics diagnostics = Diagnostics::internal;
    uint32_t lanes = 1;
    uint32_t speed = 0;                      ///< in Mbit/s, 0 for that of its port
    std::vector<Measurement> measurements{}; ///< one for each of `quantities`
};

/// The port of an entity. Interface indexes order ports by slot and number.
struct Port {
    uint32_t if_index = 0;
    bool has_cage = true;   ///< electrical ports have none
    uint32_t speed = 10000; ///< in Mbit/s
    Interface interface {
    };
    std::optional<Transceiver> transceiver{};
    std::optional<Transceiver>
        unplugged{}; ///< what was last taken out, and may be plugged in again
    uint64_t diagnostics_reads = 0;
};

/// entPhysicalIndex of a sensor of the transceiver in a port.
uint32_t sensor_index(uint32_t if_index, const Quantity& quantity);

/// The format of a transceiver's raw thresholds, and of its raw readings unless the type of the
/// chassis reports all readings as integers.
WordFormat threshold_format(const Transceiver& transceiver);
bool has_integer_readings(uint32_t chassis_type);

/// A reading in units of its raw word, rounded to the word's format.
double raw_value(const Quantity& quantity, double reading, WordFormat format);

/// The value in the sensor tables, in thousandths of its unit, of a value in units of its raw word.
int32_t served_value(const Quantity& quantity, double raw);

/// Whether raw words can hold a reading.
bool can_tell(const Quantity& quantity, double reading);

/// Makes the next check of a transceiver's readings the first one; see Threshold.
void forget_thresholds(Transceiver& transceiver);

/// A reading with thresholds. @param seed see Reading
Measurement make_measurement(const Quantity& quantity, const ReadingRange& range, WordFormat format,
                             uint32_t seed);

/// The raw diagnostics of all lanes. The last one is that whose values the sensor tables show.
/// @param format of the readings
std::vector<diag_info> read_lanes(const Transceiver& transceiver, Clock::time_point time,
                                  WordFormat format);

} // namespace sim
