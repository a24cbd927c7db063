/* The high-availability manager of the two supervisors. */
#ifndef HACTL_H
#define HACTL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** @return the code of the reason of the last switchover */
int32_t hactl_swover_reason_get(void);

/** @return the state code of the supervisors; 2 allows operations on the running configuration */
int32_t hactl_supstate_get(void);

#ifdef __cplusplus
}
#endif

#endif
