/// The switch's smaller libraries, and the control socket.
#include "control.h"
#include "event_log.h"
#include "request_user.h"
#include "switch_test.h"
#include "unix_socket.h"
#include "verbs.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

#include <sys/stat.h>

namespace {

TEST(IfIndex, TurnsSlotAndPortIntoAnIndexAndBack)
{
    for (const auto& [slot, port, name] :
         {std::tuple(0, 0, "Ethernet1/1"), {2, 16, "Ethernet3/17"}, {17, 63, "Ethernet18/64"}}) {
        uint32_t if_index = 0;
        uint8_t decoded[3] = {};
        char text[IF_INDEX_TEXT_SIZE];
        EXPECT_EQ(if_index_phy_ethernet_init(&if_index, static_cast<uint8_t>(slot),
                                             static_cast<uint8_t>(port), 0),
                  0);
        EXPECT_EQ(if_index_get_type(if_index, &decoded[0]), 0);
        EXPECT_EQ(if_index_get_slot(if_index, &decoded[1]), 0);
        EXPECT_EQ(if_index_get_port(if_index, &decoded[2]), 0);
        sprintf_if_index(text, if_index);
        EXPECT_EQ(std::tuple(26, slot, port), std::tuple(decoded[0], decoded[1], decoded[2]));
        EXPECT_STREQ(text, name);
    }
    uint8_t number = 99;
    for (const uint32_t foreign : {0U, 5U << 24, 26U << 24 | 1U, UINT32_MAX}) {
        EXPECT_NE(if_index_get_slot(foreign, &number), 0) << foreign;
        EXPECT_NE(if_index_get_port(foreign, &number), 0) << foreign;
        EXPECT_EQ(number, 99);
    }
}

TEST(BoundedCopy, NeverWritesBeyondTheCapacity)
{
    using namespace std::string_literals;
    const std::tuple<size_t, const char*, std::string> cases[] = {
        {0, "abc", "######"s},  {1, "abc", "\0#####"s}, {3, "abc", "ab\0###"s},
        {4, "abc", "abc\0##"s}, {6, "abc", "abc\0##"s}, {6, "", "\0#####"s}};
    for (const auto& [capacity, source, expected] : cases) {
        std::string buffer = "######";
        EXPECT_EQ(__strcpy_to_buf(capacity, buffer.data(), source), buffer.data());
        EXPECT_EQ(buffer, expected) << capacity;
    }
    char destination[] = "######";
    EXPECT_EQ(__memcpy_to_buf(2, destination, "abcdef", 6), destination);
    __memcpy_to_buf(0, destination, "q", 1);
    EXPECT_STREQ(destination, "ab####");
}

TEST(ResultCodes, HaveTexts)
{
    EXPECT_STREQ(rcode_format(1), "no such entry (0x1)");
    EXPECT_STREQ(rcode_format(0xffffffff), "unknown result code (0xffffffff)");
}

/// Records an event as a service does: 32 bits of subtype, then the text with its NUL.
int record_event(const std::string& text, uint32_t length)
{
    Bytes record = {101, 0, 0, 0};
    record.insert(record.end(), text.begin(), text.end());
    record.push_back(0);
    return evlog_hist_event(0x730000, length, record.data());
}

TEST(EventHistory, KeepsTheLast500WhileItIsOn)
{
    const size_t before = sim::history().size();
    EXPECT_NE(evlog_hist_event_subtype_check(0x730000, 101), 0);
    EXPECT_NE(record_event("off", 8), 0);
    EXPECT_EQ(sim::history().size(), before);

    sim::trace_switches().history = true;
    EXPECT_EQ(evlog_hist_event_subtype_check(0x730000, 101), 0);
    for (int i = 1000; i <= 1500; ++i) {
        EXPECT_EQ(record_event(std::to_string(i), 9), 0);
    }
    EXPECT_EQ(sim::history().size(), 500U);
    EXPECT_EQ(sim::history().front().text, "1001");
    EXPECT_EQ(sim::history().back().text, "1500");
    EXPECT_EQ(sim::history().back().type, 0x730000U);
    EXPECT_EQ(sim::history().back().subtype, 101U);

    const std::tuple<std::string, uint32_t, std::string> odd[] = {
        {"no terminator", 6, "no"},
        {"", 4, ""},
        {std::string("cut\0here", 8), 12, "cut"},
        {std::string(1024, 'y'), UINT32_MAX, std::string(1024, 'y')}};
    for (const auto& [text, length, kept] : odd) {
        EXPECT_EQ(record_event(text, length), 0);
        EXPECT_EQ(sim::history().back().text, kept);
    }
    EXPECT_NE(record_event("short", 3), 0);
    EXPECT_NE(evlog_hist_event(0x730000, 8, nullptr), 0);
    sim::trace_switches().history = false;

    Bytes failed_write(464);
    failed_write[260] = 2;
    std::memset(&failed_write[264], 'z', 200);
    log_snmp_error(failed_write.data());
    EXPECT_EQ(sim::history().back().text, "write failed with result 2: " + std::string(200, 'z'));
}

TEST(Events, WithoutAHandlerAreNotedAndDropped)
{
    sim::post_event(Event::redundancy);
    EXPECT_EQ(sim::waiting_events(), 1U);
    sim::deliver_events();
    EXPECT_EQ(sim::waiting_events(), 0U);
    EXPECT_EQ(sim::history().back().text, "event 1043 dropped: nobody handles it");
    EXPECT_NE(unregister_for_notification(1043), 0);
}

/// As the agent does before it lets a handler see a request.
void check_access(netsnmp_pdu& pdu)
{
    view_parameters parameters{};
    parameters.pdu = &pdu;
    snmp_call_callbacks(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL, &parameters);
}

TEST(RequestUser, IsTheCommunityOrTheUserUntilTheRequestEnds)
{
    u_char community[] = {'p', 'u', 'b', 'X'}; // not terminated
    char security_name[] = {'o', 'p', 'X'};
    netsnmp_pdu v2c{};
    v2c.version = SNMP_VERSION_2c;
    v2c.community = community;
    v2c.community_len = 3;
    netsnmp_pdu v3{};
    v3.version = SNMP_VERSION_3;
    v3.securityName = security_name;
    v3.securityNameLen = 2;

    EXPECT_EQ(get_snmp_username(nullptr), nullptr);
    sim::start_tracking_requests();
    check_access(v2c);
    EXPECT_STREQ(get_snmp_username(nullptr), "pub");
    const uint32_t session = get_snmp_sessionid(nullptr);
    check_access(v3);
    EXPECT_STREQ(get_snmp_username(nullptr), "op");
    EXPECT_NE(get_snmp_sessionid(nullptr), session);
    sim::leave_request();
    EXPECT_EQ(get_snmp_username(nullptr), nullptr);
    EXPECT_EQ(get_snmp_sessionid(nullptr), 0U);
    sim::stop_tracking_requests();
    check_access(v3);
    EXPECT_EQ(get_snmp_username(nullptr), nullptr);
}

TEST(ControlSocketTest, TakesThePlaceOfADeadSwitchOnly)
{
    const std::string path = temporary_path("control");
    std::ofstream(path) << "a file";
    sim::ControlSocket first;
    EXPECT_THROW(first.open(path), std::runtime_error);
    EXPECT_EQ(std::remove(path.c_str()), 0) << "the file was not ours to remove";
    first.open(path);
    struct stat status {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFSOCK | 0600U);
    sim::ControlSocket second;
    EXPECT_THROW(second.open(path), std::runtime_error);
    first.close();
    EXPECT_NE(lstat(path.c_str(), &status), 0);

    const auto address = sim::unix_address(path);
    {
        const sim::Descriptor dead = sim::new_unix_socket();
        ASSERT_EQ(bind(dead.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address),
                  0);
    }
    second.open(path);
    EXPECT_EQ(sim::connect_to(sim::new_unix_socket(), *address), 0);
    second.close();
    EXPECT_THROW(second.open(std::string(200, 'x')), std::runtime_error);
}

TEST(Verbs, ChangeOnlyWhatExistsAndCanBeSet)
{
    sim::place_chassis(sim::load_chassis(ChassisFile("[chassis]\nslots = 2\n").path));
    const Answer before = get_entity(1);
    const std::string set = R"({"verb": "set", "value": "new\u0000", "entity": )";
    for (const char* rest : {R"(4294967297, "field": "alias"})", R"(1, "field": "alias"})"}) {
        EXPECT_NE(sim::answer_request(set + rest).find(R"("ok":false)"), std::string::npos) << rest;
    }
    EXPECT_EQ(get_entity(1).block, before.block);
    EXPECT_EQ(sim::answer_request(
                  R"({"verb": "set", "entity": "Slot 2", "field": "alias", "value": "new"})"),
              R"({"ok":true,"result":{"index":102}})");
    EXPECT_EQ(text_at(*get_entity(102).block, 2351), "new");
}

} // namespace
