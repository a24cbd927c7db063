/// Terminal message: composing a text message to terminal lines, and having it sent.
#include "column_value.h"
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

FindVarMethod get_quarn_ts_mib;
WriteMethod set_tsMsgIntervaltim, set_tsMsgDuration, set_tsMsgText, set_tsMsgSend;

constexpr oid quarn_ts_mib_variables_oid[] = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9};

constexpr variable4 quarn_ts_mib_variables[] = {
    {tsMsgIntervaltim, ASN_INTEGER, RWRITE, get_quarn_ts_mib, 1, {5}},
    {tsMsgDuration, ASN_INTEGER, RWRITE, get_quarn_ts_mib, 1, {6}},
    {tsMsgText, ASN_OCTET_STR, RWRITE, get_quarn_ts_mib, 1, {7}},
    {tsMsgSend, ASN_INTEGER, RWRITE, get_quarn_ts_mib, 1, {9}},
};

constexpr MibModule quarn_ts_mib("quarn_ts_mib", quarn_ts_mib_variables,
                                 quarn_ts_mib_variables_oid);

WriteMethod* write_method_of(u_char magic)
{
    switch (magic) {
    case tsMsgIntervaltim:
        return set_tsMsgIntervaltim;
    case tsMsgDuration:
        return set_tsMsgDuration;
    case tsMsgText:
        return set_tsMsgText;
    case tsMsgSend:
        return set_tsMsgSend;
    default:
        return nullptr;
    }
}

u_char* get_quarn_ts_mib(variable* vp, oid* name, size_t* length, int exact, size_t* var_len,
                         WriteMethod** write_method)
{
    static ts_info message;

    if (header_generic(vp, name, length, exact, var_len, write_method) == MATCH_FAILED) {
        return nullptr;
    }
    *write_method = write_method_of(vp->magic);
    const Reply reply = exchange(Opcode::terminal_message, CHM_REQ_GET, message);
    if (!reply.succeeded() || !reply.answered) {
        puts("cmi_req_resp to IPCX_OPC_CHM_SNMP_TS_INFO returned FAILURE.");
    }
    if (!reply.succeeded()) {
        puts("header_tsInfo returned NULL.");
        return nullptr;
    }
    switch (vp->magic) {
    case tsMsgIntervaltim:
        return integer_value(message.interval, var_len);
    case tsMsgDuration:
        return integer_value(message.duration, var_len);
    case tsMsgText:
        return text_value(message.text, sizeof message.text, var_len);
    case tsMsgSend:
        return integer_value(message.send, var_len);
    default:
        return unknown_object();
    }
}

/// A field of the message that may be written.
struct WritableField {
    WriteRule rule;
    const char* get_failed;   ///< line on standard output when the message cannot be read
    const char* set_failed;   ///< and when it cannot be written
    int32_t ts_info::*number; ///< null for the text
};

constexpr bool is_time(int32_t value)
{
    return value != 0 && value <= 9999;
}

constexpr size_t longest_message = 256;

constexpr WritableField interval = {
    {ASN_INTEGER, "write to tsMsgIntervaltim not ASN_INTEGER\n", sizeof(long),
     "write to tsMsgIntervaltim: bad length\n", is_time,
     "Out of range value for tsMsgIntervaltim.\n"},
    "In set_tsMsgIntervaltim, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgIntervaltim, cmi_req_resp() for SET returned ERROR.",
    &ts_info::interval,
};
constexpr WritableField duration = {
    {ASN_INTEGER, "write to tsMsgDuration not ASN_INTEGER\n", sizeof(long),
     "write to tsMsgDuration: bad length\n", is_time, "Out of range value for tsMsgDuration.\n"},
    "In set_tsMsgDuration, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgDuration, cmi_req_resp() for SET returned ERROR.",
    &ts_info::duration,
};
constexpr WritableField text = {
    {ASN_OCTET_STR, "write to tsMsgText not ASN_OCTET_STR\n", longest_message,
     "write to _tsMsgText: bad length\n", nullptr, nullptr, 1},
    "In set_tsMsgText, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgText, cmi_req_resp() for SET returned ERROR.",
    nullptr,
};
constexpr WritableField send_trigger = {
    {ASN_INTEGER, "write to tsMsgSend not ASN_INTEGER\n", sizeof(long),
     "write to tsMsgSend: bad length\n", (within<2, 2>), "Out of range value for tsMsgSend.\n"},
    "In set_tsMsgSend, cmi_req_resp() for GET returned NULL.",
    "In set_tsMsgSend, cmi_req_resp() for SET returned ERROR.",
    &ts_info::send,
};

