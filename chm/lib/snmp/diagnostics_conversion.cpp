#include "diagnostics_conversion.h"

#include "pdb.h"
#include "rcode.h"
#include "trace.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>

namespace {

/// The kind of a reading, which determines its conversion.
enum class Quantity {
    voltage,     ///< microvolts become millivolts
    current,     ///< stays as it is
    temperature, ///< stays as it is; the one that is signed
    power,       ///< microwatts become thousandths of a dBm
};

/// A sensor's raw words, and the constants of its rows.
struct LaneSensor {
    const char* name; ///< in the trace
    int32_t type;     ///< entSensorType
    Quantity quantity;
    uint32_t high_bit; ///< in alarm and warning flags; the low one is the next bit
    uint32_t diag_info::*reading;
    uint32_t diag_info::*thresholds[SENSOR_THRESHOLDS];
};

constexpr int32_t SENSOR_TYPE_DBM = 14;
constexpr int32_t SCALE_MILLI = 8;
constexpr int32_t STATUS_OK = 1;

using D = diag_info;

// clang-format off
/// In the order of ent_cache_sensor.
constexpr LaneSensor lane_sensors[CACHE_SENSORS] = {
    {"volt", SFP_VOLTAGE, Quantity::voltage, 0x4, &D::volt,
     {&D::volt_hi_alarm, &D::volt_hi_warn, &D::volt_lo_alarm, &D::volt_lo_warn}},
    {"curr", SFP_CURRENT, Quantity::current, 0x10, &D::current,
     {&D::current_hi_alarm, &D::current_hi_warn, &D::current_lo_alarm, &D::current_lo_warn}},
    {"temp", SFP_TEMPERATURE, Quantity::temperature, 0x1, &D::temp,
     {&D::temp_hi_alarm, &D::temp_hi_warn, &D::temp_lo_alarm, &D::temp_lo_warn}},
    {"rx_pwr", SENSOR_TYPE_DBM, Quantity::power, 0x100, &D::rx_pwr,
     {&D::rx_pwr_hi_alarm, &D::rx_pwr_hi_warn, &D::rx_pwr_lo_alarm, &D::rx_pwr_lo_warn}},
    {"tx_pwr", SENSOR_TYPE_DBM, Quantity::power, 0x40, &D::tx_pwr,
     {&D::tx_pwr_hi_alarm, &D::tx_pwr_hi_warn, &D::tx_pwr_lo_alarm, &D::tx_pwr_lo_warn}},
};
// clang-format on

/// Chassis whose transceivers report readings as integers whatever their calibration; thresholds
/// are reals there too.
constexpr uint32_t integer_reading_chassis[] = {PDB_INTEGER_READING_CHASSIS};

bool reads_integers()
{
    uint32_t chassis_type = 0;
    pdb_get_chassis_type(&chassis_type);
    return std::ranges::find(integer_reading_chassis, chassis_type) !=
           std::end(integer_reading_chassis);
}

/// Truncates a real; what is no number of 32 bits becomes the least one.
int32_t truncated(double real)
{
    // False for what is not a number, too.
    return real > -2147483649.0 && real < 2147483648.0 ? static_cast<int32_t>(real) : INT32_MIN;
}

float dbm_of(double microwatts)
{
    return static_cast<float>(10 * log10(microwatts / 1000));
}

int32_t thousandths(float dbm)
{
    return truncated(static_cast<double>(dbm) * 1000); // no rounding: the product is exact
}

float single_precision(uint32_t word)
{
    return std::bit_cast<float>(word);
}

/// Severity and relation of all of a sensor's thresholds.
struct Condition {
    int32_t severity;
    int32_t relation;
};

Condition condition_of(const LaneSensor& sensor, const diag_info& lane)
{
    constexpr int32_t alarm = 20;
    constexpr int32_t warning = 10;
    constexpr int32_t none = 1;
    constexpr int32_t below = 1;
    constexpr int32_t above = 3;
    const uint32_t high = sensor.high_bit;
    const uint32_t low = high << 1;
    if (((lane.alarm_flags | lane.warn_flags) & high) != 0) {
        return {(lane.alarm_flags & high) != 0 ? alarm : warning, above};
    }
    if (((lane.alarm_flags | lane.warn_flags) & low) != 0) {
        return {(lane.alarm_flags & low) != 0 ? alarm : warning, below};
    }
    return {none, below};
}

float threshold_reading(const LaneSensor& sensor, uint32_t word, uint32_t calib_type)
{
    switch (calib_type) {
    case INTERNAL_CALIBRATION:
        return sensor.quantity == Quantity::temperature
                   ? static_cast<float>(static_cast<int32_t>(word))
                   : static_cast<float>(word);
    case EXTERNAL_CALIBRATION:
        return single_precision(word);
    default:
        return 0;
    }
}

float converted_threshold(const LaneSensor& sensor, float reading)
{
    switch (sensor.quantity) {
    case Quantity::power:
        return dbm_of(static_cast<double>(reading));
    case Quantity::voltage:
        return reading / 1000;
    default:
        return reading;
    }
}

enum { HIGH_ALARM, HIGH_WARNING, LOW_ALARM, LOW_WARNING };

/// A value for each threshold of each sensor.
using Thresholds = float[CACHE_SENSORS][SENSOR_THRESHOLDS];

/// The five that both traces show.
#define TRACED_THRESHOLDS(of)                                                                      \
    (of)[CACHE_TX_POWER][HIGH_ALARM], (of)[CACHE_TX_POWER][LOW_ALARM],                             \
        (of)[CACHE_RX_POWER][LOW_ALARM], (of)[CACHE_VOLTAGE][HIGH_ALARM],                          \
        (of)[CACHE_VOLTAGE][LOW_WARNING]

void convert_all_thresholds(const char* function, const diag_info& lane, sfp_cache_entry& entry)
{
    Thresholds readings;
    Thresholds converted;
    for (uint32_t s = 0; s < CACHE_SENSORS; ++s) {
        const LaneSensor& sensor = lane_sensors[s];
        const Condition condition = condition_of(sensor, lane);
        for (uint32_t t = 0; t < SENSOR_THRESHOLDS; ++t) {
            float& value = converted[s][t];
            readings[s][t] = threshold_reading(sensor, lane.*sensor.thresholds[t], lane.calib_type);
            value = converted_threshold(sensor, readings[s][t]);
            cached_threshold& threshold = entry.thresholds[s][t];
            threshold.severity = condition.severity;
            threshold.relation = condition.relation;
            threshold.value =
                sensor.quantity == Quantity::power ? thousandths(value) : truncated(value);
            threshold.evaluation = 0;
            threshold.notification_enable = 1;
        }
    }
    if (lane.calib_type == INTERNAL_CALIBRATION || lane.calib_type == EXTERNAL_CALIBRATION) {
        CHM_TRACE("%s: diag_info->temp_hi_alarm = %d, diag_info->current_hi_warn = %d, "
                  "diag_info->volt_lo_warn = %d, diag_info->tx_pwr_hi_warn = %d, "
                  "diag_info->rx_pwr_hi_alarm = %d\n",
                  function, lane.temp_hi_alarm, lane.current_hi_warn, lane.volt_lo_warn,
                  lane.tx_pwr_hi_warn, lane.rx_pwr_hi_alarm);
    }
    CHM_TRACE("%s: fTxPwrHiAlarm = %15.5f, fTxPwrLoAlarm = %15.5f, fRxPwrLoAlarm = %15.5f, "
              "fVoltHiAlarm = %15.5f, fVoltLoWarn = %15.5f\n",
              function, TRACED_THRESHOLDS(readings));
    CHM_TRACE("%s: fTxPwrHiAlarm = %5.5f, fTxPwrLoAlarm = %5.5f, fRxPwrLoAlarm = %5.5f, "
              "fVoltHiAlarm = %5.5f, fVoltLoWarn = %5.5f\n",
              function, TRACED_THRESHOLDS(converted));
}

/// A reading before its conversion.
/// @param internal calibrated internally
/// @param integers read as an integer even when calibrated externally
double reading_of(Quantity quantity, uint32_t word, bool internal, bool integers)
{
    if (!internal && !integers) {
        return static_cast<double>(single_precision(word));
    }
    if (quantity == Quantity::temperature || (quantity == Quantity::current && internal)) {
        return static_cast<int32_t>(word);
    }
    return internal || quantity == Quantity::power ? word
                                                   : static_cast<double>(static_cast<float>(word));
}

/// The quotient stays in double precision; a threshold's is rounded to single, the precision that
/// it is traced in.
int32_t converted(Quantity quantity, double reading)
{
    switch (quantity) {
    case Quantity::voltage:
        return truncated(reading / 1000);
    case Quantity::power:
        return thousandths(dbm_of(reading));
    default:
        return truncated(reading);
    }
}

int32_t converted_reading(const char* function, const LaneSensor& sensor, const diag_info& lane,
                          bool integers)
{
    const uint32_t word = lane.*sensor.reading;
    if (sensor.quantity == Quantity::power && word == 0) {
        return 0; // no light has no logarithm
    }
    if (lane.calib_type != INTERNAL_CALIBRATION && lane.calib_type != EXTERNAL_CALIBRATION) {
        CHM_TRACE("%s:%d invalid SFP calib type! calib_type:%d for %s\n", function, __LINE__,
                  lane.calib_type, sensor.name);
        return 0;
    }
    const bool internally = lane.calib_type == INTERNAL_CALIBRATION;
    return converted(sensor.quantity, reading_of(sensor.quantity, word, internally, integers));
}

} // namespace

