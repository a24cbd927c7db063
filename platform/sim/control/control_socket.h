/// The control socket: chmctl's way to the running switch.
///
/// A client sends requests and receives answers, one JSON object a line each:
/// {"verb": "...", ...} is answered with {"ok": true, "result": ...} or with
/// {"ok": false, "error": "..."}. All of it runs in the agent's loop and never waits for a client.
#pragma once

#include <chrono>
#include <map>
#include <string>

namespace sim {

class ControlSocket {
public:
    /// Begins to listen. Throws std::runtime_error when the path is somebody else's.
    void open(const std::string& path);

    /// Drops all clients and removes the socket; does nothing when it is not open.
    void close();

private:
    enum class Waiting { to_receive, to_send };

    struct Client {
        Waiting waiting = Waiting::to_receive;
        std::string received; ///< what is not answered yet
        std::string unsent;   ///< the rest of an answer; no request is read until it is gone
        std::chrono::steady_clock::time_point last_active = std::chrono::steady_clock::now();
    };

    static void on_connection(int listener, void* socket);
    static void on_readable(int descriptor, void* socket);
    static void on_writable(int descriptor, void* socket);

    void accept_client();
    void drop(int descriptor);
    void receive(int descriptor);
    void answer_requests(int descriptor);
    void wait_for(int descriptor, Client& client, Waiting what);

    std::string path_;
    int listener_ = -1;
    std::map<int, Client> clients_;
};

} // namespace sim
