#include "control/control_socket.h"

#include "control/verbs.h"
#include "libraries/c_boundary.h"
#include "libraries/request_user.h"
#include "libraries/unix_socket.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace sim {
namespace {

constexpr size_t max_request = size_t{64} * 1024;
constexpr size_t max_clients = 8; ///< the agent watches no more than 32 descriptors of ours

[[noreturn]] void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

Descriptor new_socket()
{
    Descriptor socket = new_unix_socket(SOCK_NONBLOCK);
    if (socket.get() < 0) {
        fail("socket");
    }
    return socket;
}

/// Prepares the path for a new socket: removes the socket of a dead switch, and nothing else.
void remove_stale(const std::string& path, const sockaddr_un& address)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return;
    }
    if (!S_ISSOCK(status.st_mode)) {
        throw std::runtime_error(path + ": exists and is not a socket");
    }
    const Descriptor probe = new_socket();
    if (connect_to(probe, address) == 0 || errno != ECONNREFUSED) {
        throw std::runtime_error(path + ": another switch listens here");
    }
    unlink(path.c_str());
}

/// Sends as much as a client accepts at once. False when the client is gone.
bool send_some(int descriptor, std::string& unsent)
{
    const ssize_t sent = send(descriptor, unsent.data(), unsent.size(), MSG_NOSIGNAL);
    if (sent < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    unsent.erase(0, static_cast<size_t>(sent));
    return true;
}

} // namespace

void ControlSocket::open(const std::string& path)
{
    const auto address = unix_address(path);
    if (!address) {
        throw std::runtime_error("'" + path + "' is empty or too long for a socket's path");
    }
    close();
    remove_stale(path, *address);

    Descriptor listener = new_socket();
    const mode_t mask = umask(0177); // no other user may connect, not even for a moment
    const int bound =
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address);
    umask(mask);
    if (bound != 0) {
        fail(path);
    }
    path_ = path;
    file_ = identity_of(path);
    listener_ = listener.release();
    if (listen(listener_, max_clients) != 0) {
        fail(path);
    }
    resting_ = true;
    resume();
    if (resting_) {
        close();
        throw std::runtime_error(path + ": the agent watches no further descriptor");
    }
}

void ControlSocket::close()
{
    while (!clients_.empty()) {
        drop(clients_.begin()->first);
    }
    if (listener_ >= 0) {
        // While the listener is open, no other file gets its inode number.
        if (identity_of(path_) == file_) {
            unlink(path_.c_str());
        }
        unregister_readfd(listener_);
        ::close(std::exchange(listener_, -1));
        resting_ = false;
    }
}

void ControlSocket::resume()
{
    if (resting_) {
        resting_ = register_readfd(listener_, on_connection, this) != FD_REGISTERED_OK;
    }
}

std::optional<ControlSocket::FileIdentity> ControlSocket::identity_of(const std::string& path)
{
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

void ControlSocket::on_connection(int /*listener*/, void* socket)
{
    guard([&] { static_cast<ControlSocket*>(socket)->accept_client(); });
}

void ControlSocket::on_readable(int descriptor, void* socket)
{
    leave_request();
    guard([&] { static_cast<ControlSocket*>(socket)->receive(descriptor); });
}

void ControlSocket::on_writable(int descriptor, void* socket)
{
    leave_request();
    guard([&] { static_cast<ControlSocket*>(socket)->answer_requests(descriptor); });
}

void ControlSocket::accept_client()
{
    Descriptor connection(accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (connection.get() < 0) {
        const bool is_gone = errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
        if (!is_gone) {
            unregister_readfd(listener_);
            resting_ = true;
            fail(path_ + ": no client for a second");
        }
        return;
    }
    if (clients_.size() == max_clients) {
        // A client that hangs must not block the others.
        const auto quietest = std::ranges::min_element(
            clients_, {}, [](const auto& entry) { return entry.second.last_active; });
        drop(quietest->first);
    }
    clients_.try_emplace(connection.get());
    const int descriptor = connection.release();
    if (register_readfd(descriptor, on_readable, this) != FD_REGISTERED_OK) {
        drop(descriptor);
    }
}

void ControlSocket::drop(int descriptor)
{
    unregister_readfd(descriptor);
    unregister_writefd(descriptor);
    ::close(descriptor);
    clients_.erase(descriptor);
}

void ControlSocket::receive(int descriptor)
{
    char data[4096];
    const ssize_t size = recv(descriptor, data, sizeof data, 0);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (size <= 0) {
        drop(descriptor);
        return;
    }
    Client& client = clients_.at(descriptor);
    client.last_active = std::chrono::steady_clock::now();
    client.received.append(data, static_cast<size_t>(size));
    answer_requests(descriptor);
}

/// Answers the client's requests as long as it accepts the answers.
void ControlSocket::answer_requests(int descriptor)
{
    Client& client = clients_.at(descriptor);
    bool good = send_some(descriptor, client.unsent);
    while (good && client.unsent.empty()) {
        const size_t end = client.received.find('\n');
        if (end == std::string::npos) {
            break;
        }
        client.unsent = answer_request(std::string_view(client.received).substr(0, end)) + "\n";
        client.received.erase(0, end + 1);
        good = send_some(descriptor, client.unsent);
    }
    if (!good || client.received.size() > max_request) {
        drop(descriptor);
        return;
    }
    wait_for(descriptor, client, client.unsent.empty() ? Waiting::to_receive : Waiting::to_send);
}

void ControlSocket::wait_for(int descriptor, Client& client, Waiting what)
{
    if (client.waiting == what) {
        return;
    }
    client.waiting = what;
    int watched = 0;
    if (what == Waiting::to_send) {
        unregister_readfd(descriptor);
        watched = register_writefd(descriptor, on_writable, this);
    } else {
        unregister_writefd(descriptor);
        watched = register_readfd(descriptor, on_readable, this);
    }
    if (watched != FD_REGISTERED_OK) {
        drop(descriptor);
    }
}

} // namespace sim
