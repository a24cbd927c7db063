// What the platform manager's tables and scalars answer.

#include "checks.h"
#include "exchange.h"
#include "platform_calls.h"
#include "record_fields.h"
#include "wire/physical_index.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

namespace conform {
namespace {

using Key = std::vector<uint32_t>;

constexpr size_t most_rows = 100'000;
/// Rows that are requested once more by their index.
constexpr size_t most_samples = 256;

/// The rows that GETNEXT gives from the start to the end.
struct Scan {
    std::vector<Bytes> rows{};
    uint32_t change_over =
        0; ///< index in the transceivers' range that a failure carried, 0 for none
    Key before_change_over{};
};

class TableCheck {
public:
    explicit TableCheck(const RequestCode& code)
        : code_(code), exchange_(code), is_physical_(code == physical_table)
    {
    }

    void run()
    {
        scan();
        check_get();
        check_gaps();
        check_unknown();
        check_values();
        if (is_physical_) {
            check_places();
            check_change_over();
        } else if (code_ == sensor_value_table || code_ == sensor_threshold_table) {
            check_sensor_indexes();
        }
        exchange_.close();
    }

private:
    std::string named(const char* aspect) const { return code_.name + std::string(".") + aspect; }
    Key key(const Bytes& row) const { return key_of(code_, row); }
    Reply ask(int32_t operation, const Key& wanted)
    {
        return exchange_.ask(operation, record_with_key(code_, wanted));
    }

    void scan()
    {
        Line order(named("order"), "GETNEXT from the start to the end",
                   "rows come in increasing order of their index; a column ends at one that does "
                   "not");
        Line end(named("end"), "GETNEXT after the last row", "result 1 ends a table");
        Line size(named("size"), "the size of each row",
                  std::to_string(code_.record_size) + " bytes, or the rest is that of another row");
        Bytes record(code_.record_size);
        while (next_row(record, order, end, size)) {
        }
        const bool absent = scan_.rows.empty();
        order.close(absent ? "no rows" : std::to_string(scan_.rows.size()) + " rows",
                    absent ? Verdict::absent : Verdict::ok);
        end.close("result 1");
        size.close("as it must be");
    }

    /// Reads the row after a record into it. @return whether the scan goes on
    bool next_row(Bytes& record, Line& order, Line& end, Line& size)
    {
        const Key before = key(record);
        const Reply reply = exchange_.ask(CHM_REQ_GETNEXT, record);
        if (reply.result != PLATFORM_OK) {
            if (leads_over(reply)) {
                scan_.change_over = key(reply.bytes).front();
                scan_.before_change_over = before;
                record = record_with_key(code_, Key{PLATFORM_ROWS_RESUME});
                return true;
            }
            if (reply.result != PLATFORM_NO_SUCH_ENTRY) {
                end.violated(result_text(reply.result) + " after row " + key_text(before));
            }
            return false;
        }
        if (reply.bytes.size() != code_.record_size) {
            size.violated(std::to_string(reply.bytes.size()) + " bytes after row " +
                          key_text(before));
        }
        if (reply.bytes.size() < code_.record_size) {
            return false;
        }
        const Key found = key(reply.bytes);
        if (found <= before) {
            order.violated("row " + key_text(found) + " after row " + key_text(before));
            return false;
        }
        record.assign(reply.bytes.begin(),
                      reply.bytes.begin() + static_cast<ptrdiff_t>(code_.record_size));
        scan_.rows.push_back(record);
        if (scan_.rows.size() == most_rows) {
            order.violated("no end after " + std::to_string(most_rows) + " rows");
            return false;
        }
        return true;
    }

    /// Whether a failure directs the scan to the transceivers' sensors.
    bool leads_over(const Reply& reply) const
    {
        return is_physical_ && scan_.change_over == 0 && reply.bytes.size() >= sizeof(be_uint32) &&
               is_transceiver_sensor(key(reply.bytes).front());
    }

    /// Every so many rows, so that there are no more than most_samples.
    std::vector<Bytes> samples() const
    {
        std::vector<Bytes> chosen;
        const size_t step = scan_.rows.size() / most_samples + 1;
        for (size_t i = 0; i < scan_.rows.size(); i += step) {
            chosen.push_back(scan_.rows[i]);
        }
        return chosen;
    }

    void check_get()
    {
        Line get(named("get"), "GET of the rows that GETNEXT gave",
                 "GET gives the same row as GETNEXT");
        const auto rows = samples();
        for (const Bytes& row : rows) {
            const Reply reply = ask(CHM_REQ_GET, key(row));
            if (reply.result != PLATFORM_OK) {
                get.violated(result_text(reply.result) + " for row " + key_text(key(row)));
            } else if (reply.bytes.size() >= code_.record_size && key(reply.bytes) != key(row)) {
                get.violated("row " + key_text(key(reply.bytes)) + " for row " +
                             key_text(key(row)));
            } else if (reply.bytes.size() < code_.record_size) {
                get.violated(std::to_string(reply.bytes.size()) + " bytes for row " +
                             key_text(key(row)));
            } else if (!same_record(fields_of_request(code_), row, reply.bytes)) {
                get.violated("another content of row " + key_text(key(row)));
            }
        }
        get.close(std::to_string(rows.size()) + " rows",
                  rows.empty() ? Verdict::absent : Verdict::ok);
    }

