#include "supervisor.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>

namespace {

using std::chrono::steady_clock;
using Phase = Member::Phase;

constexpr unsigned hung_after = 10; ///< seconds without a heartbeat
constexpr auto patience = std::chrono::seconds(5);
constexpr unsigned start_limit = 60;     ///< seconds
constexpr uintmax_t max_log = 4U << 20U; ///< bytes

sigset_t watched_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int one : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) {
        sigaddset(&signals, one);
    }
    return signals;
}

/// Waits for a signal. Returns its number, or 0 after a time without one.
int next_signal(std::chrono::milliseconds longest)
{
    const sigset_t signals = watched_signals();
    const timespec time{.tv_sec = static_cast<time_t>(longest.count() / 1000),
                        .tv_nsec = static_cast<long>(longest.count() % 1000 * 1000000)};
    return std::max(sigtimedwait(&signals, nullptr, &time), 0);
}

/// Forks. The child gets SIGTERM when its parent ends, however that happens. Throws
/// std::system_error.
pid_t fork_dependent()
{
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "no new process");
    }
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            _exit(EXIT_FAILURE);
        }
    }
    return child;
}

/// The last line of a log, or the first one that reports an error of the configuration.
std::string cause_in_log(const Member& member, bool only_errors)
{
    std::ifstream log(member.state.file("snmpd.log"));
    std::string last;
    for (std::string line; std::getline(log, line);) {
        if (line.starts_with("dlopen") || line.find("snmpd.conf: line") != std::string::npos) {
            return line;
        }
        last = only_errors ? "" : line;
    }
    return last;
}

void limit_log(const std::string& path)
{
    std::error_code none; // there is no log yet
    if (std::filesystem::file_size(path, none) > max_log && !none) {
        // The agent appends, so it continues at the new end.
        std::filesystem::copy_file(path, path + ".1",
                                   std::filesystem::copy_options::overwrite_existing, none);
        std::filesystem::resize_file(path, 0, none);
    }
}

std::string ending_of(int status)
{
    return WIFSIGNALED(status) ? std::string("was ended by signal ") + strsignal(WTERMSIG(status))
                               : "has ended by itself";
}

class Supervisor {
public:
    Supervisor(std::vector<Member>& members, const std::string& greeting, bool restarts)
        : members_(members), greeting_(greeting), restarts_(restarts)
    {
    }

    /// Returns the exit status.
    int run()
    {
        for (auto next_tick = steady_clock::now(); !failed_ && !is_over();) {
            const bool starts = start_some();
            const int signal = next_signal(std::chrono::milliseconds(starts ? 20 : 1000));
            if (signal != 0 && signal != SIGCHLD) {
                return EXIT_SUCCESS;
            }
            reap();
            for (Member& member : members_) {
                check_start(member);
            }
            if (steady_clock::now() >= next_tick) {
                next_tick = steady_clock::now() + std::chrono::seconds(1);
                std::ranges::for_each(members_, [this](Member& member) { watch(member); });
            }
            show_progress();
        }
        if (!failed_) {
            report("no switch is left");
        }
        return EXIT_FAILURE;
    }

private:
    size_t count(Phase phase) const
    {
        return static_cast<size_t>(std::ranges::count(members_, phase, &Member::phase));
    }

    bool may_restart(const Member& member) const { return restarts_ && member.was_running; }

    /// Whether all switches have ended for good.
    bool is_over() const
    {
        return std::ranges::all_of(members_, [this](const Member& member) {
            return !member.is_switch || (member.phase == Phase::ended && !may_restart(member));
        });
    }

    /// Starts waiting members. Returns whether any member is starting.
    bool start_some()
    {
        const size_t most = size_t{2} * std::max(1U, std::thread::hardware_concurrency());
        size_t starting = count(Phase::starting);
        for (Member& member : members_) {
            if (starting < most && member.phase == Phase::waiting) {
                try_start(member);
                ++starting;
            }
        }
        return starting != 0;
    }

    void try_start(Member& member)
    {
        try {
            start(member);
        } catch (const std::system_error& error) {
            fail_start(member, error.what());
        }
    }

    static void start(Member& member)
    {
        std::filesystem::remove(member.state.file("snmpd.pid"));
        std::vector<char*> words;
        for (std::string& word : member.command) {
            words.push_back(word.data());
        }
        words.push_back(nullptr);
        std::fflush(nullptr);
        member.process = fork_dependent();
        if (member.process == 0) {
            sigset_t none;
            sigemptyset(&none);
            sigprocmask(SIG_SETMASK, &none, nullptr);
            execv(words.front(), words.data());
            _exit(EXIT_FAILURE);
        }
        member.phase = Phase::starting;
        member.silent = 0;
    }

    void reap()
    {
        int status = 0;
        for (pid_t ended = 0; (ended = waitpid(-1, &status, WNOHANG)) > 0;) {
            const auto member = std::ranges::find(members_, ended, &Member::process);
            if (member == members_.end()) {
                continue;
            }
            member->process = 0;
            if (member->phase == Phase::starting) {
                const std::string cause = cause_in_log(*member, false);
                fail_start(*member, cause.empty() ? "it " + ending_of(status) : cause);
            } else if (member->phase == Phase::running) {
                lose(*member, ending_of(status));
            }
        }
    }

    void lose(Member& member, const std::string& how) const
    {
        report(member.name + " " + how + (restarts_ ? "; starting it again" : ""));
        member.phase = Phase::ended;
    }

