/// The terminal message, driven through its registered variables.
#include "scripted_agent.h"

#include <regex>

using namespace testing;

extern "C" void init_quarn_ts_mib();
extern "C" void deinit_quarn_ts_mib();

namespace {

const Oid root = {1, 3, 6, 1, 4, 1, ENTERPRISE_ALT, 2, 9};
const Oid interval = root + Oid{5, 0};
const Oid duration = root + Oid{6, 0};
const Oid text = root + Oid{7, 0};
const Oid send_trigger = root + Oid{9, 0};

/// A message as the platform holds it, in host order.
Bytes message_of(const std::string& words)
{
    Bytes message(272, 0x7e);
    put_host_word(message, 0, 11);
    put_host_word(message, 4, 12);
    put_text(message, 8, words + '\0');
    put_host_word(message, 268, 13);
    return message;
}

class QuarnTsMib : public ModuleTest {
protected:
    QuarnTsMib() : ModuleTest(init_quarn_ts_mib, deinit_quarn_ts_mib)
    {
        platform.answer = [this](const PlatformCall& call) -> PlatformAnswer {
            if (call.operation == 3) {
                message = *call.payload;
                return {write_result, {}};
            }
            return {result, message};
        };
    }

    std::optional<Bytes> message = message_of("hello");
    int32_t result = 0, write_result = 0;
};

TEST_F(QuarnTsMib, ServesTheMessage)
{
    EXPECT_EQ(agent.get(interval)->integer(), 11u);
    EXPECT_EQ(agent.get(duration)->integer(), 12u);
    EXPECT_EQ(agent.get(text)->text(), "hello");
    EXPECT_EQ(agent.get(send_trigger)->integer(), 13u);
    EXPECT_EQ(agent.walk(root).size(), 4u);
    const PlatformCall& call = platform.calls.back();
    EXPECT_EQ(call.opcode, 1016u);
    EXPECT_EQ(call.operation, 1);
    EXPECT_EQ(call.length, 272u);
    EXPECT_EQ(call.req_class, 4u);
    EXPECT_EQ(call.payload, message) << "the last message received travels along";

    message = Bytes(272, 'x');
    EXPECT_EQ(agent.get(text)->value.size(), 260u) << "never beyond the field";
    message = Bytes(3, 0);
    EXPECT_EQ(agent.get(duration)->integer(), 0x78787878u);

    message = {};
    EXPECT_EQ(standard_output_of([&] { EXPECT_TRUE(agent.get(duration)); }),
              "cmi_req_resp to IPCX_OPC_CHM_SNMP_TS_INFO returned FAILURE.\n");
    result = 1;
    EXPECT_EQ(standard_output_of([&] { EXPECT_FALSE(agent.get(duration)); }),
              "cmi_req_resp to IPCX_OPC_CHM_SNMP_TS_INFO returned FAILURE.\n"
              "header_tsInfo returned NULL.\n");
}

TEST_F(QuarnTsMib, WritesOneFieldOfTheWholeMessage)
{
    const std::tuple<Oid, size_t, std::vector<long>> numbers[] = {
        {interval, 0, {1, 9999, -5}}, {duration, 4, {1, 9999, -5}}, {send_trigger, 268, {2}}};
    for (const auto& [object, offset, values] : numbers) {
        for (const long value : values) {
            message = message_of("hello");
            const Oid name = object;
            standard_output_of([&] { EXPECT_EQ(agent.set(name, value), 0); });
            Bytes expected = message_of("hello");
            put_host_word(expected, offset, static_cast<uint32_t>(value));
            EXPECT_EQ(message, expected);
        }
    }
    for (const size_t length : {1u, 256u}) {
        message = message_of("hello");
        const std::string words(length, 'w');
        EXPECT_EQ(agent.set(text, words), 0);
        Bytes expected = message_of("hello");
        put_text(expected, 8, words + '\0');
        EXPECT_EQ(message, expected);
        EXPECT_EQ(agent.get(text)->text(), words);
    }
}

TEST_F(QuarnTsMib, ReadsTheMessageInEveryPhase)
{
    agent.set(duration, 5);
    std::vector<int32_t> operations;
    for (const PlatformCall& call : platform.calls) {
        operations.push_back(call.operation);
    }
    // The agent's own read, then a read in each of the four phases and the write in the third.
    EXPECT_THAT(operations, ElementsAre(1, 1, 1, 1, 3, 1));

    EXPECT_EQ(standard_output_of([&] { agent.set(interval, 5); }),
              "DEBUG : ENTER set_tsMsgIntervaltim \nIn set_tsMsgIntervaltim, doing a GET first.\n"
              "DEBUG : ENTER set_tsMsgIntervaltim \nIn set_tsMsgIntervaltim, doing a GET first.\n"
              "DEBUG : ENTER set_tsMsgIntervaltim \nIn set_tsMsgIntervaltim, doing a GET first.\n"
              "DEBUG : ENTER set_tsMsgIntervaltim \nIn set_tsMsgIntervaltim, doing a GET first.\n");
}

TEST_F(QuarnTsMib, SendsTheTextThatWasSetJustBefore)
{
    WriteMethod* set_text = agent.get(text)->write_method;
    WriteMethod* set_send = agent.get(send_trigger)->write_method;
    platform.calls.clear();
    std::string words = "new words";
    long send_it = 2;
    for (int phase = 0; phase <= 3; ++phase) { // one request: both bindings in every phase
        EXPECT_EQ(set_text(phase, reinterpret_cast<u_char*>(words.data()), ASN_OCTET_STR,
                           words.size(), nullptr, nullptr, 0),
                  0);
        EXPECT_EQ(set_send(phase, reinterpret_cast<u_char*>(&send_it), ASN_INTEGER, sizeof send_it,
                           nullptr, nullptr, 0),
                  0);
    }
    std::vector<std::pair<std::string, uint32_t>> sent;
    for (const PlatformCall& call : platform.calls) {
        if (call.operation == 3) {
            sent.emplace_back(reinterpret_cast<const char*>(&call.payload->at(8)),
                              host_word(*call.payload, 268));
        }
    }
    EXPECT_THAT(sent, ElementsAre(Pair("new words", 13u), Pair("new words", 2u)));
}

TEST_F(QuarnTsMib, ChecksAValueThatPassedForLackOfARecord)
{
    WriteMethod* set_text = agent.get(text)->write_method;
    Bytes words(5000, 'w');
    const auto phase = [&](int action, u_char type, size_t length) {
        int status = -1;
        standard_error_of([&] {
            standard_output_of([&] {
                status = set_text(action, words.data(), type, length, nullptr, nullptr, 0);
            });
        });
        return status;
    };
    const auto kept = std::exchange(message, std::nullopt);
    EXPECT_EQ(phase(0, ASN_OCTET_STR, 5000), 0);
    message = kept;
    EXPECT_EQ(phase(2, ASN_OCTET_STR, 5000), 8);
    EXPECT_EQ(phase(2, ASN_INTEGER, 4), 7);
    EXPECT_EQ(message, kept);
}

/// The status of a SET, what it wrote to standard error, and to standard output besides the notes
/// of its reads.
using Told = std::tuple<int, std::string, std::string>;

template <typename Value>
Told told(const Oid& object, const Value& value)
{
    std::pair<int, std::string> refused;
    std::string printed = standard_output_of([&] { refused = refusal(object, value); });
    printed = std::regex_replace(printed, std::regex("(DEBUG|In set_)[^\n]*\n"), "");
    return {refused.first, refused.second, printed};
}

TEST_F(QuarnTsMib, RefusesOtherValues)
{
    const std::tuple<Oid, std::string, std::vector<long>> numbers[] = {
        {send_trigger, "tsMsgSend", {0, 1, 3, -2}},
        {duration, "tsMsgDuration", {0, 10000}},
        {interval, "tsMsgIntervaltim", {0, 10000}}};
    for (const auto& [object, name, out_of_range] : numbers) {
        EXPECT_EQ(told(object, "1"), (Told{7, "write to " + name + " not ASN_INTEGER\n", ""}));
        EXPECT_EQ(told(object, Integer(sizeof(long) + 1)),
                  (Told{8, "write to " + name + ": bad length\n", ""}));
        for (const long value : out_of_range) {
            const std::string line = "Out of range value for " + name + ".\n";
            EXPECT_EQ(told(object, value), (Told{10, line, line}));
        }
    }
    EXPECT_EQ(told(text, 1L), (Told{7, "write to tsMsgText not ASN_OCTET_STR\n", ""}));
    for (const size_t length : {0u, 257u}) {
        const std::string line = "write to _tsMsgText: bad length\n";
        EXPECT_EQ(told(text, std::string(length, 'w')), (Told{8, line, line}));
    }
    EXPECT_EQ(message, message_of("hello"));
}

TEST_F(QuarnTsMib, TellsOfAPlatformThatFails)
{
    const std::pair<Oid, std::string> objects[] = {{send_trigger, "tsMsgSend"},
                                                   {duration, "tsMsgDuration"},
                                                   {interval, "tsMsgIntervaltim"},
                                                   {text, "tsMsgText"}};
    for (const auto& [object, name] : objects) {
        const bool is_text = object == text;
        const std::string begin = "In set_" + name + ", cmi_req_resp() for ";
        WriteMethod* write_method = agent.get(object)->write_method;
        const auto call = [&](int expected) {
            Bytes value(sizeof(long));
            value[0] = 2;
            return standard_output_of([&] {
                EXPECT_EQ(write_method(2, value.data(), is_text ? ASN_OCTET_STR : ASN_INTEGER,
                                       value.size(), nullptr, nullptr, 0),
                          expected);
            });
        };
        write_result = 1;
        EXPECT_THAT(call(5), EndsWith(begin + "SET returned ERROR.\n"));
        write_result = 0;
        result = 3;
        EXPECT_THAT(call(5), EndsWith(begin + "GET returned NULL.\n"));
        result = 0;
        const auto kept = std::exchange(message, std::nullopt);
        EXPECT_THAT(call(0), EndsWith(begin + "GET returned NULL.\n"));
        EXPECT_EQ(platform.calls.back().operation, 1) << "nothing was written";
        message = kept;
    }
    EXPECT_EQ(platform.failed_writes.size(), 4u);
}

} // namespace
