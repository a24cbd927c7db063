#include "screen.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

// The alternate screen, without a cursor and without the wrapping of long lines.
constexpr std::string_view enter = "\x1b[?1049h\x1b[?25l\x1b[?7l";
constexpr std::string_view leave = "\x1b[?7h\x1b[?25h\x1b[?1049l";

std::optional<termios> usual_mode; ///< of a terminal that keys are read from

void put(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0) {
            return; // the terminal is gone
        }
        text.remove_prefix(static_cast<size_t>(written));
    }
}

/// Calls only what a signal handler may call.
void restore()
{
    put(leave);
    if (usual_mode) {
        tcsetattr(STDIN_FILENO, TCSANOW, &*usual_mode);
    }
}

void end_by(int signal)
{
    restore();
    raise(signal); // which has its usual effect again
}

sigset_t resizing()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGWINCH);
    return set;
}

} // namespace

Screen::Screen()
{
    struct sigaction action {};
    action.sa_handler = end_by;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        sigaction(signal, &action, nullptr);
    }
    action = {};
    action.sa_handler = [](int) {}; // it ends a wait
    sigaction(SIGWINCH, &action, nullptr);
    const sigset_t set = resizing();
    sigprocmask(SIG_BLOCK, &set, nullptr);

    termios mode{};
    if (tcgetattr(STDIN_FILENO, &mode) == 0) {
        usual_mode = mode;
        mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        mode.c_cc[VSUSP] = _POSIX_VDISABLE; // a stopped one would leave the terminal as it is
        tcsetattr(STDIN_FILENO, TCSANOW, &mode);
    }
    put(enter);
}

Screen::~Screen()
{
    restore();
}

Screen::Size Screen::size()
{
    winsize window{};
    const bool known =
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col != 0 && window.ws_row != 0;
    return known ? Size{window.ws_col, window.ws_row} : Size{80, 24};
}

void Screen::draw(const std::vector<std::string>& lines)
{
    std::string all;
    for (size_t row = 1; row <= size().rows; ++row) {
        all += "\x1b[" + std::to_string(row) + "H\x1b[K";
        all += row <= lines.size() ? lines[row - 1] : "";
    }
    put(all);
}

Screen::Wake Screen::wait(double seconds)
{
    using namespace std::chrono;
    const auto end =
        steady_clock::now() + duration_cast<nanoseconds>(std::chrono::duration<double>(seconds));
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    sigdelset(&mask, SIGWINCH);
    while (true) {
        const nanoseconds left = std::max<nanoseconds>(end - steady_clock::now(), 0ns);
        const timespec patience{.tv_sec = static_cast<time_t>(left / 1s),
                                .tv_nsec = static_cast<long>(left % 1s / 1ns)};
        pollfd keys{.fd = usual_mode ? STDIN_FILENO : -1, .events = POLLIN, .revents = 0};
        const int ready = ppoll(&keys, 1, &patience, &mask);
        if (ready <= 0) {
            return ready == 0 ? Wake::time : Wake::resize;
        }
        char key = 'q';
        if (read(STDIN_FILENO, &key, 1) <= 0 || key == 'q') {
            return Wake::quit;
        }
    }
}
