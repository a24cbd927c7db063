// Brings up a fleet of lab switches; scripts/fleet, which runs this, describes the options.

#include "files/chassis_file.h"
#include "fleet_file.h"
#include "help.h"
#include "supervisor.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <set>
#include <sstream>

namespace {

enum ExitCode { FAILED = 1, WRONG_USAGE = 2 };

struct Options {
    std::string source; ///< directory of the project
    std::string build;
    std::vector<std::string> files;
    size_t count = 0; ///< 0 for one switch per file
    uint32_t port = 1161;
    uint32_t address_port = 0; ///< 0 for `port`
    std::vector<std::string> ways = {"port", "address", "context"};
    std::string trap_sink;
    bool restarts = false;

    bool has(const char* way) const { return std::ranges::find(ways, way) != ways.end(); }
};

/// A UDP endpoint of the machine.
struct Endpoint {
    std::string address;
    uint32_t port;

    std::string text() const { return address + ":" + std::to_string(port); }
};

/// The endpoints of a switch, by its number from 1. The first one is that of the front agent.
std::vector<Endpoint> endpoints_of(const Options& options, uint32_t number)
{
    constexpr uint32_t hosts = 250; // in the last byte of an address
    std::vector<Endpoint> endpoints;
    if (options.has("port") || !options.has("address")) {
        endpoints.push_back({"127.0.0.1", options.port + number});
    }
    if (options.has("address")) {
        endpoints.push_back({"127.1." + std::to_string((number - 1) / hosts) + "." +
                                 std::to_string((number - 1) % hosts + 1),
                             options.address_port});
    }
    return endpoints;
}

/// Finds out before any start whether another program has an endpoint.
void check_free(const Endpoint& endpoint)
{
    const sim::Descriptor probe(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(endpoint.port));
    inet_pton(AF_INET, endpoint.address.c_str(), &address.sin_addr);
    if (bind(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throw std::runtime_error("UDP " + endpoint.text() + ": " + std::strerror(errno) +
                                 (errno == EADDRINUSE ? "; choose others with --port" : ""));
    }
}

std::vector<SwitchPlan> planned(Options& options)
{
    if (options.count == 0 && options.files.size() == 1 && is_fleet_file(options.files.front())) {
        return read_fleet(options.files.front());
    }
    const size_t count = options.count == 0 ? options.files.size() : options.count;
    if (options.files.empty()) {
        options.files.push_back(options.source + "/chassis/ten-slot.toml");
    }
    return numbered_fleet(count, options.files);
}

void check_chassis(const std::vector<SwitchPlan>& plans)
{
    std::set<std::string> files;
    for (const SwitchPlan& plan : plans) {
        if (files.insert(plan.chassis).second) {
            sim::load_chassis(plan.chassis);
        }
    }
}

Member switch_of(const Options& options, const SwitchPlan& plan, uint32_t number)
{
    std::string where;
    for (const Endpoint& endpoint : endpoints_of(options, number)) {
        check_free(endpoint);
        where += (where.empty() ? "" : ",") + endpoint.text();
    }
    Member member{.name = plan.name, .state = StateDirectory(options.port + number)};
    member.command = {options.source + "/scripts/agent",
                      "--name",
                      plan.name,
                      "--serial",
                      plan.individual.serial,
                      "--load",
                      std::to_string(plan.individual.load)};
    if (!plan.state.empty()) {
        member.command.insert(member.command.end(), {"--memory", plan.state});
    }
    member.command.insert(member.command.end(),
                          {options.build, member.state.path(), where, plan.chassis});
    if (!options.trap_sink.empty()) {
        member.command.push_back("trap2sink " + options.trap_sink + " public@" + plan.name);
    }
    return member;
}

Member front_agent(const Options& options, const std::vector<SwitchPlan>& plans)
{
    check_free({"127.0.0.1", options.port});
    Member member{
        .name = "the front agent", .state = StateDirectory(options.port), .is_switch = false};
    member.command = {options.source + "/scripts/front-agent", member.state.path(),
                      std::to_string(options.port)};
    for (uint32_t number = 1; number <= plans.size(); ++number) {
        member.command.push_back(plans[number - 1].name);
        member.command.push_back(endpoints_of(options, number).front().text());
    }
    return member;
}

std::string greeting(const Options& options, const std::vector<SwitchPlan>& plans)
{
    const std::string& name = plans.front().name;
    const std::string read = "snmpbulkwalk -v2c -c public";
    const std::string what = " 1.3.6.1.2.1.47.1.1.1\n";
    std::ostringstream text;
    text << (plans.size() == 1 ? "The switch answers"
                               : std::to_string(plans.size()) + " switches answer")
         << ". The first one, from another terminal:\n\n";
    for (const Endpoint& endpoint : endpoints_of(options, 1)) {
        text << "  " << read << " -On " << endpoint.text() << what;
    }
    if (options.has("context")) {
        text << "  " << read << "@" << name << " -On 127.0.0.1:" << options.port << what;
    }
    const std::string chmctl = options.build + "/bin/chmctl";
    text << "  " << chmctl << " --switch " << name << " inventory\n\nAll: " << chmctl
         << " fleet. ./run --help lists the users. Ctrl-C ends the fleet.\n";
    return text.str();
}

int bring_up(Options options)
{
    const std::vector<SwitchPlan> plans = planned(options);
    if (plans.empty()) {
        throw CLI::ValidationError("no switch: give a number of them, or a file with some");
    }
    if (plans.size() > max_switches) {
        throw CLI::ValidationError("more than " + std::to_string(max_switches) + " switches");
    }
    if (options.port + plans.size() > UINT16_MAX) {
        throw CLI::ValidationError("there are no " + std::to_string(plans.size()) +
                                   " UDP ports after " + std::to_string(options.port));
    }
    options.address_port = options.address_port == 0 ? options.port : options.address_port;
    check_chassis(plans);
    hold_signals();
    std::vector<Member> members;
    if (options.has("context")) {
        members.push_back(front_agent(options, plans));
    }
    for (uint32_t number = 1; number <= plans.size(); ++number) {
        members.push_back(switch_of(options, plans[number - 1], number));
    }
    return supervise(std::move(members), greeting(options, plans), options.restarts);
}

int run(int argc, char** argv)
{
    CLI::App app;
    Options options;
    const CLI::Range ports(1, UINT16_MAX);
    app.add_option("SOURCE", options.source)->required();
    app.add_option("BUILD", options.build)->required();
    app.add_option("FILES", options.files);
    app.add_option("--count", options.count)->check(CLI::Range(size_t{1}, max_switches));
    app.add_option("--port", options.port)->check(ports);
    app.add_option("--address-port", options.address_port)->check(ports);
    app.add_option("--reach", options.ways)
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"port", "address", "context"}));
    app.add_option("--trap-sink", options.trap_sink)->check([](const std::string& sink) {
        const size_t colon = sink.rfind(':');
        const bool good = colon != std::string::npos && colon != 0 &&
                          sink.find_first_of(" \t\n") == std::string::npos &&
                          CLI::Range(1, UINT16_MAX)(sink.substr(colon + 1)).empty();
        return good ? "" : sink + " is not HOST:PORT";
    });
    app.add_flag("--restart", options.restarts);
    app.parse(argc, argv);
    return bring_up(options);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const CLI::ParseError& error) {
        report(plain_error(error) + " (see scripts/fleet --help)");
        return WRONG_USAGE;
    } catch (const std::exception& error) {
        report(error.what());
        return FAILED;
    }
}