    void check_gaps()
    {
        Line gaps(named("gaps"), "GETNEXT of indexes without a row",
                  "GETNEXT gives the first row after any index, whether or not it has a row; a "
                  "manager may ask for any");
        size_t asked = 0;
        for (size_t i = 0; i + 1 < scan_.rows.size() && asked < most_samples; ++i) {
            Key wanted = key(scan_.rows[i]);
            const Key expected = key(scan_.rows[i + 1]);
            ++wanted.back();
            if (wanted >= expected || (is_physical_ && wanted.front() <= PLATFORM_ROWS_RESUME &&
                                       expected.front() > PLATFORM_ROWS_RESUME)) {
                continue;
            }
            ++asked;
            const Reply reply = ask(CHM_REQ_GETNEXT, wanted);
            if (reply.result != PLATFORM_OK || reply.bytes.size() < code_.record_size) {
                gaps.violated(result_text(reply.result) + " after index " + key_text(wanted));
            } else if (key(reply.bytes) != expected) {
                gaps.violated("row " + key_text(key(reply.bytes)) + " after index " +
                              key_text(wanted) + ", not " + key_text(expected));
            }
        }
        gaps.close(std::to_string(asked) + " indexes", asked == 0 ? Verdict::absent : Verdict::ok);
    }

    void check_unknown()
    {
        Line unknown(named("unknown"), "GET of indexes without a row, GETNEXT after the highest",
                     "result 1 says that there is no such entry");
        std::set<Key> known;
        for (const Bytes& row : scan_.rows) {
            known.insert(key(row));
        }
        const Key highest(code_.indexes, INT32_MAX);
        Key gap(code_.indexes, 1);
        while (known.contains(gap)) {
            ++gap.back();
        }
        for (const Key& wanted : {gap, highest}) {
            expect_no_entry(unknown, CHM_REQ_GET, wanted);
        }
        expect_no_entry(unknown, CHM_REQ_GETNEXT, highest);
        unknown.close("result 1");
    }

    void expect_no_entry(Line& unknown, int32_t operation, const Key& wanted)
    {
        const Reply reply = ask(operation, wanted);
        if (reply.result != PLATFORM_NO_SUCH_ENTRY) {
            unknown.violated(result_text(reply.result) + " for index " + key_text(wanted));
        }
    }

    void check_values()
    {
        const Verdict absent = scan_.rows.empty() ? Verdict::absent : Verdict::ok;
        Line numbers(named("numbers"), "the numbers of all rows",
                     "each field has a byte order of its own; see platform_records.h");
        Line texts(named("texts"), "the texts of all rows", "a text ends with a NUL in its field");
        const auto fields = fields_of_request(code_);
        bool has_text = false;
        for (const Field& field : fields) {
            has_text = has_text || field.kind == FieldKind::text;
        }
        for (const Bytes& row : scan_.rows) {
            const std::string of_row = " in row " + key_text(key(row));
            check_numbers(fields, row.data(),
                          [&](const std::string& what) { numbers.violated(what + of_row); });
            check_texts(fields, row.data(),
                        [&](const std::string& what) { texts.violated(what + of_row); });
        }
        numbers.close("plausible", absent);
        if (has_text) {
            texts.close("terminated", absent);
        }
    }

    /// The containing entities, the vendor types, and the range that is not the platform's.
    void check_places()
    {
        Line containment(named("containment"), "the containing entity of each row",
                         "it is another row, or 0 for none");
        Line vendor_types(named("vendor-type"), "the vendor type of each row",
                          "an object identifier of big-endian words, at most 128");
        Line range(named("range"), "the indexes of all rows",
                   "25813 to 287957 are the transceivers' sensors; a row there is not reached");
        std::set<uint32_t> known = {0};
        for (const Bytes& row : scan_.rows) {
            known.insert(key(row).front());
        }
        for (const Bytes& row : scan_.rows) {
            ent_phys_entry entity;
            std::memcpy(&entity, row.data(), sizeof entity);
            const std::string of_row = " in row " + key_text(key(row));
            const auto container = static_cast<uint32_t>(entity.entPhysicalContainedIn.value());
            if (!known.contains(container) || container == entity.entPhysicalIndex) {
                containment.violated(std::to_string(container) + of_row);
            }
            const auto& words = entity.entPhysicalVendorType;
            if (entity.vendor_type_len > std::size(words)) {
                vendor_types.violated(std::to_string(entity.vendor_type_len) + " words" + of_row);
            } else if (entity.vendor_type_len > 0 && words[0] > 2) {
                vendor_types.violated("first word " + std::to_string(words[0]) + of_row);
            }
            if (is_transceiver_sensor(entity.entPhysicalIndex)) {
                range.violated("row " + key_text(key(row)));
            }
        }
        const Verdict absent = scan_.rows.empty() ? Verdict::absent : Verdict::ok;
        containment.close("rows, or 0", absent);
        vendor_types.close("within 128", absent);
        range.close("none of the transceivers'", absent);
    }

