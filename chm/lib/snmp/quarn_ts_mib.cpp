/// Terminal message: composes and sends a text message to terminal lines.
#include "column.h"
#include "module_frame.h"
#include "request_channel.h"
#include "write_method.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace {

enum quarn_ts_mib_object : u_char {
    tsMsgIntervaltim = 36,
    tsMsgDuration = 37,
    tsMsgText = 38,
    tsMsgSend = 40,
};

/// A field of the message that may be written.
template <typename Field>
struct WritableField {
    WriteRule rule;
    const char* get_failed; ///< line on standard output when the message cannot be read
    const char* set_failed; ///< and when it cannot be written
    Field ts_info::*field;
};
template <typename Field>
WritableField(WriteRule, const char*, const char*, Field ts_info::*) -> WritableField<Field>;

/// A number out of range and a text of a wrong length are reported on standard output too.
int check_field(const WriteRule& rule, const WriteValue& value)
{
    const int status = check_write(rule, value);
    if (status == SNMP_ERR_WRONGVALUE) {
        fputs(rule.wrong_value, stdout);
    } else if (status == SNMP_ERR_WRONGLENGTH && rule.type == ASN_OCTET_STR) {
        fputs(rule.wrong_length, stdout);
    }
    return status;
}

/// Bytes after the terminator go back as they were read, like the rest of the record.
template <size_t Width>
void assign(ts_info& message, char (&field)[Width], const WriteValue& value)
{
    __memcpy_to_buf(sizeof message - offsetof(ts_info, text), field, value.data, value.length);
    field[value.length] = '\0';
}

/// Write method of a field. Reads the message in every phase, whatever the phase then does. A
/// platform that fails to report it fails the write; one that has none lets it pass, and nothing is
/// written.
template <const auto& writable>
int set_field(int action, u_char* var_val, u_char var_val_type, size_t var_val_len, u_char*, oid*,
              size_t)
{
    const WriteValue value = {var_val, var_val_type, var_val_len};
    ts_info message = {};
    const Reply reply = exchange(terminal_message, CHM_REQ_GET, message);
    if (!reply.succeeded() || !reply.answered) {
        puts(writable.get_failed);
        return reply.succeeded() ? SNMP_ERR_NOERROR : SNMP_ERR_GENERR;
    }
    if (action != RESERVE1 && action != ACTION) {
        return SNMP_ERR_NOERROR;
    }
    // Checked in both phases: without a record, the first one has let any value pass.
    const int status = check_field(writable.rule, value);
    if (status != SNMP_ERR_NOERROR || action == RESERVE1) {
        return status;
    }
    assign(message, message.*writable.field, value);
    if (write_record(terminal_message, message) != PLATFORM_OK) {
        puts(writable.set_failed);
        return SNMP_ERR_GENERR;
    }
    return SNMP_ERR_NOERROR;
}

constexpr bool is_time(int32_t value)
{
    return value != 0 && value <= 9999;
}

constexpr WritableField interval = {
    integer_rule(is_time, "write to tsMsgIntervaltim not ASN_INTEGER\n",
                 "write to tsMsgIntervaltim: bad length\n",
                 "Out of range value for tsMsgIntervaltim.\n"),
    "In set_tsMsgIntervaltim, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgIntervaltim, cmi_req_resp() for SET returned ERROR.",
    &ts_info::interval,
};
int set_tsMsgIntervaltim(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                         u_char* old_value, oid* name, size_t name_length)
{
    print_enter();
    puts("In set_tsMsgIntervaltim, doing a GET first.");
    return set_field<interval>(action, var_val, var_val_type, var_val_len, old_value, name,
                               name_length);
}

constexpr WritableField duration = {
    integer_rule(is_time, "write to tsMsgDuration not ASN_INTEGER\n",
                 "write to tsMsgDuration: bad length\n", "Out of range value for tsMsgDuration.\n"),
    "In set_tsMsgDuration, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgDuration, cmi_req_resp() for SET returned ERROR.",
    &ts_info::duration,
};
constexpr WriteMethod& set_tsMsgDuration = set_field<duration>;

constexpr WritableField text = {
    text_rule(1, 256, "write to tsMsgText not ASN_OCTET_STR\n",
              "write to _tsMsgText: bad length\n"),
    "In set_tsMsgText, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgText, cmi_req_resp() for SET returned ERROR.",
    &ts_info::text,
};
constexpr WriteMethod& set_tsMsgText = set_field<text>;

constexpr WritableField send_trigger = {
    integer_rule(within<2, 2>, "write to tsMsgSend not ASN_INTEGER\n",
                 "write to tsMsgSend: bad length\n", "Out of range value for tsMsgSend.\n"),
    "In set_tsMsgSend, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgSend, cmi_req_resp() for SET returned ERROR.",
    &ts_info::send,
};
constexpr WriteMethod& set_tsMsgSend = set_field<send_trigger>;

constexpr Column<ts_info> message_objects[] = {
    {tsMsgIntervaltim, field<&ts_info::interval>, set_tsMsgIntervaltim},
    {tsMsgDuration, field<&ts_info::duration>, set_tsMsgDuration},
    {tsMsgText, whole_text<&ts_info::text>, set_tsMsgText},
    {tsMsgSend, field<&ts_info::send>, set_tsMsgSend},
};

u_char* get_quarn_ts_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                         WriteMethod** write_method)
{
    static ts_info message;

    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        return nullptr;
    }
    const auto* object = column_of(message_objects, vp);
    offer_write(object, write_method);
    const Reply reply = exchange(terminal_message, CHM_REQ_GET, message);
    if (!reply.succeeded() || !reply.answered) {
        puts("cmi_req_resp to IPCX_OPC_CHM_SNMP_TS_INFO returned FAILURE.");
    }
    if (!reply.succeeded()) {
        puts("header_tsInfo returned NULL.");
        return nullptr;
    }
    return serve_column(object, message, var_len);
}

constexpr oid quarn_ts_mib_variables_oid[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9};

constexpr variable4 quarn_ts_mib_variables[] = {
    {tsMsgIntervaltim, ASN_INTEGER, RWRITE, get_quarn_ts_mib, 1, {5}},
    {tsMsgDuration, ASN_INTEGER, RWRITE, get_quarn_ts_mib, 1, {6}},
    {tsMsgText, ASN_OCTET_STR, RWRITE, get_quarn_ts_mib, 1, {7}},
    {tsMsgSend, ASN_INTEGER, RWRITE, get_quarn_ts_mib, 1, {9}},
};

constexpr MibModule quarn_ts_mib("quarn_ts_mib", quarn_ts_mib_variables,
                                 quarn_ts_mib_variables_oid);

} // namespace

CHM_ENTRY_POINT void init_quarn_ts_mib()
{
    init_module(quarn_ts_mib);
}

CHM_ENTRY_POINT void deinit_quarn_ts_mib()
{
    deinit_module(quarn_ts_mib);
}
