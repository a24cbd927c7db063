// The switch's smaller libraries, and the control socket.

#include "control/control_socket.h"
#include "libraries/event_log.h"
#include "libraries/request_user.h"
#include "libraries/unix_socket.h"
#include "switch_test.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

#include <sys/stat.h>

namespace {

TEST(IfIndex, IsThatOfAnEthernetPortOrRefused)
{
    uint8_t number = 99;
    for (const uint32_t foreign : {0U, 5U << 24, 26U << 24 | 1U, UINT32_MAX}) {
        EXPECT_NE(if_index_get_slot(foreign, &number), 0) << foreign;
        EXPECT_NE(if_index_get_port(foreign, &number), 0) << foreign;
    }
    EXPECT_EQ(number, 99);
    char text[IF_INDEX_TEXT_SIZE];
    sprintf_if_index(text, 0x1a113f00);
    EXPECT_STREQ(text, "Ethernet18/64");
}

TEST(BoundedCopy, NeverWritesBeyondTheCapacity)
{
    char text[] = "######";
    __strcpy_to_buf(3, text, "abc");
    __memcpy_to_buf(2, &text[3], "abc", 3);
    __strcpy_to_buf(0, &text[5], "abc");
    EXPECT_EQ(std::string(text, 6), std::string("ab\0ab#", 6));
}

TEST(EventHistory, KeepsTheLast500WhileItIsOn)
{
    // As a service does: 32 bits of subtype, then the text with its NUL.
    const auto record_event = [](const std::string& text, uint32_t length) {
        const std::string record = std::string("e\0\0\0", 4) + text;
        return evlog_hist_event(0x730000, length, record.c_str());
    };
    EXPECT_NE(evlog_hist_event_subtype_check(0x730000, 101), 0);
    EXPECT_NE(record_event("off", 8), 0);
    sim::trace_switches().history = true;
    EXPECT_EQ(evlog_hist_event_subtype_check(0x730000, 101), 0);
    for (int i = 1000; i <= 1500; ++i) {
        EXPECT_EQ(record_event(std::to_string(i), 9), 0);
    }
    const auto& history = sim::history();
    EXPECT_EQ(history.size(), 500U);
    EXPECT_EQ(history.front().text + history.back().text, "10011500");
    EXPECT_EQ(std::pair(history.back().type, history.back().subtype), std::pair(0x730000U, 101U));
    const std::tuple<std::string, uint32_t, std::string> odd[] = {
        {"no terminator", 6, "no"},
        {"", 4, ""},
        {std::string("cut\0here", 8), 12, "cut"},
        {std::string(1024, 'y'), UINT32_MAX, std::string(1024, 'y')}};
    for (const auto& [text, length, kept] : odd) {
        EXPECT_EQ(record_event(text, length), 0);
        EXPECT_EQ(history.back().text, kept);
    }
    EXPECT_NE(record_event("short", 3), 0);
    EXPECT_NE(evlog_hist_event(0x730000, 8, nullptr), 0);
    sim::trace_switches().history = false;

    const std::string text(200, 'z');
    log_snmp_error(record(464, "260='\2' 264='" + text + "'").data());
    EXPECT_EQ(history.back().text, "write failed with result 2: " + text);
    unregister_for_notification(1043);
    sim::post_event(1043);
    EXPECT_EQ(sim::waiting_events(), 1U);
    sim::deliver_events();
    EXPECT_EQ(sim::waiting_events(), 0U);
    EXPECT_EQ(history.back().text, "event 1043 dropped: nobody handles it");
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
    // As the agent does before it lets a handler see a request.
    const auto check_access = [](netsnmp_pdu& pdu) {
        view_parameters parameters{};
        parameters.pdu = &pdu;
        snmp_call_callbacks(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_ACM_CHECK_INITIAL,
                            &parameters);
    };
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
    sim::ControlSocket second;
    EXPECT_THROW(first.open(path), std::runtime_error);
    EXPECT_EQ(std::remove(path.c_str()), 0) << "the file was not ours to remove";
    first.open(path);
    struct stat status {};
    ASSERT_EQ(lstat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFSOCK | 0600U);
    EXPECT_THROW(second.open(path), std::runtime_error);
    first.close();
    EXPECT_NE(lstat(path.c_str(), &status), 0);

    const auto address = sim::unix_address(path);
    const auto* bound = reinterpret_cast<const sockaddr*>(&*address);
    EXPECT_EQ(bind(sim::new_unix_socket().get(), bound, sizeof *address), 0); // and is dead now
    second.open(path);
    EXPECT_EQ(sim::connect_to(sim::new_unix_socket(), *address), 0);
    second.close();
    EXPECT_THROW(second.open(std::string(200, 'x')), std::runtime_error);
}

} // namespace
