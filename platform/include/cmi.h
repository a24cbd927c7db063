/* The platform manager's request call: one synchronous exchange with the service `chm`. */
#ifndef CMI_H
#define CMI_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Sends one request and waits for the answer.
 *
 * @param opcode     the request; each opcode has one record
 * @param operation  1 GET, 2 GETNEXT, 3 SET
 * @param request    request payload of *length bytes, or null
 * @param response   receives a block allocated with malloc, which the caller frees whatever the
 *                   result is; unchanged when there is none. Null when none is expected (SET)
 * @param length     in: size of the request payload in bytes; out: size of the response, 0
 *                   without one
 * @param user       user of the SNMP request being served, or null
 * @param session    session of that request, or 0
 * @param route      39 for the SNMP library
 * @param queue      the response queue of the transport, ipcx_response_q
 * @param req_class  4 or 5, a property of the opcode
 * @return 0, or a platform result code: 1 no such entry, 2 the entry cannot be written. A
 *         response may come with a failure too.
 */
int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* user, uint32_t session, uint32_t route,
                     uint32_t queue, uint32_t req_class);

#ifdef __cplusplus
}
#endif

#endif
