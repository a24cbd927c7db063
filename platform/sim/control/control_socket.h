/// The control socket, through which chmctl reaches the running switch.
///
/// A client sends requests and receives answers, one JSON object per line:
/// {"verb": "...", ...} is answered with {"ok": true, "result": ...} or with
/// {"ok": false, "error": "..."}. All of it runs in the agent's loop and never waits for a client.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>

namespace sim {

class ControlSocket {
public:
    /// Starts to listen, instead of at the previous path. Throws std::runtime_error if the path is
    /// in use or invalid, or the agent cannot watch another descriptor.
    void open(const std::string& path);

    /// Drops all clients and removes the socket, unless another one has taken its path; does
    /// nothing when it is not open.
    void close();

    /// Accepts clients again after a pause; to be called every second. It pauses when the agent has
    /// no descriptor for a waiting client, which would otherwise wake it again and again.
    void resume();

private:
    enum class Waiting { to_receive, to_send };

    /// A file's device and number, by which it differs from another one of the same path.
    using FileIdentity = std::pair<dev_t, ino_t>;

    struct Client {
        Waiting waiting = Waiting::to_receive;
        std::string received; ///< what is not answered yet
        std::string unsent;   ///< the rest of an answer; no request is read until it is gone
        std::chrono::steady_clock::time_point last_active = std::chrono::steady_clock::now();
    };

    static void on_connection(int listener, void* socket);
    static void on_readable(int descriptor, void* socket);
    static void on_writable(int descriptor, void* socket);

    static std::optional<FileIdentity> identity_of(const std::string& path);

    void accept_client();
    void drop(int descriptor);
    void receive(int descriptor);
    void answer_requests(int descriptor);
    void wait_for(int descriptor, Client& client, Waiting what);

    std::string path_;
    std::optional<FileIdentity> file_; ///< that the listener is bound to
    int listener_ = -1;
    bool resting_ = false;
    std::map<int, Client> clients_;
};

} // namespace sim
