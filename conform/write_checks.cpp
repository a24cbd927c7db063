// Writes, each taken back: run only when the command line allows them.

#include "checks.h"
#include "exchange.h"
#include "platform_calls.h"
#include "record_fields.h"
#include "restore.h"

#include <algorithm>
#include <cstring>

namespace conform {
namespace {

/// What can be written without harm, and what to write into it.
struct Writable {
    RequestCode code;
    const char* field;
};

constexpr Writable writables[] = {
    {physical_table, "entPhysicalAlias"},
    {physical_table, "entPhysicalAssetID"},
    {sensor_threshold_table, "entSensorThresholdNotificationEnable"},
    {max_default_in_line_power, "value"},
    {enable_status_notification, "value"},
    {terminal_message, "text"},
};

const Field& field_named(const RequestCode& code, const char* name)
{
    const auto fields = fields_of_request(code);
    return *std::ranges::find_if(
        fields, [&](const Field& field) { return std::strcmp(field.name, name) == 0; });
}

/// Another value in the same field: a truth value is reversed, another number lowered or raised.
Bytes with_another_value(const Field& field, Bytes record)
{
    std::byte* place = record.data() + field.offset;
    if (field.kind == FieldKind::text) {
        constexpr char text[] = "conformance check";
        constexpr char other_text[] = "check of conformance";
        const bool same = std::memcmp(place, text, sizeof text) == 0;
        std::memset(place, 0, field.size);
        std::memcpy(place, same ? other_text : text, same ? sizeof other_text : sizeof text);
        return record;
    }
    const int32_t value = number_in(field, place - field.offset);
    const be_int32 other = value == field.least ? value + 1 : value - 1;
    std::memcpy(place, &other, sizeof other);
    return record;
}

class WriteCheck {
public:
    explicit WriteCheck(const Writable& writable)
        : code_(writable.code), field_(field_named(code_, writable.field)), exchange_(code_),
          name_(code_.name + std::string(".write-") + writable.field)
    {
    }

    void run()
    {
        Line line(name_, std::string("SET of another ") + field_.name + ", GET, SET as it was, GET",
                  "0 says that the field is written and all others are as before; 2 that it cannot "
                  "be written");
        const Bytes original = writable_record();
        if (original.empty()) {
            return line.close("nothing there", Verdict::absent);
        }
        write(line, original);
        line.close("written and restored");
    }

private:
    /// Whether a GET sends no record.
    bool is_scalar() const { return code_.indexes == 0 && code_.req_class == USUAL_REQ_CLASS; }

    Bytes read(const Bytes& record)
    {
        Reply reply = exchange_.ask(CHM_REQ_GET, is_scalar() ? Bytes{} : record);
        return reply.result == PLATFORM_OK && reply.bytes.size() == code_.record_size
                   ? std::move(reply.bytes)
                   : Bytes{};
    }

    /// The scalar, or the first row that may be written unchanged; empty for none.
    Bytes writable_record()
    {
        Bytes record(code_.record_size);
        if (code_.indexes == 0) {
            return read(record);
        }
        constexpr int most_tries = 1000;
        for (int i = 0; i < most_tries; ++i) {
            Reply reply = exchange_.ask(CHM_REQ_GETNEXT, record);
            if (reply.result != PLATFORM_OK || reply.bytes.size() != code_.record_size) {
                return {};
            }
            record = reply.bytes;
            if (exchange_.ask(CHM_REQ_SET, record).result != PLATFORM_NOT_WRITABLE) {
                return record;
            }
        }
        return {};
    }

    void write(Line& line, const Bytes& original)
    {
        const Bytes changed = with_another_value(field_, original);
        const RestoreLater restore(code_, original);
        if (const Reply set = exchange_.ask(CHM_REQ_SET, changed); set.result != PLATFORM_OK) {
            if (set.result != PLATFORM_NOT_WRITABLE) {
                line.violated(result_text(set.result) + " for the SET");
            }
            return;
        }
        const auto fields = fields_of_request(code_);
        const Bytes after = read(original);
        if (after.empty() || !same_record(fields, after, changed)) {
            const bool stored = !after.empty() && !same_record(fields, after, original);
            line.violated(stored ? "another record than was written" : "the value of before");
        }
        if (exchange_.ask(CHM_REQ_SET, original).result != PLATFORM_OK ||
            !same_record(fields, read(original), original)) {
            line.violated("the value of before is not taken back");
        }
    }

    RequestCode code_;
    const Field& field_;
    Exchange exchange_;
    std::string name_;
};

void check_unknown_row(const RequestCode& code)
{
    Exchange exchange(code);
    Line line(code.name + std::string(".write-unknown"), "SET of a row that there is not",
              "1 says that there is no such entry");
    const int32_t result =
        exchange
            .ask(CHM_REQ_SET, record_with_key(code, std::vector<uint32_t>(code.indexes, INT32_MAX)))
            .result;
    if (result != PLATFORM_NO_SUCH_ENTRY) {
        line.violated(result_text(result));
    }
    line.close("result 1");
}

void check_read_only(const RequestCode& code)
{
    Exchange exchange(code);
    Line line(code.name + std::string(".write"), "SET of its first row, unchanged",
              "nothing in it can be written, which 2 says");
    const Reply first = exchange.ask(CHM_REQ_GETNEXT, Bytes(code.record_size));
    if (first.result != PLATFORM_OK || first.bytes.size() != code.record_size) {
        return line.close("no rows", Verdict::absent);
    }
    const int32_t result = exchange.ask(CHM_REQ_SET, first.bytes).result;
    if (result == PLATFORM_OK) {
        line.violated("result 0");
    }
    line.close(result_text(result));
}

} // namespace

std::vector<Check> write_checks()
{
    std::vector<Check> checks;
    for (const Writable& writable : writables) {
        checks.push_back({std::string(writable.code.name) + ".write-" + writable.field,
                          [&] { WriteCheck(writable).run(); }});
    }
    for (const RequestCode& code : platform_requests) {
        if (code.indexes == 0) {
            continue;
        }
        checks.push_back(
            {std::string(code.name) + ".write-unknown", [=] { check_unknown_row(code); }});
        if (code.access == Access::read_only) {
            checks.push_back({std::string(code.name) + ".write", [=] { check_read_only(code); }});
        }
    }
    return checks;
}

} // namespace conform
