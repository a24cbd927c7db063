#include "agent_loop.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_trap.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace conform {
namespace {

constexpr char application[] = "chm-conform";

/// Serves what is ready, and waits for it for at most a twentieth of a second.
void serve_once()
{
    fd_set readable;
    fd_set writable;
    fd_set exceptional;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_ZERO(&exceptional);
    int count = 0;
    int block = 0;
    timeval wait = {0, 50'000};
    snmp_select_info(&count, &readable, &wait, &block);
    netsnmp_external_event_info(&count, &readable, &writable, &exceptional);
    int ready = select(count, &readable, &writable, &exceptional, &wait);
    if (ready > 0) {
        netsnmp_dispatch_external_events(&ready, &readable, &writable, &exceptional);
        snmp_read(&readable);
    }
    run_alarms();
}

} // namespace

void start_agent()
{
    snmp_enable_stderrlog();
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
    init_agent(application);
}

void configure_agent(const std::vector<std::string>& lines)
{
    const int file = memfd_create("snmpd.conf", MFD_CLOEXEC);
    for (const std::string& line : lines) {
        dprintf(file, "%s\n", line.c_str());
    }
    // The name has a meaning for this process alone; messages give the number of the line.
    const std::string name = "/proc/self/fd/" + std::to_string(file);
    if (file < 0 || read_config_with_type(name.c_str(), application) != SNMPERR_SUCCESS) {
        throw std::runtime_error("the configuration lines cannot be read");
    }
    close(file);
}

void serve(double seconds, const std::function<bool()>& done)
{
    using namespace std::chrono;
    const auto end = steady_clock::now() + duration_cast<nanoseconds>(duration<double>(seconds));
    while (steady_clock::now() < end || !done()) {
        serve_once();
    }
}

int serve_while_running(const std::string& command, double seconds)
{
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    }
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    serve(seconds, [&, ended = false]() mutable {
        ended = ended || waitpid(child, &status, WNOHANG) != 0;
        return ended;
    });
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace conform
