/// Rows of the transceivers' sensors, which the platform manager does not have: the transceiver
/// half of the physical table and of both sensor tables.
///
/// Each finds the sensor's row for CHM_REQ_GET, the first row after it for CHM_REQ_GETNEXT. A row
/// that is not found stays as it is.
/// @return 0; no_row for an index below the transceivers'; PLATFORM_NO_SUCH_ENTRY for an empty
///         port; else an SNMP error status
#pragma once

#include "wire/requests.h"

#include <cstdint>

int32_t entPhysicalTable_trans_sensor(chm_req_operation op, ent_phys_entry* row);
int32_t entSensorValueTable_trans_sensor(chm_req_operation op, ent_sensor_value_rec* row);
int32_t entSensorThresholdTable_trans_sensor(chm_req_operation op, ent_sensor_thresh_rec* row);
