// The agent's extensions, the bounded copies, result texts, the event log and the supervisors.

#include "checks.h"
#include "platform_calls.h"
#include "report.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <thread>

namespace conform {
namespace {

using Bindings = std::unique_ptr<netsnmp_variable_list, decltype(&snmp_free_varbind)>;

void check_bindings()
{
    Line copies("build_varbind.copies", "a binding, then other bytes in its value and name",
                "a binding is a copy of both: the caller's are overwritten by the next event");
    Line links("build_varbind.links", "a second binding after the first",
               "it is linked after `prev`, or it is not sent");
    Line integers("build_varbind.integers", "bindings of 4-byte INTEGER, Gauge32 and TimeTicks",
                  "4 bytes are read, whatever the agent's long has");
    Line identifiers("build_varbind.identifiers", "a binding of an OBJECT IDENTIFIER",
                     "the value is an array of the agent's oid");
    oid name[] = {1, 3, 6, 1, 4, 1, 1, 7};
    const oid name_before[] = {1, 3, 6, 1, 4, 1, 1, 7};
    char text[] = "slot";
    const auto bind = [&](netsnmp_variable_list* prev, const void* value, u_char type,
                          size_t length) {
        return platform().build_varbind(prev, value, type, length, name, std::size(name));
    };

    Bindings first(bind(nullptr, text, ASN_OCTET_STR, 4), snmp_free_varbind);
    if (first == nullptr) {
        copies.violated("no binding");
        return copies.close("");
    }
    std::memset(text, 'x', 4);
    std::fill_n(name, std::size(name), 9);
    if (first->val_len != 4 || std::memcmp(first->val.string, "slot", 4) != 0) {
        copies.violated("the value has changed with the caller's");
    }
    if (snmp_oid_compare(first->name, first->name_length, name_before, std::size(name_before)) !=
        0) {
        copies.violated("the name has changed with the caller's");
    }
    copies.close("both copied");

    netsnmp_variable_list* second = bind(first.get(), text, ASN_OCTET_STR, 4);
    if (first->next_variable != second || second == nullptr || second->next_variable != nullptr) {
        links.violated("not linked");
    }
    links.close("linked");

    for (const u_char type : {u_char{ASN_INTEGER}, u_char{ASN_GAUGE}, u_char{ASN_TIMETICKS}}) {
        // What lies after the 4 bytes is not the value's.
        const int32_t value[] = {1043, -1};
        const Bindings binding(bind(nullptr, value, type, sizeof value[0]), snmp_free_varbind);
        if (binding == nullptr || binding->val.integer == nullptr ||
            *binding->val.integer != 1043) {
            integers.violated("another value for type " + std::to_string(type));
        }
    }
    integers.close("1043 in each");

    const Bindings identifier(bind(nullptr, name_before, ASN_OBJECT_ID, sizeof name_before),
                              snmp_free_varbind);
    if (identifier == nullptr || identifier->val_len != sizeof name_before ||
        std::memcmp(identifier->val.objid, name_before, sizeof name_before) != 0) {
        identifiers.violated("another value");
    }
    identifiers.close("the same");
}

void check_copies()
{
    Line bytes("bounded-copy.bytes", "__memcpy_to_buf of 8 bytes into 8, 4 and 0",
               "no more than the capacity is written, and the destination is returned");
    Line texts("bounded-copy.texts", "__strcpy_to_buf of 7 characters into 8, 4 and 0",
               "the text is cut to the capacity, its NUL included");
    for (const size_t capacity : {8U, 4U, 0U}) {
        char room[16];
        std::memset(room, '#', sizeof room);
        const void* given = platform().__memcpy_to_buf(capacity, room, "abcdefgh", 8);
        if (given != room || std::memcmp(room, "abcdefgh", capacity) != 0 ||
            std::count(std::begin(room), std::end(room), '#') !=
                static_cast<ptrdiff_t>(sizeof room - capacity)) {
            bytes.violated("otherwise with capacity " + std::to_string(capacity));
        }
        std::memset(room, '#', sizeof room);
        const char* text = platform().__strcpy_to_buf(capacity, room, "abcdefg");
        const size_t copied = capacity == 0 ? 0 : capacity - 1;
        if (text != room || std::memcmp(room, "abcdefg", copied) != 0 ||
            (capacity != 0 && room[copied] != '\0') || room[capacity] != '#') {
            texts.violated("otherwise with capacity " + std::to_string(capacity));
        }
    }
    bytes.close("cut where it must be");
    texts.close("cut where it must be");
}

void check_result_texts()
{
    Line line("result-texts", "rcode_format and rcode2str of 0 to 40, 1000 and 0xffffffff",
              "a text for every code, at most 199 characters, another one for 0, 1 and 2");
    std::vector<uint32_t> codes = {1000, UINT32_MAX};
    for (uint32_t code = 0; code <= 40; ++code) {
        codes.push_back(code);
    }
    std::set<std::string> of_fixed_meaning;
    for (const uint32_t code : codes) {
        for (const auto* call : {&platform().rcode_format, &platform().rcode2str}) {
            const char* text = (*call)(code);
            if (text == nullptr) {
                line.violated(std::string("no text of ") + call->name + " for " +
                              std::to_string(code));
            } else if (const size_t length = strnlen(text, 200); length == 0 || length == 200) {
                line.violated(std::to_string(length) + " characters of " + call->name + " for " +
                              std::to_string(code));
            } else if (code <= PLATFORM_NOT_WRITABLE) {
                of_fixed_meaning.insert(std::string(call->name) + text);
            }
        }
    }
    if (line.holds() && of_fixed_meaning.size() != 6) {
        line.violated("the same text for two of 0, 1 and 2");
    }
    line.close("a text for each");
}

void check_uptime()
{
    using namespace std::chrono;
    Line line("uptime", "get_snmp_user_uptime, twice in 200 milliseconds",
              "hundredths of a second; the readings of transceivers are kept for a minute of it");
    const auto start = steady_clock::now();
    const uint32_t before = platform().get_snmp_user_uptime();
    std::this_thread::sleep_for(milliseconds(200));
    const uint32_t passed = platform().get_snmp_user_uptime() - before;
    const auto hundredths = duration_cast<milliseconds>(steady_clock::now() - start).count() / 10;
    if (passed < 15 || passed > hundredths + 5) {
        line.violated(std::to_string(passed) + " in 200 milliseconds");
    }
    line.close(std::to_string(passed));
}

/// Calls whose results may be any: that they return is the check.
void check_rest()
{
    Line line("further-calls",
              "the user, the log of failed writes, heartbeat, event log, supervisors",
              "outside an SNMP request there is no session; each call returns");
    if (platform().get_snmp_username(nullptr) == nullptr &&
        platform().get_snmp_sessionid(nullptr) != 0) {
        line.violated("a session without a user");
    }
    snmp_error_record record = {};
    record.code = PLATFORM_NOT_WRITABLE;
    std::strcpy(record.text, "chm-conform: an example of a failed write");
    platform().log_snmp_error(&record);
    platform().snmp_heartbeat_send();
    struct {
        uint32_t subtype;
        char text[32];
    } const event = {101, "chm-conform: an example"};
    if (platform().evlog_hist_event_subtype_check(1, event.subtype) == 0) {
        platform().evlog_hist_event(1, sizeof event, &event);
    }
    platform().evlog_chk_int(101, 0, 0, 1);
    if (platform().evlog_dbg_modname == nullptr || platform().dbgout == nullptr) {
        throw MissingSymbol("dbgout or evlog_dbg_modname");
    }
    if (*platform().evlog_dbg_modname == nullptr) {
        line.violated("evlog_dbg_modname without a name");
    } else {
        platform().dbgout(1, platform().evlog_dbg_modname, 0, "%s: %d\n", "chm-conform", 1);
    }
    platform().hactl_swover_reason_get();
    platform().hactl_supstate_get();
    line.close("all returned");
}

} // namespace

std::vector<Check> agent_checks()
{
    return {{"build_varbind", check_bindings},
            {"bounded-copy", check_copies},
            {"result-texts", check_result_texts},
            {"uptime", check_uptime},
            {"further-calls", check_rest}};
}

} // namespace conform