int32_t ent_parse_sfp_diag_values(const diag_info* lane, sfp_cache_entry* entry)
{
    CHM_TRACE("%s: size of element = %d\n", __func__, static_cast<int>(sizeof *entry));
    const bool integers = reads_integers();
    convert_all_thresholds(__func__, *lane, *entry);
    for (uint32_t s = 0; s < CACHE_SENSORS; ++s) {
        cached_value& value = entry->values[s];
        value.type = lane_sensors[s].type;
        value.scale = SCALE_MILLI;
        value.precision = 0;
        value.value = converted_reading(__func__, lane_sensors[s], *lane, integers);
        value.status = STATUS_OK;
    }
    return 0;
}

int32_t ent_parse_sfp_diag_values_flex(const diag_info* lanes, sfp_cache_entry* entry,
                                       uint32_t num_of_lanes)
{
    for (uint32_t lane_no = 0; lane_no < num_of_lanes; ++lane_no) {
        const int32_t ret_val = ent_parse_sfp_diag_values(&lanes[lane_no], entry);
        if (ret_val != 0) {
            CHM_TRACE_AT(100, "%s: failed ret_val:%d(%s) LOOP lane_no:%u num_of_lanes:%u\n",
                         __func__, ret_val, rcode2str(static_cast<uint32_t>(ret_val)), lane_no,
                         num_of_lanes);
            return ret_val;
        }
        CHM_TRACE("%s: LOOP lane_no:%u num_of_lanes:%u\n", __func__, lane_no, num_of_lanes);
    }
    return 0;
}
