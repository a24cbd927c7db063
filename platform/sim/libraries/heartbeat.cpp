#include "libraries/heartbeat.h"

#include "libraries/unix_socket.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace sim {
namespace {

std::string watchdog;       ///< path of the service manager's socket, empty for none
std::string heartbeat_file; ///< empty for none
uint64_t beats = 0;

} // namespace

void find_watchdog()
{
    if (const char* path = std::getenv("NOTIFY_SOCKET")) {
        watchdog = path;
    }
}

void keep_heartbeat_file(const std::string& path)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (file.get() < 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    heartbeat_file = path;
}

void feed_watchdog()
{
    if (!heartbeat_file.empty()) {
        (void)utimensat(AT_FDCWD, heartbeat_file.c_str(), nullptr, 0);
    }
    auto address = unix_address(watchdog);
    if (!address) {
        return;
    }
    if (watchdog.front() == '@') {
        address->sun_path[0] = '\0'; // an abstract name
    }
    constexpr std::string_view message = "WATCHDOG=1";
    const Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + watchdog.size());
    // A lost notification is not reported; the next one follows soon.
    (void)sendto(socket.get(), message.data(), message.size(), MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&*address), length);
}

void take_time(std::chrono::milliseconds time)
{
    feed_watchdog();
    std::this_thread::sleep_for(time);
}

void beat()
{
    ++beats;
    feed_watchdog();
}

uint64_t heartbeats()
{
    return beats;
}

} // namespace sim
