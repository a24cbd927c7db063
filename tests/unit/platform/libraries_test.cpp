// The switch's smaller libraries, and the control socket.

#include "control/control_socket.h"
#include "libraries/event_log.h"
#include "libraries/request_user.h"
#include "libraries/unix_socket.h"
#include "switch_test.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

#include <sys/eventfd.h>
#include <sys/resource.h>
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

using Faults = SwitchTest;

TEST_F(Faults, AddUpToNoMoreThanOneMayDo)
{
    follow(R"(
inject-fault 0, "request": "module", "effect": "delay", "amount": 6000, "operation": "get" ->
inject-fault 0, "request": "module", "effect": "delay", "amount": 6000, "operation": "set" ->
inject-fault 0, "request": "module", "effect": "delay", "amount": 4001 -> the faults of a get would add up to 10001 milliseconds, and the most is 10000
inject-fault 0, "request": "module", "effect": "delay", "amount": 4000 ->
inject-fault 0, "request": 1029, "effect": "delay", "amount": 1, "operation": "set" -> the faults of a set would add up to 10001 milliseconds, and the most is 10000
inject-fault 0, "request": "led", "effect": "delay", "amount": 10000 ->
inject-fault 0, "request": "led", "effect": "nothing", "operation": "set" -> the MIB modules send 'led' only with get or get-next
inject-fault 0, "request": "redundancy", "effect": "nothing", "operation": "get-next" -> the MIB modules send 'redundancy' only with get or set
inject-fault 0, "request": "next-port", "effect": "nothing", "operation": "get" -> the MIB modules send 'next-port' only with get-next
inject-fault 0, "request": "module", "effect": "long", "amount": 65536 ->
inject-fault 0, "request": "module", "effect": "long", "amount": 1 -> the faults of a get would add up to 65537 bytes, and the most is 65536
inject-fault 0, "request": "module", "effect": "short", "amount": 65536 ->
inject-fault 0, "request": "module", "effect": "fail", "amount": 2147483647 ->
inject-fault 0, "request": "module", "effect": "fail", "amount": 2147483647 ->
)");
    for (const std::string request : {"port-configuration", "next-port", "transceiver-information",
                                      "transceiver-diagnostics"}) {
        for (const std::string effect : {"short", "long"}) {
            const std::string fault = std::string(R"(inject-fault 0, "amount": 1, "request": ")")
                                          .append(request)
                                          .append(R"(", "effect": ")")
                                          .append(effect)
                                          .append("\"");
            EXPECT_EQ(refusal(fault), "answers to '" + request +
                                          "' come without a length: they cannot be short or long");
        }
    }
    const std::string one_more = R"(inject-fault 0, "request": "led", "effect": "nothing")";
    while (sim::chassis_in_place()->faults().size() < 100) {
        ASSERT_EQ(refusal(one_more), "");
    }
    EXPECT_EQ(refusal(one_more), "100 faults are set already");
    EXPECT_EQ(refusal("clear-faults 0"), "");
    EXPECT_TRUE(sim::chassis_in_place()->faults().empty());
}

/// Does what the agent's loop does when it comes around, without waiting.
/// @return the number of descriptors that were ready
int come_around()
{
    int number = 0;
    fd_set readable;
    fd_set writable;
    fd_set exceptional;
    for (fd_set* set : {&readable, &writable, &exceptional}) {
        FD_ZERO(set);
    }
    netsnmp_external_event_info(&number, &readable, &writable, &exceptional);
    timeval none{};
    int ready = select(number, &readable, &writable, &exceptional, &none);
    const int count = ready;
    netsnmp_dispatch_external_events(&ready, &readable, &writable, &exceptional);
    return count;
}

/// A client of a control socket.
struct Client {
    explicit Client(const std::string& path)
    {
        EXPECT_EQ(sim::connect_to(socket, *sim::unix_address(path)), 0) << path;
    }

    /// What the switch answers to a request, nothing when it closed the connection.
    std::string ask(const std::string& request) const
    {
        char answer[65536];
        EXPECT_GT(send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL), 0);
        while (come_around() > 0) {
        }
        const ssize_t size = recv(socket.get(), answer, sizeof answer, MSG_DONTWAIT);
        return {answer, static_cast<size_t>(std::max<ssize_t>(size, 0))};
    }

    sim::Descriptor socket = sim::new_unix_socket();
};

const std::string no_request = "{}\n";

TEST(ControlSocketTest, RestsWhenThereIsNoDescriptorForAClient)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "sanitizers look at memory through descriptors";
#endif
    const std::string path = temporary_path("rest");
    sim::ControlSocket socket;
    socket.open(path);
    const Client client(path);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{3, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(come_around(), 1);
    EXPECT_EQ(come_around(), 0) << "the agent would come around again and again";
    setrlimit(RLIMIT_NOFILE, &limit);
    socket.resume();
    EXPECT_NE(client.ask(no_request), "");
    socket.close();
}

TEST(ControlSocketTest, DoesWithoutWhatTheAgentDoesNotWatch)
{
    const std::string path = temporary_path("unwatched");
    std::deque<sim::Descriptor> others;
    const auto crowd = [&] { // takes every place that the agent has
        do {
            others.emplace_back(eventfd(0, EFD_CLOEXEC));
        } while (register_readfd(
                     others.back().get(), [](int, void*) {}, nullptr) == 0);
    };
    const auto make_room = [&] {
        unregister_readfd(others.front().get());
        others.pop_front();
    };
    crowd();
    sim::ControlSocket socket;
    EXPECT_THROW(socket.open(path), std::runtime_error);
    EXPECT_THROW(sim::start_event_delivery(), std::runtime_error);
    sim::stop_event_delivery();
    struct stat status {};
    EXPECT_NE(lstat(path.c_str(), &status), 0);
    make_room();
    socket.open(path);
    const Client unheard(path);
    EXPECT_EQ(unheard.ask(no_request), "");
    make_room();
    const Client heard(path);
    EXPECT_NE(heard.ask(no_request), "");
    while (!others.empty()) {
        make_room();
    }
    socket.close();
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
    first.open(path);
    EXPECT_EQ(std::remove(path.c_str()), 0);
    second.open(path);
    first.close();
    for (const std::string& wrong : {std::string(200, 'x'), std::string()}) {
        EXPECT_THROW(second.open(wrong), std::runtime_error);
    }
    EXPECT_EQ(sim::connect_to(sim::new_unix_socket(), *address), 0) << "it is not the first one's";
    second.close();
}

} // namespace
