#include "switch_client.h"

#include "control/state_path.h"
#include "libraries/unix_socket.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

using nlohmann::json;

namespace {

class Connection {
public:
    Connection(const std::string& path, std::chrono::seconds patience) : path_(path)
    {
        const auto address = sim::unix_address(path);
        if (!address) {
            throw NoSwitch("'" + path + "' is empty or too long for a socket's path");
        }
        const timeval limit{.tv_sec = static_cast<time_t>(patience.count()), .tv_usec = 0};
        setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
        if (sim::connect_to(socket_, *address) != 0) {
            fail(errno == EAGAIN ? "the switch does not answer" : "no switch listens");
        }
    }

    void send_line(std::string line)
    {
        line += '\n';
        for (size_t sent = 0; sent < line.size();) {
            const ssize_t size =
                send(socket_.get(), line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
            if (size <= 0) {
                fail("the switch takes no request");
            }
            sent += static_cast<size_t>(size);
        }
    }

    std::string receive_line()
    {
        std::string line;
        char data[65536];
        while (line.empty() || line.back() != '\n') {
            const ssize_t size = recv(socket_.get(), data, sizeof data, 0);
            if (size == 0) {
                throw NoSwitch(path_ + ": the switch closed the connection");
            }
            if (size < 0) {
                fail("the switch does not answer");
            }
            line.append(data, static_cast<size_t>(size));
        }
        return line;
    }

private:
    [[noreturn]] void fail(const char* what) const
    {
        throw NoSwitch(path_ + ": " + what + ": " + std::strerror(errno));
    }

    std::string path_;
    sim::Descriptor socket_ = sim::new_unix_socket();
};

/// Some switches by name and port.
std::string bounded_list(const std::vector<RunningSwitch>& switches)
{
    constexpr size_t most = 10;
    std::string list;
    for (size_t i = 0; i < std::min(most, switches.size()); ++i) {
        const auto& [socket, port, name, address] = switches[i];
        list +=
            (i == 0 ? "" : ", ") + (name.empty() ? "?" : name) + " (" + std::to_string(port) + ")";
    }
    return switches.size() <= most
               ? list
               : list + " and " + std::to_string(switches.size() - most) + " more";
}

/// Does not wait for a hung switch whose queue of connections is full: that listens, too.
bool listens(const std::string& path)
{
    const auto address = sim::unix_address(path);
    return address &&
           (sim::connect_to(sim::new_unix_socket(SOCK_NONBLOCK), *address) == 0 || errno == EAGAIN);
}

/// Adds the switches that have a directory whose name is `start` and their port.
void add_switches(std::vector<RunningSwitch>& switches, const std::string& directory,
                  const std::string& start)
{
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(directory, missing)) {
        const std::string name = entry.path().filename().string();
        const char* end = name.data() + name.size();
        RunningSwitch one{.socket = entry.path().string() + "/control"};
        if (name.starts_with(start)) {
            const auto [stop, error] = std::from_chars(name.data() + start.size(), end, one.port);
            if (error == std::errc() && stop == end) {
                switches.push_back(std::move(one));
            }
        }
    }
}

/// Takes name and address from the agent's configuration, in which the last line counts.
void describe(RunningSwitch& one)
{
    std::ifstream lines(std::filesystem::path(one.socket).replace_filename("snmpd.conf"));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("psysname ")) {
            one.name = line.substr(9);
        } else if (line.starts_with("agentAddress ")) {
            one.address = line.substr(13);
        }
    }
    for (size_t at = 0; (at = one.address.find("udp:", at)) != std::string::npos;) {
        one.address.erase(at, 4);
    }
}

/// Directories of switches, also of killed ones, in the order of their ports.
std::vector<RunningSwitch> candidates()
{
    std::vector<RunningSwitch> switches;
    add_switches(switches, sim::state_directory(), sim::state_name());
    // Others may make a directory of such a name in /tmp.
    std::erase_if(switches, [](const RunningSwitch& one) {
        struct stat status {};
        const std::string directory = std::filesystem::path(one.socket).parent_path();
        return lstat(directory.c_str(), &status) != 0 || status.st_uid != geteuid();
    });
    add_switches(switches, "/run/chmsnmp-lab", "");
    std::ranges::sort(switches, {}, &RunningSwitch::port);
    std::ranges::for_each(switches, describe);
    return switches;
}

/// The socket of the only running switch that is wanted. @param what was asked for, for the error
std::string only_switch(const std::string& what, const auto& is_wanted)
{
    std::vector<RunningSwitch> switches = candidates();
    std::vector<RunningSwitch> wanted;
    std::ranges::copy_if(switches, std::back_inserter(wanted), is_wanted);
    const auto is_dead = [](const RunningSwitch& one) { return !listens(one.socket); };
    std::erase_if(wanted, is_dead);
    if (wanted.size() == 1) {
        return wanted.front().socket;
    }
    if (!wanted.empty()) {
        throw NoSwitch("several switches run; choose one with --switch or --port: " +
                       bounded_list(wanted));
    }
    std::erase_if(switches, is_dead);
    if (switches.empty()) {
        throw NoSwitch("no switch of yours runs; ./run brings one up, --socket names another one");
    }
    throw NoSwitch("no switch " + what + "; running: " + bounded_list(switches));
}

} // namespace

std::vector<RunningSwitch> running_switches()
{
    std::vector<RunningSwitch> switches = candidates();
    std::erase_if(switches, [](const RunningSwitch& one) { return !listens(one.socket); });
    return switches;
}

std::string running_switch(uint32_t port)
{
    return only_switch("on port " + std::to_string(port),
                       [port](const RunningSwitch& one) { return port == 0 || one.port == port; });
}

std::string running_switch_named(const std::string& name)
{
    return only_switch("named " + name, [&](const RunningSwitch& one) { return one.name == name; });
}

std::string name_of_switch(const std::string& socket)
{
    RunningSwitch one{.socket = socket};
    describe(one);
    return one.name;
}

json ask_switch(const std::string& socket, const json& request, std::chrono::seconds patience)
{
    Connection connection(socket, patience);
    connection.send_line(request.dump(-1, ' ', false, json::error_handler_t::replace));
    const json answer = json::parse(connection.receive_line(), nullptr, false);
    if (!answer.is_object() || !answer.contains("ok")) {
        throw NoSwitch(socket + ": what answers there is no switch");
    }
    if (!answer["ok"].get<bool>()) {
        throw Refused(answer["error"].get<std::string>());
    }
    return answer["result"];
}
