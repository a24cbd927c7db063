/// Redundancy and its supplement, driven through their registered variables and the handler.
#include "scripted_agent.h"

#include <sys/time.h>

using namespace testing;

extern "C" {
void init_quarn_rf_mib();
void deinit_quarn_rf_mib();
void init_quarn_rf_supp_mib();
void deinit_quarn_rf_supp_mib();
}

namespace {

const Oid root = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 176};
const Oid admin_action = root + Oid{1, 2, 11, 0};

/// A record whose words are base, base + 1 and so on, in host order.
Bytes record_from(uint32_t base)
{
    Bytes record(32);
    for (uint32_t i = 0; i < 8; ++i) {
        put_host_word(record, size_t{4} * i, base + i);
    }
    return record;
}

class QuarnRfMib : public ModuleTest {
protected:
    QuarnRfMib() : ModuleTest(init_quarn_rf_mib, deinit_quarn_rf_mib) { answer(0, Bytes(32)); }

    void answer(int32_t result, const std::optional<Bytes>& response, int32_t write_result = 0)
    {
        platform.answer = [=](const PlatformCall& call) {
            return call.operation == 3 ? PlatformAnswer{write_result, {}}
                                       : PlatformAnswer{result, response};
        };
    }
};

TEST_F(QuarnRfMib, ServesTheRecordsWords)
{
    answer(0, record_from(100));
    const std::pair<Oid, uint32_t> objects[] = {
        {{1, 1, 1}, 101}, {{1, 1, 2}, 103}, {{1, 1, 3}, 102}, {{1, 1, 4}, 104},
        {{1, 1, 6}, 100}, {{1, 1, 7}, 106}, {{1, 1, 8}, 1},   {{1, 2, 11}, 105}};
    for (const auto& [object, value] : objects) {
        const auto binding = agent.get(root + object + Oid{0});
        ASSERT_TRUE(binding);
        EXPECT_EQ(binding->integer(), value);
        EXPECT_EQ(binding->value.size(), 4u);
        const PlatformCall& call = platform.calls.back();
        EXPECT_EQ(call.opcode, 1042u);
        EXPECT_EQ(call.length, 32u);
        EXPECT_EQ(call.req_class, 4u);
        EXPECT_EQ(call.user, "operator");
    }
    EXPECT_EQ(agent.walk(root).size(), 8u);
    EXPECT_FALSE(agent.get(root + Oid{1, 1, 5, 0}));
}

TEST_F(QuarnRfMib, KeepsTheLastRecord)
{
    answer(0, record_from(200));
    agent.get(admin_action);
    answer(1, record_from(300));
    EXPECT_FALSE(agent.get(admin_action));
    EXPECT_EQ(platform.calls.back().payload, record_from(200)) << "it is what a request sends";
    answer(0, {});
    EXPECT_EQ(agent.get(admin_action)->integer(), 205u);
    Bytes shorter(23);
    put_host_word(shorter, 16, 7);
    answer(0, shorter);
    EXPECT_EQ(agent.get(root + Oid{1, 1, 4, 0})->integer(), 7u);
    EXPECT_EQ(agent.get(root + Oid{1, 1, 7, 0})->integer(), 206u);
    answer(0, Bytes(4000, 9));
    EXPECT_EQ(agent.get(root + Oid{1, 1, 7, 0})->integer(), 0x09090909u);
}

TEST_F(QuarnRfMib, SendsTheRecordJustReadWithTheNewAction)
{
    answer(0, record_from(100));
    for (const long value : {0L, 3L}) {
        EXPECT_EQ(agent.set(admin_action, value), 0);
        Bytes expected = record_from(100);
        put_host_word(expected, 20, static_cast<uint32_t>(value));
        EXPECT_EQ(platform.calls.back().operation, 3);
        EXPECT_EQ(platform.calls.back().payload, expected);
        EXPECT_EQ(platform.calls.back().req_class, 4u);
        EXPECT_FALSE(platform.calls.back().wants_response);
    }
    for (const int32_t result : {1, 2, 9}) {
        answer(0, record_from(100), result);
        EXPECT_EQ(agent.set(admin_action, 2), 5);
    }
    EXPECT_EQ(platform.failed_writes.size(), 3u);
    answer(0, {});
    EXPECT_EQ(agent.get(admin_action)->integer(), 2u) << "a refused action stays until a read";
}

