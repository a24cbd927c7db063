/* The port manager: ports, their transceivers and the transceivers' diagnostics. */
#ifndef PORT_MANAGER_H
#define PORT_MANAGER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Common to the three block queries: every block is allocated with malloc and freed by the caller,
 * whatever the result; it has no length, and the caller trusts it to be as long as given below;
 * `count` is a number of ports and holds 1; the queue is the transport's ipcx_response_q; req_class
 * is 5. Blocks hold integers in host byte order. The result is 0 or a platform result code.
 */

/** Offsets of the fields in the blocks, and sizes of the blocks, in bytes. */
enum {
    PM_PORT_CONFIG_ERROR = 4,         /* 32-bit error status */
    PM_PORT_CONFIG_TRANSCEIVER = 211, /* byte; non-zero: the port's sensors can be read */
    PM_PORT_CONFIG_SIZE = 212,        /* at least */
    PM_FCOT_DIAG_MON_TYPE = 101,      /* byte, the diagnostic monitoring type; 0: no diagnostics */
    PM_FCOT_INFO_SIZE = 471,          /* at least */
    PM_DIAG_INFO_SIZE = 172,          /* of a lane's raw diagnostics */
    PM_DIAG_AUX_SIZE = 16,            /* of a lane's auxiliary record */
};

/** The configuration record of a port, operation 1, arg 1. */
int32_t pm_cmi_get_port_config(uint32_t queue, int32_t operation, uint32_t arg, uint32_t* if_index,
                               uint32_t* count, void** response, uint32_t req_class);

/**
 * The next port after *if_index, in increasing order of slot and port, that has a transceiver
 * with digital diagnostics, operation 2, arg 1. The first 32-bit word of the block is its
 * interface index. Fails when there is none.
 */
int32_t pm_get_next_port_fcot_info_with_ddm(uint32_t queue, int32_t operation, uint32_t arg,
                                            uint32_t* if_index, uint32_t* count, void** response,
                                            uint32_t req_class);

/** The transceiver information block of a port, operation 1, arg 1. */
int32_t pm_cmi_get_fcot_info(uint32_t queue, int32_t operation, uint32_t arg, uint32_t* if_index,
                             uint32_t* count, void** response, uint32_t req_class);

/**
 * Reads the raw diagnostics of a port's transceiver, which takes milliseconds.
 * @param diag          receives *num_of_lanes records of PM_DIAG_INFO_SIZE, malloc'd, the caller's
 * @param aux           receives *num_of_lanes records of PM_DIAG_AUX_SIZE, malloc'd, the caller's
 * @param num_of_lanes  receives the number of lanes
 * @return 0, or a platform result code; arrays may have been set even then
 */
int32_t pm_get_sfp_diag_info(uint32_t queue, uint32_t if_index, void** diag, void** aux,
                             uint32_t* num_of_lanes);

#ifdef __cplusplus
}
#endif

#endif
