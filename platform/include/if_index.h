/* The interface-index codec: slot, port and type in one 32-bit ifIndex. */
#ifndef IF_INDEX_H
#define IF_INDEX_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Room, NUL included, that any text of sprintf_if_index fits into. */
enum { IF_INDEX_TEXT_SIZE = 32 };

/** Writes the slot of an interface index. @return 0, or non-zero with nothing written */
int if_index_get_slot(uint32_t if_index, uint8_t* slot);

/** Writes the port of an interface index. @return 0, or non-zero with nothing written */
int if_index_get_port(uint32_t if_index, uint8_t* port);

/**
 * Writes the type of an interface index; the types that carry transceivers are 1, 2 and 26.
 * @return 0, or non-zero with nothing written
 */
int if_index_get_type(uint32_t if_index, uint8_t* type);

/**
 * Writes the interface index of the physical Ethernet port at slot and port, numbered as
 * if_index_get_slot and if_index_get_port number them.
 * @param zero always 0
 * @return 0, or non-zero with nothing written
 */
int if_index_phy_ethernet_init(uint32_t* if_index, uint8_t slot, uint8_t port, uint8_t zero);

/** Writes the interface's name, NUL-terminated. @param buffer IF_INDEX_TEXT_SIZE bytes */
void sprintf_if_index(char* buffer, uint32_t if_index);

#ifdef __cplusplus
}
#endif

#endif
