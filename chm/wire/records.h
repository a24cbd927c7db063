/// The platform's records as templates take them.
#pragma once

#include "platform_records.h"

#include <cstddef>
#include <type_traits>

/// True for a record that can be sent from where it lies and filled where it lies.
template <typename Record>
inline constexpr bool is_record =
    std::is_standard_layout_v<Record>&& std::is_trivially_copyable_v<Record>;

/// How many fields are a row's index, in their order in a name. They come first in the record. None
/// are in a record that there is once.
template <typename Row>
inline constexpr size_t row_key = 1;
template <>
inline constexpr size_t row_key<be_int32> = 0;
template <>
inline constexpr size_t row_key<platform_time> = 0;
template <>
inline constexpr size_t row_key<rf_status_record> = 0;
template <>
inline constexpr size_t row_key<ts_info> = 0;
template <>
inline constexpr size_t row_key<led_entry> = 2;
template <>
inline constexpr size_t row_key<ent_sensor_thresh_rec> = 2;
