/* Deliberate mistakes in a platform: the one that the environment's MISTAKE names is made, on the
 * way between chm-conform and the platform that is loaded after this library. */
#include <platform.h>

#include <arpa/inet.h>
#include <dlfcn.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int made(const char* mistake)
{
    const char* name = getenv("MISTAKE");
    return name != NULL && strcmp(name, mistake) == 0;
}

/* The function of the platform itself, the library that the environment names. */
#define NEXT(function)                                                                             \
    ((__typeof__(&function))(uintptr_t)dlsym(dlopen(getenv("PLATFORM"), RTLD_LAZY), #function))

static void* copy_of(const void* bytes, size_t size, size_t room)
{
    void* copy = calloc(1, room);
    return memcpy(copy, bytes, size < room ? size : room);
}

/* Events */

static ipcx_event_handler* insertion_handler;
static ipcx_event_handler* first_handler;

static void* call_handler(void* wait)
{
    oid name[MAX_OID_LEN];
    size_t length = 0;
    int send = 0;
    static struct ent_phys_entry entity;
    if (wait != NULL)
        usleep(200000);
    insertion_handler(&entity, name, &length, &send);
    return NULL;
}

int register_for_notification(uint32_t opcode, ipcx_event_handler* handler)
{
    if (opcode == CHM_EVENT_FRU_INSERTED) {
        static int started;
        insertion_handler = handler;
        first_handler = first_handler == NULL ? handler : first_handler;
        pthread_t thread = 0;
        if (made("event-on-a-thread") && handler != first_handler && !started++)
            pthread_create(&thread, NULL, call_handler, &started);
        if (made("first-handler-stays"))
            handler = first_handler;
        if (made("registration-refused"))
            return -1;
    }
    return NEXT(register_for_notification)(opcode, handler);
}

int unregister_for_notification(uint32_t opcode)
{
    const int result = NEXT(unregister_for_notification)(opcode);
    return made("nothing-to-unregister-is-success") ? 0 : result;
}

void* ipcx_payload_get(void* message)
{
    struct ent_phys_entry* payload = NEXT(ipcx_payload_get)(message);
    if (made("short-payload"))
        return copy_of(payload, 100, 100);
    if (made("payload-in-host-order")) {
        payload = copy_of(payload, sizeof *payload, sizeof *payload);
        payload->entPhysicalIndex = ntohl(payload->entPhysicalIndex);
    }
    return made("no-payload") ? NULL : payload;
}

/* Requests */

/** What a mistake makes of a good row. */
static void spoil(struct ent_phys_entry* row)
{
    if (made("index-in-host-order"))
        row->entPhysicalIndex = ntohl(row->entPhysicalIndex);
    if (made("class-in-host-order"))
        row->entPhysicalClass = ntohl(row->entPhysicalClass);
    if (made("fru-big-endian"))
        row->entPhysicalIsFRU = (int32_t)htonl((uint32_t)row->entPhysicalIsFRU);
    if (made("fru-0-and-1"))
        row->entPhysicalIsFRU -= 1;
    if (made("text-without-nul"))
        memset(row->entPhysicalSerialNum, 'x', sizeof row->entPhysicalSerialNum);
    if (made("long-vendor-type"))
        row->vendor_type_len = htonl(129);
    if (made("vendor-type-in-host-order")) {
        row->vendor_type_len = htonl(2);
        row->entPhysicalVendorType[0] = 1;
    }
    if (made("no-such-container"))
        row->entPhysicalContainedIn = htonl(77);
    if (made("row-among-transceivers") && row->entPhysicalIndex == htonl(1001))
        row->entPhysicalIndex = htonl(25900);
}

/** What a mistake makes of a response with a good row. */
static void spoil_response(void** response, uint32_t* length)
{
    static struct ent_phys_entry rows[1];
    static void* kept;
    static void* before;
    struct ent_phys_entry* row = *response;
    spoil(row);
    if (made("short-record"))
        *length = 2700;
    if (made("long-record"))
        *response = copy_of(row, 2780, *length = 2800);
    if (made("block-shorter-than-length"))
        *response = copy_of(row, 2000, 2000);
    if (made("static-block"))
        *response = memcpy(rows, row, sizeof *row);
    if (made("same-block-again"))
        *response = kept = kept == NULL ? row : memcpy(kept, row, sizeof *row);
    if (made("platform-frees-too")) {
        free(before);
        before = row;
    }
    if (made("success-without-a-block"))
        *response = NULL;
    if (made("length-not-set"))
        *length = 0;
}

int32_t cmi_req_resp(uint32_t opcode, int32_t operation, void* request, void** response,
                     uint32_t* length, const char* user, uint32_t session, uint32_t route,
                     uint32_t queue, uint32_t req_class)
{
    const uint32_t sent = *length;
    struct ent_phys_entry asked = {0};
    if (opcode == CHM_OPC_PHYSICAL_ENTITY)
        memcpy(&asked, request, sizeof asked);
    const uint32_t index = ntohl(asked.entPhysicalIndex);
    const int is_next = operation == CHM_REQ_GETNEXT;
    const int is_set = operation == CHM_REQ_SET;
#define FORWARD(op, record)                                                                        \
    NEXT(cmi_req_resp)(opcode, op, record, response, length, user, session, route, queue, req_class)
    if (opcode != CHM_OPC_PHYSICAL_ENTITY)
        return FORWARD(operation, request);

    if (index == 101 && is_next && made("crash"))
        *(volatile int*)response = *(volatile int*)16;
    if (index == 101 && is_next && made("abort"))
        abort();
    if (index == 101 && is_next && made("exit"))
        _exit(0);
    while (index == 101 && is_next && made("hang"))
        pause();
    if (made("slow"))
        usleep(25000);
    if (made("payload-changed"))
        memset(request, 0, 4);
    if (made("event-within-a-request") && insertion_handler != NULL)
        call_handler(NULL);
    if (made("get-is-getnext") && operation == CHM_REQ_GET)
        return FORWARD(CHM_REQ_GETNEXT, &asked);
    if (made("getnext-is-get") && is_next)
        return FORWARD(CHM_REQ_GET, &asked);
    if (made("next-only-after-rows") && is_next && index == 2)
        return *length = 0, PLATFORM_NO_SUCH_ENTRY;
    if (is_next && (made("unsorted") || made("starts-over") || made("never-ends"))) {
        const uint32_t order = index == 1 ? 101 : index == 1001 ? 1 : 1001;
        const uint32_t again = made("starts-over") ? 0 : 101;
        const uint32_t other = made("unsorted") ? order : index == 1001 ? again : index;
        asked.entPhysicalIndex = htonl(index == 0 ? 0 : other);
        return FORWARD(operation, &asked);
    }
    if (is_next && index == PLATFORM_ROWS_RESUME && made("starts-over-after-transceivers")) {
        asked.entPhysicalIndex = 0;
        return FORWARD(operation, &asked);
    }
    if (is_set && made("set-lost"))
        return PLATFORM_OK;
    if (is_set && made("set-of-another-field"))
        memcpy(asked.entPhysicalAssetID, asked.entPhysicalAlias, 32);
    if (is_set && made("set-with-a-response"))
        *response = NULL;
    const int is_change = is_set && strstr(asked.entPhysicalAlias, "check") != NULL;
    if (is_change && made("set-refused"))
        return 5;
    static int changed;
    changed = changed || is_change;
    if (changed && !is_set && made("crash-after-a-set"))
        abort();

    int32_t result = FORWARD(operation, is_set ? &asked : request);
    if (result == PLATFORM_OK && !is_set)
        spoil_response(response, length);
    if (result != PLATFORM_NO_SUCH_ENTRY)
        return result;
    if (made("end-is-a-failure") && is_next)
        return 5;
    if (made("unknown-is-not-writable") && operation == CHM_REQ_GET)
        return PLATFORM_NOT_WRITABLE;
    if (made("unknown-is-empty") && operation == CHM_REQ_GET)
        return *response = copy_of(&asked, sizeof asked, *length = sizeof asked), PLATFORM_OK;
    if (made("no-change-over") && is_next)
        *response = NULL, *length = 0;
    if (made("length-kept-on-failure"))
        *length = sent;
    if (made("change-over-without-ports") && is_next && index == 1001) {
        asked.entPhysicalIndex = htonl(25814);
        *response = copy_of(&asked, sizeof asked, *length = sizeof asked);
    }
    return is_set && made("set-of-any-row") ? PLATFORM_OK : result;
}

/* The agent's extensions */

netsnmp_variable_list* build_varbind(netsnmp_variable_list* prev, const void* value, u_char type,
                                     size_t value_length, const oid* name, size_t name_length)
{
    static int32_t byte;
    byte = *(const u_char*)value;
    if (made("one-byte-integers") && value_length == 4 && type != ASN_OCTET_STR)
        value = &byte;
    netsnmp_variable_list* binding = NEXT(build_varbind)(
        made("binding-not-linked") ? NULL : prev, value, type, value_length, name, name_length);
    if (made("value-not-copied") && type == ASN_OCTET_STR)
        binding->val.string = (u_char*)value;
    if (made("name-not-copied"))
        binding->name = (oid*)name;
    return binding;
}

void* __memcpy_to_buf(size_t capacity, void* destination, const void* source, size_t n)
{
    return memcpy(destination, source, made("copy-beyond-capacity") || n < capacity ? n : capacity);
}

char* __strcpy_to_buf(size_t capacity, char* destination, const char* source)
{
    return made("copy-without-nul") ? strncpy(destination, source, capacity)
                                    : NEXT(__strcpy_to_buf)(capacity, destination, source);
}

const char* rcode_format(uint32_t code)
{
    return made("no-text-of-a-result") && code > 2 ? NULL : NEXT(rcode_format)(code);
}

uint32_t get_snmp_user_uptime(void)
{
    return NEXT(get_snmp_user_uptime)() * (made("uptime-in-milliseconds") ? 10 : 1);
}

/* Ports, which the simulated switch has */

int if_index_get_slot(uint32_t if_index, uint8_t* slot)
{
    const int result = NEXT(if_index_get_slot)(if_index, slot);
    *slot = (uint8_t)(*slot + made("slots-decoded-from-1"));
    return result;
}

void sprintf_if_index(char* buffer, uint32_t if_index)
{
    uint8_t slot = 0;
    NEXT(sprintf_if_index)(buffer, if_index);
    NEXT(if_index_get_slot)(if_index, &slot);
    if (made("long-name") && slot > 0) /* the switch has one slot, and must start */
        memset(buffer, 'x', 40);
}

int pdb_get_mod_info(const uint32_t* slot, void* info, uint32_t two)
{
    const int result = NEXT(pdb_get_mod_info)(slot, info, two);
    if (made("module-information-too-long"))
        memset(info, 0, 300);
    return result;
}

int32_t pm_get_next_port_fcot_info_with_ddm(uint32_t queue, int32_t operation, uint32_t arg,
                                            uint32_t* if_index, uint32_t* count, void** response,
                                            uint32_t req_class)
{
    if (made("first-port-again"))
        *if_index = 0;
    return NEXT(pm_get_next_port_fcot_info_with_ddm)(queue, operation, arg, if_index, count,
                                                     response, req_class);
}

int32_t pm_cmi_get_port_config(uint32_t queue, int32_t operation, uint32_t arg, uint32_t* if_index,
                               uint32_t* count, void** response, uint32_t req_class)
{
    static char block[PM_PORT_CONFIG_SIZE];
    const int32_t result =
        NEXT(pm_cmi_get_port_config)(queue, operation, arg, if_index, count, response, req_class);
    if (result == PLATFORM_OK && made("short-configuration"))
        *response = copy_of(*response, 200, 200);
    if (result == PLATFORM_OK && made("static-configuration"))
        *response = memcpy(block, *response, sizeof block);
    if (result == PLATFORM_OK && made("configuration-without-transceiver"))
        ((char*)*response)[PM_PORT_CONFIG_TRANSCEIVER] = 0;
    return result;
}

int32_t pm_get_sfp_diag_info(uint32_t queue, uint32_t if_index, void** diag, void** aux,
                             uint32_t* num_of_lanes)
{
    const int32_t result = NEXT(pm_get_sfp_diag_info)(queue, if_index, diag, aux, num_of_lanes);
    struct diag_info* lane = *diag;
    if (made("no-lanes"))
        *num_of_lanes = 0;
    if (made("more-lanes-than-read"))
        *num_of_lanes += 1;
    if (made("volts-in-millivolts"))
        lane->volt /= 1000;
    if (made("temperature-in-degrees"))
        lane->temp /= 1000, lane->temp_hi_alarm *= 1000;
    if (made("current-in-microamperes"))
        lane->current *= 1000;
    if (made("thresholds-reversed"))
        lane->volt_hi_warn = lane->volt_lo_alarm;
    if (made("calibration-0"))
        lane->calib_type = 0;
    return result;
}

int32_t pc_sfp_get_vendor_info(const void* fcot_res, char* manufacturer, char* model,
                               char* revision, char* serial, char* alias)
{
    const int32_t result =
        NEXT(pc_sfp_get_vendor_info)(fcot_res, manufacturer, model, revision, serial, alias);
    if (made("vendor-text-too-long"))
        memset(revision, 'x', 32);
    return result;
}
