/* Extensions of the switch's SNMP agent beyond Net-SNMP. */
#ifndef AGENT_EXT_H
#define AGENT_EXT_H

#include <stddef.h>
#include <stdint.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @param null  always null
 * @return the user of the SNMP request being served (the community of a v1 or v2c request), the
 *         agent's and good until the request ends; null outside a request, and always in a
 *         sub-agent, whose master checks access and does not pass the user on
 */
const char* get_snmp_username(void* null);

/** @param null always null @return the session of the request being served, 0 without a user */
uint32_t get_snmp_sessionid(void* null);

/** @return the agent's uptime in hundredths of a second */
uint32_t get_snmp_user_uptime(void);

/** Records a failed write. @param record the 464-byte log record of a failed write; copied */
void log_snmp_error(const void* record);

/**
 * Makes one variable binding from copies of a value and an OID.
 *
 * @param prev          the binding to link the new one after, or null for the first
 * @param value         the value; an INTEGER, Gauge32 or TimeTicks value is 4 bytes, an OBJECT
 *                      IDENTIFIER value an array of oid
 * @param type          ASN.1 type of the value
 * @param value_length  size of the value in bytes
 * @param name          OID of the binding
 * @param name_length   number of sub-identifiers in it
 * @return the new binding, which the list's owner frees; null when there is no memory
 */
netsnmp_variable_list* build_varbind(netsnmp_variable_list* prev, const void* value, u_char type,
                                     size_t value_length, const oid* name, size_t name_length);

/** Sends the connUnitStatusChange notification. @param status 3 ok, 4 warning */
void send_connUnitStatusChange_notif(int32_t status);

/** Sends a heartbeat to the supervision of the agent; called before each longer piece of work. */
void snmp_heartbeat_send(void);

#ifdef __cplusplus
}
#endif

#endif