    void check_change_over()
    {
        Line line(
            named("change-over"), "GETNEXT after the last row below 25813",
            "it fails with a response in 25813 to 287957 if some transceiver has diagnostics, "
            "and only then; without it a walk ends there");
        const bool has_diagnostics = some_port_has_diagnostics();
        if (has_diagnostics && scan_.change_over == 0) {
            line.violated("no such response, but a port with diagnostics");
        } else if (!has_diagnostics && scan_.change_over != 0) {
            line.violated("a response with index " + std::to_string(scan_.change_over) +
                          ", but no port with diagnostics");
        }
        const bool none = scan_.change_over == 0;
        line.close(none ? "no port has diagnostics"
                        : "index " + std::to_string(scan_.change_over) + " after row " +
                              key_text(scan_.before_change_over),
                   none ? Verdict::absent : Verdict::ok);
    }

    static bool some_port_has_diagnostics()
    {
        uint32_t if_index = 0;
        uint32_t count = 1;
        void* block = nullptr;
        const int32_t result = platform().pm_get_next_port_fcot_info_with_ddm(
            response_queue(), CHM_REQ_GETNEXT, 1, &if_index, &count, &block, USUAL_REQ_CLASS);
        return result == PLATFORM_OK && block != nullptr;
    }

    void check_sensor_indexes()
    {
        Line range(named("range"), "the indexes of all rows",
                   "the platform's own sensors are 21589 to 25685");
        for (const Bytes& row : scan_.rows) {
            const uint32_t index = key(row).front();
            if (index < ENTITY_SENSOR_START || index > ENTITY_SENSOR_END) {
                range.violated("row " + key_text(key(row)));
            }
        }
        range.close("sensors", scan_.rows.empty() ? Verdict::absent : Verdict::ok);
    }

    RequestCode code_;
    Exchange exchange_;
    bool is_physical_;
    Scan scan_;
};

void check_scalar(const RequestCode& code)
{
    Exchange exchange(code);
    const auto named = [&](const char* aspect) { return code.name + std::string(".") + aspect; };
    Line get(named("get"), "GET, as the module sends it", "0 with the record, or 1 without one");
    Line numbers(named("numbers"), "its numbers",
                 "each field has a byte order of its own; see platform_records.h");
    Line texts(named("texts"), "its texts", "a text ends with a NUL in its field");
    const auto fields = fields_of_request(code);
    bool absent = false;
    const auto take = [&](const Reply& reply) {
        absent = absent || reply.result == PLATFORM_NO_SUCH_ENTRY;
        if (reply.result == PLATFORM_OK && reply.bytes.size() == code.record_size) {
            check_numbers(fields, reply.bytes.data(),
                          [&](const std::string& what) { numbers.violated(what); });
            check_texts(fields, reply.bytes.data(),
                        [&](const std::string& what) { texts.violated(what); });
        } else if (reply.result == PLATFORM_OK) {
            get.violated(std::to_string(reply.bytes.size()) + " bytes, not " +
                         std::to_string(code.record_size));
        } else if (reply.result != PLATFORM_NO_SUCH_ENTRY) {
            get.violated(result_text(reply.result));
        }
    };
    const bool with_record = code.req_class == HOST_ORDER_REQ_CLASS;
    take(exchange.ask(CHM_REQ_GET, with_record ? Bytes(code.record_size) : Bytes{}));
    if (code == redundancy_status) {
        // The handler of the switchover event sends no record, though a record's length.
        take(exchange.ask(CHM_REQ_GET, {}, static_cast<uint32_t>(code.record_size)));
    }
    const Verdict verdict = absent ? Verdict::absent : Verdict::ok;
    get.close(absent ? "result 1" : std::to_string(code.record_size) + " bytes", verdict);
    numbers.close("plausible", verdict);
    if (code == terminal_message) {
        texts.close("terminated", verdict);
    }
    exchange.close();
}

} // namespace

std::vector<Check> request_checks()
{
    std::vector<Check> checks;
    for (const RequestCode& code : platform_requests) {
        checks.push_back({code.name, [=] {
                              if (code.indexes == 0) {
                                  check_scalar(code);
                              } else {
                                  TableCheck(code).run();
                              }
                          }});
    }
    return checks;
}

} // namespace conform
