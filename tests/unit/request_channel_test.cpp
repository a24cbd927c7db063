/// The request channel: what each request carries, whose the response is, how results map.
#include "request_channel.h"
#include "scripted_platform.h"

#include <gmock/gmock.h>

#include <cstring>

using namespace testing;

namespace {

class RequestChannel : public Test {
protected:
    RequestChannel() { platform = {}; }
};

TEST_F(RequestChannel, PassesTheConstantsTheRequesterAndTheClassOfTheOpcode)
{
    const struct {
        Opcode opcode;
        uint32_t number, req_class;
    } opcodes[] = {
        {Opcode::terminal_message, 1016, 4},    {Opcode::physical_entity, 1026, 5},
        {Opcode::redundancy, 1042, 4},          {Opcode::led, 3242, 5},
        {Opcode::power_supply_status, 3270, 5},
    };
    for (const auto& [opcode, number, req_class] : opcodes) {
        send_request(opcode, CHM_REQ_GET, nullptr, 32, Requester::event_handler);
        uint8_t payload[12] = {};
        send_request(opcode, CHM_REQ_GETNEXT, payload, sizeof payload);
        ipcx_response_q = number;
        send_write(opcode, payload, sizeof payload);
        ipcx_response_q = 77;

        ASSERT_EQ(platform.calls.size(), 3u);
        const PlatformCall& event = platform.calls[0];
        EXPECT_EQ(event.opcode, number);
        EXPECT_EQ(event.operation, 1);
        EXPECT_EQ(event.payload, std::nullopt);
        EXPECT_EQ(event.length, 32u);
        EXPECT_EQ(event.user, std::nullopt);
        EXPECT_EQ(event.session, 0u);
        EXPECT_EQ(event.req_class, req_class);

        const PlatformCall& read = platform.calls[1];
        EXPECT_EQ(read.operation, 2);
        EXPECT_TRUE(read.wants_response && read.response_was_null);
        EXPECT_EQ(read.length, 12u);
        EXPECT_EQ(read.user, "operator");
        EXPECT_EQ(read.session, 4711u);
        EXPECT_EQ(read.route, 39u);
        EXPECT_EQ(read.queue, 77u);

        const PlatformCall& write = platform.calls[2];
        EXPECT_EQ(write.operation, 3);
        EXPECT_FALSE(write.wants_response);
        EXPECT_EQ(write.user, "operator");
        EXPECT_EQ(write.queue, number) << "the queue is read anew for each request";
        platform.calls.clear();
    }
}

TEST_F(RequestChannel, TakesNoMoreOfAResponseThanTheRecordHolds)
{
    const struct {
        Bytes response;
        uint32_t seconds, microseconds;
    } cases[] = {
        {{0, 0, 0, 1, 0, 0, 0, 2}, 1, 2},
        {{0, 0, 0, 1, 0, 0, 0, 2, 9, 9, 9, 9, 9}, 1, 2},
        {{0, 0, 0, 1, 0, 0}, 1, 0x0000'0708},
        {{}, 0x0102'0304, 0x0506'0708},
    };
    for (const auto& [response, seconds, microseconds] : cases) {
        for (const int32_t result : {0, 9}) {
            const PlatformAnswer answer = {result, response};
            platform.answer = [answer](const PlatformCall&) { return PlatformAnswer(answer); };
            platform_time time = {0x0102'0304, 0x0506'0708};
            const Reply reply = exchange(Opcode::last_change_time, CHM_REQ_GET, time,
                                         Requester::snmp_request, TakeResponse::always);
            EXPECT_EQ(reply.result, result);
            EXPECT_EQ(platform.calls.back().payload, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
            EXPECT_EQ(time.seconds, seconds);
            EXPECT_EQ(time.microseconds, microseconds);
        }
    }
}

TEST_F(RequestChannel, MapsResultsToErrorStatuses)
{
    const struct {
        int32_t result, status;
    } cases[] = {{0, 0}, {1, 2}, {2, 17}, {3, 5}, {-1, 5}, {129, 5}};
    for (const auto& [result, status] : cases) {
        EXPECT_EQ(chm_log_snmp_error(result), status);
        EXPECT_EQ(snmp_error_status(result, NotWritable::reported), status);
        EXPECT_EQ(snmp_error_status(result, NotWritable::general_error), status == 17 ? 5 : status);
    }
    EXPECT_EQ(platform.formatted_codes, 0) << "nobody reads the text while the trace is off";

    platform.history_on = platform.debug_on = true;
    chm_log_snmp_error(3);
    EXPECT_EQ(platform.formatted_codes, 2);
    EXPECT_THAT(platform.debug_output,
                ElementsAre(StartsWith("chm_log_snmp_error: logging snmp error - code 3 ")));
}

TEST_F(RequestChannel, RecordsARefusedWrite)
{
    platform.answer = [](const PlatformCall&) { return PlatformAnswer{0x01020304, {}}; };
    uint32_t value = 5;
    EXPECT_EQ(write_record(Opcode::led, value), 0x01020304);
    EXPECT_EQ(value, 5u) << "what is sent comes back into host order";

    ASSERT_EQ(platform.failed_writes.size(), 1u);
    const Bytes& record = platform.failed_writes[0];
    EXPECT_EQ(Bytes(record.begin(), record.begin() + 260), Bytes(260));
    uint32_t code = 0;
    memcpy(&code, &record[260], sizeof code);
    EXPECT_EQ(code, 0x01020304u);
    EXPECT_THAT(reinterpret_cast<const char*>(&record[264]), StartsWith("code 16909060 0"));
    EXPECT_EQ(record[462], '0') << "a longer text is cut to fit";
    EXPECT_EQ(record[463], 0);
}

} // namespace
