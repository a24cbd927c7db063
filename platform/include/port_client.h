/* The port client: reads the port manager's blocks. */
#ifndef PORT_CLIENT_H
#define PORT_CLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Reads the vendor texts from a 471-byte transceiver information block, each NUL-terminated.
 *
 * @param manufacturer  room for 255 bytes
 * @param model         part number, room for 255 bytes
 * @param revision      room for 24 bytes
 * @param serial        room for 33 bytes
 * @param alias         room for 33 bytes
 * @return 0, or non-zero with every text empty
 */
int32_t pc_sfp_get_vendor_info(const void* fcot_res, char* manufacturer, char* model,
                               char* revision, char* serial, char* alias);

#ifdef __cplusplus
}
#endif

#endif
