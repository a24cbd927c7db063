/// The fetches of the transceivers' sensors: which sensor a request comes to, and what it reads.
#pragma once

#include "port_manager.h"
#include "wire/records.h"

#include <cstdint>

/// Statuses of a fetch beside those of the port manager.
enum : uint32_t {
    FETCH_OK = 0,
    FETCH_NO_SENSOR = 1,   ///< the index asked for lies in a port's block but is no sensor
    FETCH_STUCK = 5,       ///< the walk does not move on, or diagnostics cannot be converted
    FETCH_NOT_FOUND = 129, ///< no such port, threshold, or index of a sensor
};

/// Fetches the sensor with an index, or the first one at or after it, and the information
/// block of its transceiver. The port is read when its entry in the cache is not current.
///
/// @param queue     the transport's response queue
/// @param op        1 for the sensor itself, else the first one from there on
/// @param next_arg  1
/// @param in        the index; may be the one of `out`
/// @param if_index  interface index of the index's port
/// @param code      sensor code of the index
/// @param count     number of ports: 1
/// @param fcot_res  receives the transceiver's information, as it is, if the port manager has some;
///                  PM_FCOT_INFO_SIZE bytes
/// @param out       receives the sensor found; without one, at most the index of one whose port was
///                  read
/// @return one of the statuses above, or the failing port-manager call's
uint32_t ent_cmi_get_fcot_info(uint32_t queue, int32_t op, uint32_t next_arg, const uint32_t* in,
                               const uint32_t* if_index, const int32_t* code, uint32_t* count,
                               uint8_t* fcot_res, ent_sensor_value_rec* out);

/// Fetches a threshold of the sensor with an index, or of the first one at or after it; when that
/// is another one, its first threshold. The arguments are those of ent_cmi_get_fcot_info, and:
///
/// @param thresh  number of the threshold, 1 to 4
/// @param info    not read; null
uint32_t ent_cmi_get_fcot_threshold(uint32_t queue, int32_t op, uint32_t next_arg,
                                    const uint32_t* in, const uint32_t* if_index,
                                    const int32_t* thresh, const int32_t* code, uint32_t* count,
                                    void* info, ent_sensor_thresh_rec* out);
