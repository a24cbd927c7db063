/* The events that the platform manager reports to the MIB modules, and the record of each. */
#ifndef PLATFORM_EVENTS_H
#define PLATFORM_EVENTS_H

#include "platform_types.h"

enum chm_event CHM_OF_TYPE(uint32_t){
    CHM_EVENT_INVENTORY_CHANGE = 1033,           /**< no record */
    CHM_EVENT_MODULE_STATUS_CHANGE = 1034,       /**< module_record */
    CHM_EVENT_POWER_STATUS_CHANGE = 1035,        /**< power_status_record */
    CHM_EVENT_FRU_INSERTED = 1036,               /**< ent_phys_entry */
    CHM_EVENT_FRU_REMOVED = 1037,                /**< ent_phys_entry, as it was */
    CHM_EVENT_SENSOR_THRESHOLD_CROSSED = 1038,   /**< sensor_threshold_crossing */
    CHM_EVENT_SUPERVISOR_SWITCHOVER = 1043,      /**< no record */
    CHM_EVENT_FAN_TRAY_STATUS_CHANGE = 1047,     /**< unit_status_record */
    CHM_EVENT_POWER_SUPPLY_OUTPUT_CHANGE = 1121, /**< power_supply_output_record */
    CHM_EVENT_UNRECOGNIZED_FRU = 3224,           /**< ent_phys_entry */
};

#endif
