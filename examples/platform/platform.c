/* A platform to start from: a chassis with one slot and a module in it, which is reported as
 * inserted a second after the agent has registered for that. Nothing else is there. */
#include <platform.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The physical table: a chassis, its slot, and the module in the slot */

static struct ent_phys_entry rows[3];

static void fill(struct ent_phys_entry* row, uint32_t index, uint32_t container, uint32_t class,
                 const char* name)
{
    row->entPhysicalIndex = htonl(index);
    row->entPhysicalContainedIn = htonl(container);
    row->entPhysicalClass = htonl(class);
    row->entPhysicalParentRelPos = htonl(1);
    row->entPhysicalIsFRU = class == 9 ? 1 : 2; /* in host order */
    row->physical_status = htonl(2);
    strcpy(row->entPhysicalDescr, name);
    strcpy(row->entPhysicalName, name);
}

__attribute__((constructor)) static void fill_rows(void)
{
    fill(&rows[0], 1, 0, 3, "Chassis");
    fill(&rows[1], 101, 1, 5, "Slot 1");
    fill(&rows[2], 1001, 101, 9, "Module 1");
}

/** The row with an index or, for GETNEXT, the first one after it; null for none. */
static struct ent_phys_entry* find_row(int32_t operation, uint32_t index)
{
    for (struct ent_phys_entry* row = rows; row < rows + 3; row++)
        if (operation == CHM_REQ_GETNEXT ? ntohl(row->entPhysicalIndex) > index
                                         : ntohl(row->entPhysicalIndex) == index)
            return row;
    return NULL;
}

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* user, uint32_t session, uint32_t route,
                     uint32_t queue, uint32_t req_class)
{
    const struct ent_phys_entry* asked = request;
    const int is_known = opcode == CHM_OPC_PHYSICAL_ENTITY && *length >= sizeof *asked;
    struct ent_phys_entry* row =
        is_known ? find_row(operation, ntohl(asked->entPhysicalIndex)) : NULL;
    *length = 0;
    if (row == NULL)
        return PLATFORM_NO_SUCH_ENTRY;
    if (operation == CHM_REQ_SET) { /* the whole row; these two fields can be written */
        memcpy(row->entPhysicalAlias, asked->entPhysicalAlias, 32);
        memcpy(row->entPhysicalAssetID, asked->entPhysicalAssetID, 32);
        return PLATFORM_OK;
    }
    *response = malloc(sizeof *row); /* the caller frees it */
    if (*response == NULL)
        return -1;
    memcpy(*response, row, sizeof *row);
    *length = sizeof *row;
    return PLATFORM_OK;
}

/* Events: a message of this transport is its payload */

uint32_t ipcx_response_q = 1;

static ipcx_event_handler* handlers[CHM_EVENT_UNRECOGNIZED_FRU + 1];
static unsigned int alarm_id;

/** Called from the agent's loop, never while the agent serves a request. */
static void report_insertion(unsigned int alarm, void* unused)
{
    static const oid snmp_trap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
    oid name[MAX_OID_LEN];
    size_t length = 0;
    int send = 0;
    alarm_id = 0;
    netsnmp_variable_list* bindings =
        handlers[CHM_EVENT_FRU_INSERTED](&rows[2], name, &length, &send);
    if (send != 0) { /* the sender puts the notification's name first, the agent adds sysUpTime */
        netsnmp_variable_list* first = NULL;
        snmp_varlist_add_variable(&first, snmp_trap_oid, OID_LENGTH(snmp_trap_oid), ASN_OBJECT_ID,
                                  name, length * sizeof(oid));
        first->next_variable = bindings;
        send_v2trap(bindings = first);
    }
    snmp_free_varbind(bindings);
}

void* ipcx_payload_get(void* message) { return message; }

int register_for_notification(uint32_t opcode, ipcx_event_handler* handler)
{
    if (opcode == CHM_EVENT_FRU_INSERTED && handlers[opcode] == NULL)
        alarm_id = snmp_alarm_register(1, 0, report_insertion, NULL);
    handlers[opcode] = handler;
    return 0;
}