/// A number out of range and a text of a wrong length are told on standard output too.
int check_field(const WritableField& field, const WriteValue& value)
{
    const int status = check_write(field.rule, value);
    if (field.number && status == SNMP_ERR_WRONGVALUE) {
        fputs(field.rule.wrong_value, stdout);
    } else if (!field.number && status == SNMP_ERR_WRONGLENGTH) {
        fputs(field.rule.wrong_length, stdout);
    }
    return status;
}

int write_field(const WritableField& field, ts_info& message, const WriteValue& value)
{
    if (field.number) {
        message.*field.number = integer_of(value);
    } else {
        __memcpy_to_buf(sizeof message - offsetof(ts_info, text), message.text, value.data,
                        value.length);
        message.text[value.length] = '\0';
    }
    if (write_record(Opcode::terminal_message, message) != PLATFORM_OK) {
        puts(field.set_failed);
        return SNMP_ERR_GENERR;
    }
    return SNMP_ERR_NOERROR;
}

/// Reads the message in every phase, whatever the phase then does. A platform that does not tell it
/// fails the write; one that has none lets it pass, and nothing is written.
int set_field(const WritableField& field, int action, const WriteValue& value)
{
    ts_info message = {};
    const Reply reply = exchange(Opcode::terminal_message, CHM_REQ_GET, message);
    if (!reply.succeeded() || !reply.answered) {
        puts(field.get_failed);
        return reply.succeeded() ? SNMP_ERR_NOERROR : SNMP_ERR_GENERR;
    }
    switch (action) {
    case RESERVE1:
        return check_field(field, value);
    case ACTION: {
        // Checked again: without a record, the first phase has let any value pass.
        const int status = check_field(field, value);
        return status == SNMP_ERR_NOERROR ? write_field(field, message, value) : status;
    }
    default:
        return SNMP_ERR_NOERROR;
    }
}

int set_tsMsgIntervaltim(int action, u_char* var_val, u_char var_val_type, size_t var_val_len,
                         u_char*, oid*, size_t)
{
    print_enter(__func__);
    puts("In set_tsMsgIntervaltim, doing a GET first.");
    return set_field(interval, action, {var_val, var_val_type, var_val_len});
}

int set_tsMsgDuration(int action, u_char* var_val, u_char var_val_type, size_t var_val_len, u_char*,
                      oid*, size_t)
{
    return set_field(duration, action, {var_val, var_val_type, var_val_len});
}

int set_tsMsgText(int action, u_char* var_val, u_char var_val_type, size_t var_val_len, u_char*,
                  oid*, size_t)
{
    return set_field(text, action, {var_val, var_val_type, var_val_len});
}

int set_tsMsgSend(int action, u_char* var_val, u_char var_val_type, size_t var_val_len, u_char*,
                  oid*, size_t)
{
    return set_field(send_trigger, action, {var_val, var_val_type, var_val_len});
}

} // namespace

CHM_ENTRY_POINT void init_quarn_ts_mib()
{
    print_enter(__func__);
    register_variables(quarn_ts_mib, __func__, __FILE__, __LINE__);
    print_exit(__func__);
}

CHM_ENTRY_POINT void deinit_quarn_ts_mib()
{
    print_enter(__func__);
    unregister_variables(quarn_ts_mib);
    print_exit(__func__);
}