    /// One that has never run ends the fleet: the cause is in what was asked for.
    void fail_start(Member& member, const std::string& why)
    {
        report(member.name + " does not start: " + why);
        end_process(member);
        member.phase = Phase::ended;
        failed_ = failed_ || !member.was_running;
        member.was_running = false; // it is not tried again
    }

    static void end_process(const Member& member)
    {
        if (member.process != 0) {
            kill(member.process, SIGKILL);
        }
    }

    /// The agent writes its pid file once its ports are open.
    void check_start(Member& member)
    {
        if (member.phase != Phase::starting ||
            access(member.state.file("snmpd.pid").c_str(), F_OK)) {
            return;
        }
        const std::string error = cause_in_log(member, true);
        if (!error.empty()) {
            fail_start(member, error);
            return;
        }
        if (member.was_running) {
            report(member.name + " runs again");
        }
        member.phase = Phase::running;
        member.silent = 0;
        member.was_running = true;
    }

    /// To be called every second.
    void watch(Member& member)
    {
        limit_log(member.state.file("snmpd.log"));
        struct stat status {};
        if (member.phase == Phase::ended) {
            const bool again = may_restart(member) && member.process == 0;
            member.phase = again ? Phase::waiting : Phase::ended;
        } else if (member.phase == Phase::starting && ++member.silent == start_limit) {
            fail_start(member, "it is not ready after " + std::to_string(start_limit) + " seconds");
        } else if (member.phase == Phase::running &&
                   stat(member.state.file("heartbeat").c_str(), &status) == 0) {
            const int64_t beat =
                int64_t{status.st_mtim.tv_sec} * 1000000000 + status.st_mtim.tv_nsec;
            member.silent = beat == member.heartbeat ? member.silent + 1 : 0;
            member.heartbeat = beat;
            if (member.silent == hung_after) {
                on_hang(member);
            }
        }
    }

    void on_hang(Member& member) const
    {
        const std::string how = "has not responded for " + std::to_string(hung_after) + " seconds";
        if (restarts_) {
            lose(member, how);
            end_process(member);
        } else {
            report(member.name + " " + how);
        }
    }

    void show_progress()
    {
        const size_t ready = count(Phase::running);
        const bool is_done = ready == members_.size();
        if (is_greeted_ || (ready == shown_ && !is_done)) {
            return;
        }
        static const bool is_terminal = isatty(STDOUT_FILENO) == 1;
        const auto now = steady_clock::now();
        if (is_terminal) {
            std::printf("\r%zu of %zu are up", ready, members_.size());
        } else if (now >= next_line_ && !is_done) {
            std::printf("%zu of %zu are up\n", ready, members_.size());
            next_line_ = now + std::chrono::seconds(2);
        }
        shown_ = ready;
        if (is_done) {
            std::printf("%s%s", is_terminal ? "\r\x1b[K" : "", greeting_.c_str());
            is_greeted_ = true;
        }
        std::fflush(stdout);
    }

    std::vector<Member>& members_;
    const std::string& greeting_;
    const bool restarts_;
    bool failed_ = false;
    bool is_greeted_ = false;
    size_t shown_ = 0; ///< ready members
    steady_clock::time_point next_line_ = steady_clock::now() + std::chrono::seconds(2);
};

bool is_child(pid_t process)
{
    siginfo_t unused;
    return process > 0 &&
           waitid(P_PID, static_cast<id_t>(process), &unused, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// Ends the members that have not ended with their parent, waits for all, removes their
/// directories.
void end_all(std::vector<Member>& members)
{
    const auto signal_all = [&](int signal) {
        for (const Member& member : members) {
            pid_t process = member.process;
            if (process == 0) {
                std::ifstream(member.state.file("snmpd.pid")) >> process;
            }
            if (is_child(process)) {
                kill(process, signal);
            }
        }
    };
    signal_all(SIGTERM);
    const auto deadline = steady_clock::now() + patience;
    for (pid_t ended = 0; (ended = waitpid(-1, nullptr, WNOHANG)) >= 0;) {
        if (ended == 0 && next_signal(std::chrono::milliseconds(100)) == 0 &&
            steady_clock::now() > deadline) {
            signal_all(SIGKILL);
        }
    }
    members.clear();
}

} // namespace

void report(const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::ranges::replace_if(
            line, [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
        std::fprintf(stderr, "fleet: %s\n", line.c_str());
    }
}

void hold_signals()
{
    const sigset_t signals = watched_signals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

/// Two processes: one supervises, and ends the fleet when it is asked to. The other one waits for
/// it and outlives its violent death; the members, which that ends, become its children then.
int supervise(std::vector<Member> members, const std::string& greeting, bool restarts)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t supervisor = fork_dependent();
    if (supervisor == 0) {
        setpgid(0, 0);                 // the other one passes a Ctrl-C on
        std::signal(SIGTTOU, SIG_IGN); // not stopped by `stty tostop` when it reports
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        const int status = Supervisor(members, greeting, restarts).run();
        end_all(members);
        std::fflush(nullptr);
        _exit(status);
    }
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(-1, &status, WNOHANG)) != supervisor) {
        if (ended == 0) {
            const int signal = next_signal(std::chrono::hours(1));
            if (signal != 0 && signal != SIGCHLD) {
                kill(supervisor, SIGTERM);
            }
        }
    }
    end_all(members);
    if (WIFSIGNALED(status)) {
        report("the supervisor was killed, and all switches with it");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}
