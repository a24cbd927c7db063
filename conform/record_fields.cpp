#include "record_fields.h"

#include "platform.h"
#include "wire/events.h"
#include "wire/requests.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <vector>

namespace conform {
namespace {

template <typename Member>
constexpr Field describe(const char* name, size_t offset)
{
    constexpr bool is_text = std::is_array_v<Member>;
    constexpr bool is_in_host_order = is_text || std::is_integral_v<Member>;
    return {name, offset, sizeof(Member), is_text ? FieldKind::text : FieldKind::number,
            !is_in_host_order};
}

#define FIELD(record, member) describe<decltype(record::member)>(#member, offsetof(record, member))

/// Statuses are the platform's own, small numbers.
constexpr int64_t most_status = 255;

constexpr Field entity_fields[] = {
    FIELD(ent_phys_entry, entPhysicalIndex).index(),
    FIELD(ent_phys_entry, entPhysicalDescr),
    FIELD(ent_phys_entry, vendor_type_len).within(0, 128),
    FIELD(ent_phys_entry, entPhysicalContainedIn).within(0, INT32_MAX),
    FIELD(ent_phys_entry, entPhysicalClass).within(1, 16),
    FIELD(ent_phys_entry, entPhysicalParentRelPos).within(-1, INT32_MAX),
    FIELD(ent_phys_entry, entPhysicalName),
    FIELD(ent_phys_entry, entPhysicalHardwareRev),
    FIELD(ent_phys_entry, entPhysicalFirmwareRev),
    FIELD(ent_phys_entry, entPhysicalSoftwareRev),
    FIELD(ent_phys_entry, entPhysicalSerialNum),
    FIELD(ent_phys_entry, entPhysicalMfgName),
    FIELD(ent_phys_entry, entPhysicalModelName),
    FIELD(ent_phys_entry, entPhysicalAlias),
    FIELD(ent_phys_entry, entPhysicalAssetID),
    FIELD(ent_phys_entry, entPhysicalIsFRU).truth(),
    FIELD(ent_phys_entry, physical_status).within(0, most_status).varies(),
    FIELD(ent_phys_entry, second_serial_num),
    FIELD(ent_phys_entry, part_revision),
    FIELD(ent_phys_entry, clei_code),
    FIELD(ent_phys_entry, container_name),
};

constexpr Field module_fields[] = {
    FIELD(module_record, index).index(),
    FIELD(module_record, admin_status).within(1, 4),
    FIELD(module_record, oper_status).within(0, most_status).varies(),
    FIELD(module_record, column_3).varies(),
    FIELD(module_record, status_changed.microseconds).within(0, 999'999).varies(),
    FIELD(module_record, column_5.microseconds).within(0, 999'999).varies(),
    FIELD(module_record, text),
    FIELD(module_record, column_8).varies(),
};

constexpr Field power_supply_group_fields[] = {
    FIELD(power_supply_group_record, index).index(),
    FIELD(power_supply_group_record, redundancy_mode).within(1, 3),
    FIELD(power_supply_group_record, text),
    FIELD(power_supply_group_record, column_3).varies(),
    FIELD(power_supply_group_record, column_4).varies(),
};

constexpr Field power_status_fields[] = {
    FIELD(power_status_record, index).index(),
    FIELD(power_status_record, admin_status).within(1, 4),
    FIELD(power_status_record, oper_status).within(0, most_status).varies(),
    FIELD(power_status_record, column_3).varies(),
};

constexpr Field unit_status_fields[] = {
    FIELD(unit_status_record, index).index(),
    FIELD(unit_status_record, status).within(0, most_status).varies(),
};

constexpr Field power_supply_output_fields[] = {
    FIELD(power_supply_output_record, index).index(),
    FIELD(power_supply_output_record, name),
    FIELD(power_supply_output_record, model_name),
    FIELD(power_supply_output_record, output),
};

constexpr Field led_fields[] = {
    FIELD(led_entry, entity).index(),
    FIELD(led_entry, led).index(),
    FIELD(led_entry, value).within(0, most_status).varies(),
};

constexpr Field redundancy_fields[] = {
    FIELD(rf_status_record, status_6).varies(), FIELD(rf_status_record, status_1).varies(),
    FIELD(rf_status_record, status_3).varies(), FIELD(rf_status_record, status_2).varies(),
    FIELD(rf_status_record, status_4).varies(), FIELD(rf_status_record, admin_action).within(0, 3),
    FIELD(rf_status_record, status_7).varies(),
};

constexpr Field terminal_message_fields[] = {
    FIELD(ts_info, interval),
    FIELD(ts_info, duration),
    FIELD(ts_info, text),
    FIELD(ts_info, send).within(0, 2),
};

constexpr Field sensor_fields[] = {
    FIELD(ent_sensor_value_rec, entPhysicalIndex).index(),
    FIELD(ent_sensor_value_rec, entSensorType).within(1, 14),
    FIELD(ent_sensor_value_rec, entSensorScale).within(1, 17),
    FIELD(ent_sensor_value_rec, entSensorPrecision).within(-8, 9),
    FIELD(ent_sensor_value_rec, entSensorValue).varies(),
    FIELD(ent_sensor_value_rec, entSensorStatus).within(1, 3).varies(),
    FIELD(ent_sensor_value_rec, value_time.microseconds).within(0, 999'999).varies(),
    FIELD(ent_sensor_value_rec, entSensorValueUpdateRate).within(0, INT32_MAX),
};

constexpr Field threshold_fields[] = {
    FIELD(ent_sensor_thresh_rec, entPhysicalIndex).index(),
    FIELD(ent_sensor_thresh_rec, sensor_thrsh).index(),
    FIELD(ent_sensor_thresh_rec, entSensorThresholdSeverity).within(1, 30),
    FIELD(ent_sensor_thresh_rec, entSensorThresholdRelation).within(1, 6),
    FIELD(ent_sensor_thresh_rec, entSensorThresholdValue),
    FIELD(ent_sensor_thresh_rec, entSensorThresholdEvaluation).within(0, 2).varies(),
    FIELD(ent_sensor_thresh_rec, entSensorThresholdNotificationEnable).truth(),
};

constexpr Field crossing_fields[] = {
    FIELD(sensor_threshold_crossing, entPhysicalIndex).index(),
    FIELD(sensor_threshold_crossing, entSensorValue),
    FIELD(sensor_threshold_crossing, entSensorThresholdValue),
    FIELD(sensor_threshold_crossing, sensor_thrsh).index(),
};

constexpr Field in_line_power_fields[] = {describe<be_int32>("value", 0).within(0, 12500)};
constexpr Field notification_fields[] = {describe<be_int32>("value", 0).truth()};
constexpr Field time_fields[] = {FIELD(platform_time, microseconds).within(0, 999'999).varies(),
                                 FIELD(platform_time, seconds).within(0, UINT32_MAX).varies()};

#undef FIELD

struct FieldsOf {
    uint32_t number;
    std::span<const Field> fields;
};

constexpr FieldsOf requests[] = {
    {CHM_OPC_TERMINAL_MESSAGE, terminal_message_fields},
    {CHM_OPC_PHYSICAL_ENTITY, entity_fields},
    {CHM_OPC_POWER_SUPPLY_GROUP, power_supply_group_fields},
    {CHM_OPC_FRU_POWER_STATUS, power_status_fields},
    {CHM_OPC_MODULE, module_fields},
    {CHM_OPC_MAX_DEFAULT_IN_LINE_POWER, in_line_power_fields},
    {CHM_OPC_SENSOR_VALUE, sensor_fields},
    {CHM_OPC_SENSOR_THRESHOLD, threshold_fields},
    {CHM_OPC_LAST_CHANGE_TIME, time_fields},
    {CHM_OPC_ENABLE_STATUS_NOTIFICATION, notification_fields},
    {CHM_OPC_REDUNDANCY, redundancy_fields},
    {CHM_OPC_FAN_TRAY_STATUS, unit_status_fields},
    {CHM_OPC_LED, led_fields},
    {CHM_OPC_POWER_SUPPLY_STATUS, unit_status_fields},
};

constexpr FieldsOf events[] = {
    {CHM_EVENT_MODULE_STATUS_CHANGE, module_fields},
    {CHM_EVENT_POWER_STATUS_CHANGE, power_status_fields},
    {CHM_EVENT_FRU_INSERTED, entity_fields},
    {CHM_EVENT_FRU_REMOVED, entity_fields},
    {CHM_EVENT_SENSOR_THRESHOLD_CROSSED, crossing_fields},
    {CHM_EVENT_FAN_TRAY_STATUS_CHANGE, unit_status_fields},
    {CHM_EVENT_POWER_SUPPLY_OUTPUT_CHANGE, power_supply_output_fields},
    {CHM_EVENT_UNRECOGNIZED_FRU, entity_fields},
};

constexpr std::span<const Field> find(std::span<const FieldsOf> all, uint32_t number)
{
    const auto found = std::ranges::find(all, number, &FieldsOf::number);
    return found == all.end() ? std::span<const Field>() : found->fields;
}

// A record without fields would always be plausible, and the same as any other.
static_assert(std::ranges::all_of(platform_requests, [](const RequestCode& request) {
    return !find(requests, request).empty();
}));
static_assert(std::ranges::all_of(platform_events, [](const EventCode& event) {
    return event.record_size == 0 || !find(events, event).empty();
}));

int64_t turned(int32_t value)
{
    return static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(value)));
}

/// Numbers of a switch are small: few have their highest byte in use, and hardly any only that one.
bool looks_turned(const Field& field, int64_t value, int64_t with_bytes_turned)
{
    constexpr int64_t large = 1 << 24;
    constexpr int64_t small = 1 << 16;
    return std::abs(value) >= large && std::abs(with_bytes_turned) < small &&
           with_bytes_turned >= field.least && with_bytes_turned <= field.most;
}

} // namespace

std::span<const Field> fields_of_request(uint32_t opcode)
{
    return find(requests, opcode);
}

std::span<const Field> fields_of_event(uint32_t event)
{
    return find(events, event);
}

int32_t number_in(const Field& field, const std::byte* record)
{
    if (field.big_endian) {
        be_int32 value;
        std::memcpy(&value, record + field.offset, sizeof value);
        return value;
    }
    int32_t value = 0;
    std::memcpy(&value, record + field.offset, sizeof value);
    return value;
}

void check_numbers(std::span<const Field> fields, const std::byte* record,
                   const std::function<void(const std::string&)>& implausible)
{
    for (const Field& field : fields) {
        if (field.kind != FieldKind::number) {
            continue;
        }
        const int64_t value = field.most == UINT32_MAX
                                  ? static_cast<uint32_t>(number_in(field, record))
                                  : int64_t{number_in(field, record)};
        const bool in_range = value >= field.least && value <= field.most;
        const int64_t other = turned(static_cast<int32_t>(value));
        const std::string text = std::string(field.name) + " " + std::to_string(value);
        if (looks_turned(field, value, other) ||
            (!in_range && other >= field.least && other <= field.most)) {
            implausible(text + ", which is " + std::to_string(other) +
                        " with its bytes turned; the field is " +
                        (field.big_endian ? "big-endian" : "in host order"));
        } else if (!in_range) {
            implausible(text + ", not " + std::to_string(field.least) + " to " +
                        std::to_string(field.most));
        }
    }
}

void check_texts(std::span<const Field> fields, const std::byte* record,
                 const std::function<void(const std::string&)>& unterminated)
{
    for (const Field& field : fields) {
        if (field.kind == FieldKind::text &&
            std::memchr(record + field.offset, '\0', field.size) == nullptr) {
            unterminated(std::string(field.name) + " fills its " + std::to_string(field.size) +
                         " bytes without a NUL");
        }
    }
}

bool same_record(std::span<const Field> fields, std::span<const std::byte> one,
                 std::span<const std::byte> other)
{
    return std::ranges::all_of(fields, [&](const Field& field) {
        const std::byte* left = one.data() + field.offset;
        const std::byte* right = other.data() + field.offset;
        if (field.varies_) {
            return true;
        }
        return field.kind == FieldKind::number
                   ? std::memcmp(left, right, field.size) == 0
                   : std::strncmp(reinterpret_cast<const char*>(left),
                                  reinterpret_cast<const char*>(right), field.size) == 0;
    });
}

} // namespace conform
