/* The switch's message transport: the response queue, and platform events. */
#ifndef IPCX_H
#define IPCX_H

#include <stddef.h>
#include <stdint.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#ifdef __cplusplus
extern "C" {
#endif

/** The queue of the responses; to be read for each request, as the transport may change it. */
extern uint32_t ipcx_response_q;

/**
 * @return the payload of a received message, which stays the transport's, or null when the
 *         message carries none
 */
void* ipcx_payload_get(void* message);

/**
 * Turns one platform event into one SNMP notification.
 *
 * @param message          the event as received; the transport's
 * @param trap_oid         room for MAX_OID_LEN sub-identifiers; receives the notification's OID
 * @param trap_oid_length  receives the number of sub-identifiers written
 * @param send             receives 1 when the notification is to be sent, else 0
 * @return the variable bindings, the caller's from then on, or null for none
 */
typedef netsnmp_variable_list* ipcx_event_handler(void* message, oid* trap_oid,
                                                  size_t* trap_oid_length, int* send);

/**
 * Registers the handler for events of an opcode, in place of the previous one.
 * @return 0, or non-zero when the transport refuses
 */
int register_for_notification(uint32_t opcode, ipcx_event_handler* handler);

/** Unregisters the handler of an opcode. @return 0, or non-zero when there was none */
int unregister_for_notification(uint32_t opcode);

#ifdef __cplusplus
}
#endif

#endif
