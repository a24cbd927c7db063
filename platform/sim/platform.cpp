// The simulated switch as the agent loads it: its entry points and its lines in snmpd.conf.

#include "control/control_socket.h"
#include "files/chassis_file.h"
#include "libraries/c_boundary.h"
#include "libraries/event_queue.h"
#include "libraries/heartbeat.h"
#include "libraries/platform_manager.h"
#include "libraries/request_user.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <dlfcn.h>
#include <stdexcept>
#include <utility>

namespace sim {
namespace {

ControlSocket control_socket;
void* own_handle = nullptr; ///< keeps the libraries in the global scope
unsigned int alarm = 0;     ///< the agent's, every second

/// The agent loads modules into scopes of their own. The MIB modules that it loads later find the
/// switch's libraries only in the global one.
void enter_global_scope()
{
    Dl_info self{};
    if (dladdr(reinterpret_cast<void*>(&init_chmplatform), &self) != 0) {
        own_handle = dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
    }
    if (own_handle == nullptr) {
        throw std::runtime_error("cannot make the switch's libraries visible to the MIB modules");
    }
}

void leave_global_scope()
{
    if (own_handle != nullptr) {
        dlclose(std::exchange(own_handle, nullptr));
    }
}

/// Runs the action of a line of snmpd.conf; errors are reported with the line.
template <typename Action>
void configure(char* line, Action action)
{
    try {
        char path[4096];
        copy_nword(line, path, sizeof path);
        action(std::string(path));
    } catch (const std::exception& error) {
        netsnmp_config_error("%s", error.what());
    }
}

/// The agent reads its configuration again on SIGHUP; the chassis then stays in place.
void on_chassis(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& file) {
        const Chassis* chassis = chassis_in_place();
        if (chassis == nullptr || chassis->file() != file) {
            place_chassis(load_chassis(file));
        }
    });
}

void on_control(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& path) { control_socket.open(path); });
}

void on_second(unsigned int /*alarm*/, void* /*unused*/)
{
    leave_request();
    guard([] {
        feed_watchdog();
        control_socket.resume();
        if (Chassis* chassis = chassis_in_place()) {
            chassis->advance();
        }
    });
}

void start_clock()
{
    alarm = snmp_alarm_register(1, SA_REPEAT, on_second, nullptr);
    if (alarm == 0) {
        throw std::runtime_error("the agent gives no alarm");
    }
}

void stop_clock()
{
    snmp_alarm_unregister(std::exchange(alarm, 0));
}

} // namespace
} // namespace sim

void init_chmplatform()
{
    sim::guard([] {
        sim::enter_global_scope();
        sim::start_tracking_requests();
        sim::start_event_delivery();
        sim::find_watchdog();
        sim::start_clock();
        snmpd_register_config_handler("chmChassis", sim::on_chassis, nullptr, "FILE");
        snmpd_register_config_handler("chmControl", sim::on_control, nullptr, "SOCKET");
    });
}

void deinit_chmplatform()
{
    sim::guard([] {
        snmpd_unregister_config_handler("chmControl");
        snmpd_unregister_config_handler("chmChassis");
        sim::control_socket.close();
        sim::stop_clock();
        sim::stop_event_delivery();
        sim::stop_tracking_requests();
        sim::leave_global_scope();
    });
}
