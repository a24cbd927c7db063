/// What is the scalar modules' own: redundancy, its supplement, the terminal message; and the
/// request channel beneath all modules.
#include "request_channel.h"
#include "scripted_agent.h"
#include "wire/events.h"
#include "wire/requests.h"

using namespace testing;

namespace {

/// A record whose words are base, base + 1 and so on, in host order.
Bytes record_from(uint32_t base)
{
    Bytes record(32);
    for (uint32_t i = 0; i < 8; ++i) {
        put_host_word(record, size_t{4} * i, base + i);
    }
    return record;
}

class Scalars : public ModulesTest {
protected:
    const Oid redundancy = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 176};
    const Oid supplement = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 198, 1, 1};
    const Oid terminal = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9};
    const Oid duration = terminal + Oid{6, 0}, text = terminal + Oid{7, 0};
};

TEST_F(Scalars, OfRedundancyAreKeptUntilTheNextRecord)
{
    const Oid action = redundancy + Oid{1, 2, 11, 0};
    const Oid status_7 = redundancy + Oid{1, 1, 7, 0};
    platform.always_answer({0, record_from(200)});
    EXPECT_EQ(agent.get(redundancy + Oid{1, 1, 8, 0}).integer(), 1U) << "always one reason";
    platform.always_answer({1, record_from(300)});
    EXPECT_FALSE(agent.get(action));
    deliver(supervisor_switchover, nullptr);
    platform.always_answer({0, {}});
    EXPECT_EQ(agent.get(action).integer(), 205U);
    Bytes shorter(23);
    put_host_word(shorter, 16, 7);
    platform.always_answer({0, shorter});
    EXPECT_EQ(agent.get(redundancy + Oid{1, 1, 4, 0}).integer(), 7U);
    EXPECT_EQ(agent.get(status_7).integer(), 206U);
    platform.always_answer({0, Bytes(4000, 9)});
    EXPECT_EQ(agent.get(status_7).integer(), 0x09090909U);

    platform.always_answer({9, {}});
    EXPECT_EQ(agent.set(action, 2), 5);
    platform.always_answer({0, {}});
    EXPECT_EQ(agent.get(action).integer(), 2U) << "a refused action stays until a read";
}

TEST_F(Scalars, OfTheSupplementSayWhatTheSupervisorsAllow)
{
    for (const int32_t state : {0, 1, 2, 3}) {
        platform.supervisor_state = state;
        quietly([&] {
            EXPECT_EQ(agent.get(supplement + Oid{6, 0}).integer(), state == 2 ? 1U : 5U);
            EXPECT_EQ(agent.get(supplement + Oid{9, 0}).integer(), 1U);
            EXPECT_FALSE(agent.get(supplement + Oid{6, 1}));
        });
    }
    EXPECT_THAT(platform.calls, IsEmpty());
}

TEST_F(Scalars, OfTheTerminalMessageTellOfAPlatformThatFails)
{
    const std::string get_failed = "cmi_req_resp to IPCX_OPC_CHM_SNMP_TS_INFO returned FAILURE.\n";
    EXPECT_EQ(standard_output_of([this] { EXPECT_FALSE(agent.get(duration)); }),
              get_failed + "header_tsInfo returned NULL.\n");
    platform.always_answer({0, Bytes(272, 'x')});
    EXPECT_EQ(agent.get(text).value->size(), 260U) << "never beyond the field";
    platform.always_answer({0, {}});
    EXPECT_EQ(standard_output_of([this] { EXPECT_TRUE(agent.get(duration)); }), get_failed);

    const std::tuple<Oid, std::string, std::string> objects[] = {
        {terminal + Oid{5, 0}, "tsMsgIntervaltim",
         "DEBUG : ENTER set_tsMsgIntervaltim \nIn set_tsMsgIntervaltim, doing a GET first.\n"},
        {duration, "tsMsgDuration", ""},
        {text, "tsMsgText", ""},
        {terminal + Oid{9, 0}, "tsMsgSend", ""}};
    for (const auto& [object, name, begin] : objects) {
        const u_char type = object == text ? ASN_OCTET_STR : ASN_INTEGER;
        platform.always_answer({0, Bytes(272)});
        WriteMethod* write_method = agent.get(object).write_method;
        const auto in_phase = [&](int phase, std::vector<long> value, int status) {
            return standard_output_of([&] {
                EXPECT_EQ(write_method(phase, reinterpret_cast<u_char*>(value.data()), type,
                                       value.size() * sizeof(long), nullptr, nullptr, 0),
                          status);
            });
        };
        // A number out of range and a text too long are told on standard output as well.
        const std::vector<long> wrong(type == ASN_INTEGER ? 1 : 1000);
        const std::string told = type == ASN_INTEGER ? "Out of range value for " + name + ".\n"
                                                     : "write to _tsMsgText: bad length\n";
        const int refusal = type == ASN_INTEGER ? 10 : 8;
        std::string failed = begin + "In set_";
        failed.append(name).append(", cmi_req_resp() for ");
        EXPECT_EQ(in_phase(0, wrong, refusal), begin + told);
        EXPECT_EQ(in_phase(2, wrong, refusal), begin + told) << "checked once more";
        EXPECT_EQ(in_phase(3, {2}, 0), begin) << "reads in every phase";
        EXPECT_EQ(platform.calls.back().operation, 1);
        platform.always_answer({3, {}});
        EXPECT_EQ(in_phase(2, {2}, 5), failed + "GET returned NULL.\n");
        platform.always_answer({0, {}});
        EXPECT_EQ(in_phase(2, {2}, 0), failed + "GET returned NULL.\n");
        EXPECT_EQ(in_phase(0, wrong, 0), failed + "GET returned NULL.\n") << "for lack of a record";
        EXPECT_EQ(platform.calls.back().operation, 1) << "nothing was written";
        platform.answer = [](const PlatformCall& call) {
            return call.operation == 3 ? PlatformAnswer{1, {}} : PlatformAnswer{0, Bytes(272)};
        };
        EXPECT_EQ(in_phase(2, {2}, 5), failed + "SET returned ERROR.\n");
    }
    EXPECT_EQ(platform.failed_writes.size(), 4U);
}

TEST_F(Scalars, ThatAreRefusedAreRecorded)
{
    platform.always_answer({0x01020304, {}});
    ipcx_response_q = 78; // read anew for each request
    be_int32 value = 5;
    EXPECT_EQ(write_record(max_default_in_line_power, value), 0x01020304);
    ipcx_response_q = 77;
    const Bytes& record = platform.failed_writes.at(0);
    EXPECT_EQ(Bytes(record.begin(), record.begin() + 260), Bytes(260));
    EXPECT_EQ(host_word(record, 260), 0x01020304U);
    EXPECT_STREQ(reinterpret_cast<const char*>(&record[264]),
                 ("code " + std::string(194, '0')).c_str())
        << "cut to fit";
    const std::pair<int32_t, int32_t> statuses[] = {{0, 0}, {1, 2}, {2, 17}, {3, 5}, {-1, 5}};
    for (const auto& [result, status] : statuses) {
        EXPECT_EQ(chm_log_snmp_error(result), status);
    }
}

} // namespace
