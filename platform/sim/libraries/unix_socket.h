/// What both ends of the control socket need.
#pragma once

#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace sim {

/// A file descriptor, negative for none, that is closed unless it is released.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : number_(other.release()) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor()
    {
        if (number_ >= 0) {
            close(number_);
        }
    }

    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

/// A stream socket; sets errno when there is none. @param flags of socket(), as SOCK_NONBLOCK
inline Descriptor new_unix_socket(int flags = 0)
{
    return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
}

/// The address of a path, nothing when the path is too long for one or empty: without a path, the
/// kernel takes the address for a name that any user can use.
inline std::optional<sockaddr_un> unix_address(const std::string& path)
{
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return std::nullopt;
    }
    path.copy(static_cast<char*>(address.sun_path), path.size());
    return address;
}

/// As connect(): 0, or -1 with errno set.
inline int connect_to(const Descriptor& socket, const sockaddr_un& address)
{
    return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

} // namespace sim