TEST_F(QuarnRfMib, RefusesWhatIsNoAction)
{
    using Told = std::pair<int, std::string>;
    EXPECT_EQ(refusal(admin_action, "3"),
              (Told{7, "write to qRFCfgAdminAction not ASN_INTEGER\n"}));
    EXPECT_EQ(refusal(admin_action, Integer(sizeof(long) + 1)),
              (Told{8, "write to qRFCfgAdminAction: bad length\n"}));
    for (const long value : {4L, -1L}) {
        EXPECT_EQ(refusal(admin_action, value),
                  (Told{10, "Out of range value for qRFCfgAdminAction.\n"}));
    }
    for (const PlatformCall& call : platform.calls) {
        EXPECT_EQ(call.operation, 1);
    }
}

TEST_F(QuarnRfMib, NotifiesOfASwitchover)
{
    timeval start = {};
    gettimeofday(&start, nullptr);
    start.tv_sec -= 50;
    netsnmp_set_agent_starttime(&start);
    answer(0, record_from(100));
    agent.get(admin_action);

    const std::pair<int32_t, std::string> reasons[] = {{0, "3"}, {1, "6"}, {2, "6"}, {3, "6"},
                                                       {4, "4"}, {5, "7"}, {9, "1"}, {-1, "1"}};
    for (const auto& [reason, reported] : reasons) {
        platform.switchover_reason = reason;
        answer(reason == 9 ? 1 : 0, record_from(500)); // a failure with a record is used too
        const Notification notification = deliver(1043, nullptr);
        EXPECT_TRUE(notification.sent);
        EXPECT_EQ(notification.name, root + (Oid{2, 0, 1}));
        const auto bindings = briefly(notification);
        ASSERT_EQ(bindings.size(), 3u);
        EXPECT_EQ(bindings[0], (Brief{root + Oid{1, 1, 1, 0}, 2, "501"}));
        EXPECT_EQ(std::get<0>(bindings[1]), (Oid{1, 3, 6, 1, 2, 1, 1, 3, 0}));
        EXPECT_EQ(std::get<1>(bindings[1]), 67);
        EXPECT_GE(notification.bindings[1].integer(), 5000u);
        EXPECT_EQ(bindings[2], (Brief{root + Oid{1, 1, 8, 0}, 2, reported}));

        const PlatformCall& call = platform.calls.back();
        EXPECT_EQ(call.operation, 1);
        EXPECT_EQ(call.payload, std::nullopt);
        EXPECT_EQ(call.length, 32u);
        EXPECT_EQ(call.user, std::nullopt);
        EXPECT_EQ(call.session, 0u);
        EXPECT_EQ(call.req_class, 4u);
    }
    agent.get(admin_action);
    EXPECT_EQ(platform.calls.back().payload, record_from(100)) << "the handler leaves it alone";

    for (const std::optional<Bytes>& response : {std::optional<Bytes>(), {Bytes(7)}, {Bytes()}}) {
        answer(0, response);
        const Notification notification = deliver(1043, nullptr);
        EXPECT_FALSE(notification.sent);
        EXPECT_THAT(notification.bindings, IsEmpty());
    }
}

class QuarnRfSuppMib : public ModuleTest {
protected:
    QuarnRfSuppMib() : ModuleTest(init_quarn_rf_supp_mib, deinit_quarn_rf_supp_mib) {}
};

TEST_F(QuarnRfSuppMib, ServesWhatTheSupervisorsAllow)
{
    const Oid objects = {1, 3, 6, 1, 4, 1, ENTERPRISE_MAIN, 9, 198, 1, 1};
    for (const int32_t state : {0, 1, 2, 3}) {
        platform.supervisor_state = state;
        EXPECT_EQ(standard_output_of([&] {
                      EXPECT_EQ(agent.get(objects + Oid{6, 0})->integer(), state == 2 ? 1u : 5u);
                  }),
                  "Entering the get_quarn_rf_supp_mib..\nReturning Running_Config_oper...\n");
        EXPECT_EQ(standard_output_of([&] {
                      const auto binding = agent.get(objects + Oid{9, 0});
                      EXPECT_EQ(binding->integer(), 1u);
                      EXPECT_EQ(binding->write_method, nullptr);
                  }),
                  "Entering the get_quarn_rf_supp_mib..\nReturning Startup_Config_oper...\n");
    }
    EXPECT_EQ(standard_output_of([&] {
                  EXPECT_FALSE(agent.get(objects + Oid{6, 1}));
              }),
              "Entering the get_quarn_rf_supp_mib..\n"
              "header_generic in get_quarn_rf_supp_mib returned NULL.\n");
    standard_output_of([&] { EXPECT_EQ(agent.walk(objects).size(), 2u); });
    EXPECT_THAT(platform.calls, IsEmpty());
}

} // namespace
