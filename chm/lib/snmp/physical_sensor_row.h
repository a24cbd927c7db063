/// Rows of entPhysicalTable for the transceivers' sensors, which are no entities of the platform.
#pragma once

#include "opcodes.h"
#include "records.h"

#include <cstdint>

/// Makes the row of a transceiver's sensor: the one with the row's index for CHM_REQ_GET, the first
/// one after it for CHM_REQ_GETNEXT. The row stays as it is when there is none.
/// @return 0, -1 for an index below the sensors', or an SNMP error status
int32_t entPhysicalTable_trans_sensor(chm_req_operation op, ent_phys_entry* row);
