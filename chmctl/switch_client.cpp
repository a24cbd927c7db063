#include "switch_client.h"

#include "libraries/unix_socket.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <sys/time.h>
#include <unistd.h>

using nlohmann::json;

namespace {

class Connection {
public:
    explicit Connection(const std::string& path) : path_(path)
    {
        const auto address = sim::unix_address(path);
        if (!address) {
            throw NoSwitch("'" + path + "' is empty or too long for a socket's path");
        }
        const timeval patience{.tv_sec = 10, .tv_usec = 0};
        setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        if (sim::connect_to(socket_, *address) != 0) {
            fail("no switch listens");
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

bool listens(const std::string& path)
{
    const auto address = sim::unix_address(path);
    return address && sim::connect_to(sim::new_unix_socket(), *address) == 0;
}

/// The sockets of running switches that this user may use, by their UDP ports.
std::map<uint32_t, std::string> control_sockets()
{
    namespace fs = std::filesystem;
    std::map<uint32_t, std::string> sockets;
    const auto look = [&](const std::string& directory, const std::string& start) {
        std::error_code missing;
        for (const fs::directory_entry& entry : fs::directory_iterator(directory, missing)) {
            const std::string name = entry.path().filename().string();
            const std::string socket = entry.path().string() + "/control";
            uint32_t port = 0;
            if (name.starts_with(start) &&
                std::from_chars(name.data() + start.size(), name.data() + name.size(), port).ec ==
                    std::errc() &&
                listens(socket)) {
                sockets.emplace(port, socket);
            }
        }
    };
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::string start = "chm-lab-" + std::to_string(geteuid()) + "-";
    look(runtime != nullptr && *runtime != '\0' ? runtime : "/tmp", start);
    look("/run/chmsnmp-lab", "");
    return sockets;
}

} // namespace

std::string running_switch(uint32_t port)
{
    const auto sockets = control_sockets();
    if (const auto wanted = sockets.find(port); wanted != sockets.end()) {
        return wanted->second;
    }
    std::string ports;
    for (const auto& [number, socket] : sockets) {
        ports += (ports.empty() ? "" : ", ") + std::to_string(number);
    }
    if (port != 0) {
        throw NoSwitch("no switch of yours runs on port " + std::to_string(port) +
                       (ports.empty() ? "" : "; there is " + ports));
    }
    if (sockets.empty()) {
        throw NoSwitch("no switch of yours runs; ./run brings one up, --socket names another one");
    }
    if (sockets.size() > 1) {
        throw NoSwitch("several switches run; choose one with --port: " + ports);
    }
    return sockets.begin()->second;
}

json ask_switch(const std::string& socket, const json& request)
{
    Connection connection(socket);
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
