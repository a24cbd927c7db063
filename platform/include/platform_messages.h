/*
 * The messages between the MIB modules and the platform manager: requests, for cmi_req_resp, and
 * events. Their numbers, and what each one means.
 */
#ifndef PLATFORM_MESSAGES_H
#define PLATFORM_MESSAGES_H

#include "platform_types.h"

/** What a request does with its record. */
enum chm_req_operation CHM_OF_TYPE(int32_t){
    CHM_REQ_GET = 1,     /**< read the row whose index is in the record, or the scalar */
    CHM_REQ_GETNEXT = 2, /**< read the first row after that index */
    CHM_REQ_SET = 3,     /**< write the whole record */
};

/** Result codes with a fixed meaning; every other non-zero code is a failure too. */
enum platform_result CHM_OF_TYPE(int32_t){
    PLATFORM_OK = 0,
    PLATFORM_NO_SUCH_ENTRY = 1,
    PLATFORM_NOT_WRITABLE = 2,
};

/** The request class, and the route, which is the same in all requests of the MIB modules. */
enum CHM_OF_TYPE(uint32_t) {
    HOST_ORDER_REQ_CLASS = 4, /**< of the two requests whose records are in host order */
    USUAL_REQ_CLASS = 5,      /**< of all others, and of those to the port manager */
    CHM_REQ_ROUTE = 39,
};

/**
 * The opcodes, and the record of each. A table's record begins with the row's index, of one word
 * unless noted. A scalar is read without a payload; those of class 4 are sent whole with a GET too,
 * but by the handler of the switchover, which sends no payload and yet its length.
 */
enum chm_req_opcode CHM_OF_TYPE(uint32_t){
    CHM_OPC_TERMINAL_MESSAGE = 1016,           /**< ts_info, once; class 4 */
    CHM_OPC_PHYSICAL_ENTITY = 1026,            /**< table of ent_phys_entry */
    CHM_OPC_POWER_SUPPLY_GROUP = 1027,         /**< table of power_supply_group_record */
    CHM_OPC_FRU_POWER_STATUS = 1028,           /**< table of power_status_record */
    CHM_OPC_MODULE = 1029,                     /**< table of module_record */
    CHM_OPC_MAX_DEFAULT_IN_LINE_POWER = 1030,  /**< scalar be_int32, 0 to 12500 */
    CHM_OPC_SENSOR_VALUE = 1031,               /**< table of ent_sensor_value_rec */
    CHM_OPC_SENSOR_THRESHOLD = 1032,           /**< table of ent_sensor_thresh_rec, two words */
    CHM_OPC_LAST_CHANGE_TIME = 1039,           /**< scalar platform_time */
    CHM_OPC_ENABLE_STATUS_NOTIFICATION = 1040, /**< scalar be_int32: 1 on, 2 off */
    CHM_OPC_REDUNDANCY = 1042,                 /**< rf_status_record, once; class 4 */
    CHM_OPC_FAN_TRAY_STATUS = 1046,            /**< table of unit_status_record */
    CHM_OPC_LED = 3242,                        /**< table of led_entry, two words */
    CHM_OPC_POWER_SUPPLY_STATUS = 3270,        /**< table of unit_status_record */
};

/** The events that the platform manager reports, and the record of each. */
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