int unregister_for_notification(uint32_t opcode)
{
    if (handlers[opcode] == NULL)
        return -1;
    if (opcode == CHM_EVENT_FRU_INSERTED)
        snmp_alarm_unregister(alarm_id);
    handlers[opcode] = NULL;
    return 0;
}

/* The agent's extensions */

const char* get_snmp_username(void* null) { return NULL; }
uint32_t get_snmp_sessionid(void* null) { return 0; }
uint32_t get_snmp_user_uptime(void) { return (uint32_t)netsnmp_get_agent_uptime(); }
void snmp_heartbeat_send(void) {}
void send_connUnitStatusChange_notif(int32_t status) {}

void log_snmp_error(const void* record)
{
    const struct snmp_error_record* error = record;
    snmp_log(LOG_NOTICE, "write failed: %.*s\n", (int)sizeof error->text, error->text);
}

netsnmp_variable_list* build_varbind(netsnmp_variable_list* prev, const void* value, u_char type,
                                     size_t value_length, const oid* name, size_t name_length)
{
    netsnmp_variable_list* binding = NULL;
    snmp_varlist_add_variable(&binding, name, name_length, type, value, value_length);
    if (binding != NULL && prev != NULL)
        prev->next_variable = binding;
    return binding;
}

void* __memcpy_to_buf(size_t capacity, void* destination, const void* source, size_t n)
{
    return memcpy(destination, source, n < capacity ? n : capacity);
}

char* __strcpy_to_buf(size_t capacity, char* destination, const char* source)
{
    snprintf(destination, capacity, "%s", source);
    return destination;
}

const char* rcode2str(uint32_t code)
{
    static const char* const texts[] = {"success", "no such entry", "entry cannot be written"};
    return code < sizeof texts / sizeof *texts ? texts[code] : "failure";
}

const char* rcode_format(uint32_t code)
{
    static char text[64];
    snprintf(text, sizeof text, "%s (%u)", rcode2str(code), (unsigned)code);
    return text;
}

/* What this switch does not have */

const char* evlog_dbg_modname = "starter";
int evlog_hist_event_subtype_check(uint32_t type, uint32_t subtype) { return 1; }
int evlog_hist_event(uint32_t type, uint32_t length, const void* record) { return 1; }
int evlog_chk_int(int level, int zero, int zero2, int one) { return 0; }
void dbgout(int one, const void* modname, int zero, const char* format, ...) {}

int32_t hactl_swover_reason_get(void) { return 0; }
int32_t hactl_supstate_get(void) { return 0; }

int if_index_get_slot(uint32_t if_index, uint8_t* slot) { return -1; }
int if_index_get_port(uint32_t if_index, uint8_t* port) { return -1; }
int if_index_get_type(uint32_t if_index, uint8_t* type) { return -1; }
int if_index_phy_ethernet_init(uint32_t* index, uint8_t slot, uint8_t port, uint8_t z) { return 1; }
void sprintf_if_index(char* buffer, uint32_t if_index) { *buffer = '\0'; }

int pdb_get_chassis_type(uint32_t* chassis_type) { return -1; }
int pdb_get_mod_info(const uint32_t* slot, void* info, uint32_t two) { return -1; }
#define PORT_QUERY                                                                                 \
    uint32_t queue, int32_t operation, uint32_t arg, uint32_t *if_index, uint32_t *count,          \
        void **response, uint32_t req_class
int32_t pm_cmi_get_port_config(PORT_QUERY) { return 1; }
int32_t pm_get_next_port_fcot_info_with_ddm(PORT_QUERY) { return 1; }
int32_t pm_cmi_get_fcot_info(PORT_QUERY) { return 1; }
int32_t pm_get_sfp_diag_info(uint32_t queue, uint32_t if_index, void** diag, void** aux,
                             uint32_t* num_of_lanes)
{
    return 1;
}

int32_t pc_sfp_get_vendor_info(const void* fcot_res, char* manufacturer, char* model,
                               char* revision, char* serial, char* alias)
{
    return *manufacturer = *model = *revision = *serial = *alias = '\0', -1;
}
