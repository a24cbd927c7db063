#include "runner.h"

#include "agent_loop.h"
#include "restore.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace conform {
namespace {

using nlohmann::json;
using std::chrono::steady_clock;

int channel = -1; ///< to the parent process, a line of JSON per message

void send(const json& message)
{
    const std::string line = message.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
    for (size_t sent = 0; sent < line.size();) {
        const ssize_t count = write(channel, line.data() + sent, line.size() - sent);
        if (count < 0 && errno != EINTR) {
            _exit(1);
        }
        sent += count > 0 ? static_cast<size_t>(count) : 0;
    }
}

std::vector<Check> all_checks(const Options& options)
{
    std::vector<Check> checks;
    const auto add = [&](std::vector<Check> more) {
        std::ranges::move(more, std::back_inserter(checks));
    };
    add(agent_checks());
    add(request_checks());
    add(port_checks());
    add(event_checks(options));
    if (options.write) {
        add(write_checks());
    }
    return checks;
}

std::string listed(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

void report_symbols(const Loaded& loaded)
{
    Line line("symbols", "every function and variable of platform.h",
              "the MIB modules are bound to all of them when they are loaded, and not loaded "
              "without one");
    if (!loaded.missing.empty()) {
        line.violated("missing: " + listed(loaded.missing));
    }
    if (!loaded.wrong.empty()) {
        line.violated("a function for a variable, or the reverse: " + listed(loaded.wrong));
    }
    line.close("all are there");
}

void start_platform(const Options& options, bool first)
{
    start_agent();
    const Loaded loaded = load(options.libraries);
    if (first) {
        report_symbols(loaded);
    }
    for (const std::string& module : options.modules) {
        call_entry_point("init_" + module);
    }
    configure_agent(options.lines);
    if (!options.prepare.empty()) {
        if (const int status = serve_while_running(options.prepare); status != 0) {
            throw std::runtime_error(options.prepare + ": exit status " + std::to_string(status));
        }
    }
}

void run_check(const Check& check)
{
    try {
        check.run();
    } catch (const MissingSymbol& missing) {
        report({Verdict::skipped, check.name, "", std::string("no ") + missing.what(),
                "checked once it is there"});
    } catch (const std::exception& error) {
        report({Verdict::failed, check.name, "", error.what(), "the check could not go on"});
    }
    json times = json::object();
    for (const auto& [call, durations] : call_times()) {
        for (const auto duration : durations) {
            times[call].push_back(duration.count());
        }
    }
    call_times().clear();
    send({{"times", times}});
}

/// The life of a child process. @param first the number of the check to begin with
[[noreturn]] void be_child(const Options& options, const std::vector<Check>& checks, size_t first)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    dup2(STDERR_FILENO, STDOUT_FILENO); // a platform may print
    try {
        start_platform(options, first == 0);
    } catch (const std::exception& error) {
        report({Verdict::failed, "load", listed(options.libraries), error.what(),
                "nothing can be checked"});
        _exit(1);
    }
    if (first != 0) {
        send({{"begin", first - 1}}); // the check before has not survived
        restore_what_is_left();
    }
    for (size_t number = first; number < checks.size(); ++number) {
        send({{"begin", number}});
        run_check(checks[number]);
    }
    send({{"begin", checks.size()}});
    _exit(0); // a platform's threads and destructors are not what is checked
}

std::string end_of(int status)
{
    if (WIFSIGNALED(status)) {
        return std::string("SIG") + sigabbrev_np(WTERMSIG(status));
    }
    return "exit with status " + std::to_string(WEXITSTATUS(status));
}

/// Reads a child's messages until it ends, or neither sends nor calls the platform for too long.
class Watcher {
public:
    Watcher(int descriptor, std::chrono::seconds limit) : descriptor_(descriptor), limit_(limit)
    {
        restart();
    }

    void restart()
    {
        deadline_ = steady_clock::now() + limit_;
        calls_ = shared_calls().count;
    }

    /// @return whether there may be more; false also after the deadline
    template <typename Take>
    bool read_some(Take take)
    {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline_ - steady_clock::now());
        pollfd waiting = {descriptor_, POLLIN, 0};
        if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
            late_ = calls_ == shared_calls().count;
            restart();
            return !late_;
        }
        char bytes[65536];
        const ssize_t count = read(descriptor_, bytes, sizeof bytes);
        if (count <= 0) {
            return false;
        }
        text_.append(bytes, static_cast<size_t>(count));
        for (size_t end = 0; (end = text_.find('\n')) != std::string::npos;) {
            take(json::parse(text_.substr(0, end)));
            text_.erase(0, end + 1);
        }
        return true;
    }

    bool late() const { return late_; }

private:
    int descriptor_;
    std::chrono::seconds limit_;
    steady_clock::time_point deadline_;
    uint32_t calls_ = 0; ///< of the child, when the time began
    std::string text_;
    bool late_ = false;
};

void take_times(const json& times, CallTimes& all)
{
    for (const auto& [call, durations] : times.items()) {
        for (const int64_t duration : durations) {
            all[call].emplace_back(duration);
        }
    }
}

} // namespace

void report(const Finding& finding)
{
    send({{"finding", finding}});
}

Outcome run_checks(const Options& options, const std::function<void(const Finding&)>& found)
{
    const std::vector<Check> checks = all_checks(options);
    prepare_restoring();
    shared_calls(); // shared from here on
    Outcome outcome;
    constexpr size_t none = SIZE_MAX;
    // Nothing is called while events are waited for.
    const std::chrono::seconds limit(options.limit_seconds +
                                     static_cast<int>(options.event_seconds));
    for (size_t first = 0; first < checks.size();) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error(std::string("pipe: ") + std::strerror(errno));
        }
        const pid_t child = fork();
        if (child == 0) {
            close(ends[0]);
            channel = ends[1];
            be_child(options, checks, first);
        }
        close(ends[1]);
        size_t current = none;
        Watcher watcher(ends[0], limit);
        while (current != checks.size() && watcher.read_some([&](const json& message) {
            if (message.contains("finding")) {
                found(message["finding"].get<Finding>());
            } else if (message.contains("begin")) {
                current = message["begin"];
                watcher.restart();
            } else {
                take_times(message["times"], outcome.times);
            }
        })) {
        }
        close(ends[0]);
        kill(child, SIGKILL); // it is late, or it has ended
        int status = 0;
        waitpid(child, &status, 0);
        if (current == checks.size()) {
            break;
        }
        const bool refused = current == none && WIFEXITED(status) && !watcher.late();
        if (!refused) {
            const std::string call = static_cast<const char*>(shared_calls().current);
            found({Verdict::failed, current == none ? "load" : checks[current].name,
                   call.empty() ? "" : "the call " + call,
                   watcher.late()
                       ? "no return within " + std::to_string(options.limit_seconds) + " seconds"
                       : end_of(status),
                   "the agent would have ended, or hung"});
        }
        if (current == none) {
            outcome.loaded = false;
            break;
        }
        first = current + 1;
    }
    return outcome;
}

} // namespace conform
