#include "switch_client.h"

#include "libraries/unix_socket.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
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

} // namespace

std::string default_socket()
{
    const char* directory = std::getenv("XDG_RUNTIME_DIR");
    return std::string(directory != nullptr && *directory != '\0' ? directory : "/tmp") +
           "/chm-lab-" + std::to_string(geteuid()) + "-1161/control";
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
