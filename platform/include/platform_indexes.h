/*
 * The ranges of entPhysicalIndex that the tables distinguish, and the codes of the transceivers'
 * sensors. The sensor with a code of the port at a slot, all as the interface-index codec numbers
 * them, has the index 25814 + (slot * 256 + port) * 16 + code - 1.
 */
#ifndef PLATFORM_INDEXES_H
#define PLATFORM_INDEXES_H

#include "platform_types.h"

enum CHM_OF_TYPE(uint32_t) {
    ENTITY_SENSOR_START = 21589, /**< the platform's own sensors */
    ENTITY_SENSOR_END = 25685,
    ENTITY_PORT_SFP_SENSOR_START = 25813, /**< the transceivers' sensors, no rows of the platform */
    ENTITY_PORT_SFP_SENSOR_END = 287957,
    PLATFORM_ROWS_RESUME = ENTITY_PORT_SFP_SENSOR_END +
                           1, /**< the platform's rows go on after it */
};

/** The codes that stand for a sensor. */
enum port_sfp_sens_type CHM_OF_TYPE(int32_t){
    SFP_VOLTAGE = 3,   SFP_CURRENT = 5,   SFP_TEMPERATURE = 8,
    SFP_RX_POWER = 14, SFP_TX_POWER = 15, LAST_SENSOR_CODE = SFP_TX_POWER,
};

#endif
