// The simulated switch as the agent loads it: its entry points and its lines in snmpd.conf.

#include "control/control_socket.h"
#include "files/chassis_file.h"
#include "files/state_file.h"
#include "interfaces/identity.h"
#include "interfaces/if_mib.h"
#include "libraries/c_boundary.h"
#include "libraries/event_queue.h"
#include "libraries/heartbeat.h"
#include "libraries/platform_manager.h"
#include "libraries/request_user.h"

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/ds_agent.h>

#include <charconv>
#include <dlfcn.h>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace sim {
namespace {

ControlSocket control_socket;
void* own_handle = nullptr; ///< keeps the libraries in the global scope
unsigned int alarm = 0;     ///< the agent's, every second
std::string state_path;     ///< of the line before that of the chassis, empty for none
std::unique_ptr<StateFile> state;
Individual individual; ///< of the lines before that of the chassis

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

void save_state()
{
    guard([] { state->save(*chassis_in_place()); });
}

/// A chassis as its file and its state say. A state that does not fit stays unused and unchanged.
Chassis restored_chassis(const std::string& file)
{
    Chassis chassis = load_chassis(file, Clock::now, individual);
    state.reset();
    if (state_path.empty()) {
        return chassis;
    }
    try {
        state = std::make_unique<StateFile>(state_path, chassis);
    } catch (const FileError& error) {
        netsnmp_config_error("%s", error.what());
        return load_chassis(file, Clock::now,
                            individual); // without what was applied before the error
    }
    chassis.observe_writes(save_state);
    return chassis;
}

/// Starts count on from the last one; the agent adds one itself.
void continue_engine_boots()
{
    std::string line = "engineBoots " + std::to_string(state->engine_boots() - 1);
    netsnmp_config(line.data());
    save_state();
}

/// As a sub-agent the switch leaves its system group and its interfaces to the master, which has
/// its own.
void serve_standard_modules()
{
    if (netsnmp_ds_get_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE) == 0) {
        identify(*chassis_in_place());
        serve_interfaces(*chassis_in_place());
    }
}

/// Takes the value of a line that describes the chassis. It stays when the agent reads its
/// configuration again.
template <typename Value>
void set_before_chassis(Value& value, const Value& given)
{
    if (chassis_in_place() == nullptr) {
        value = given;
    } else if (given != value) {
        throw std::runtime_error("the line belongs before that of the chassis");
    }
}

void on_state(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& path) { set_before_chassis(state_path, path); });
}

void on_serial(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& serial) {
        if (serial.empty() || serial.size() > max_own_serial) {
            throw std::runtime_error("a serial number has 1 to " + std::to_string(max_own_serial) +
                                     " bytes");
        }
        set_before_chassis(individual.serial, serial);
    });
}

void on_load(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& percent) {
        uint32_t load = 0;
        const char* end = percent.data() + percent.size();
        const auto [stop, error] = std::from_chars(percent.data(), end, load);
        if (error != std::errc() || stop != end || load > max_load) {
            throw std::runtime_error("a load is 0 to " + std::to_string(max_load) + " percent");
        }
        set_before_chassis(individual.load, load);
    });
}

/// The agent reads its configuration again on SIGHUP; the chassis then stays in place.
void on_chassis(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& file) {
        const Chassis* chassis = chassis_in_place();
        if (chassis == nullptr || chassis->file() != file) {
            place_chassis(restored_chassis(file));
            if (state) {
                continue_engine_boots();
            }
        }
        serve_standard_modules();
    });
}

void on_control(const char* /*token*/, char* line)
{
    configure(line, [](const std::string& path) { control_socket.open(path); });
}

void on_heartbeat(const char* /*token*/, char* line)
{
    configure(line, keep_heartbeat_file);
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

/// The agent's table of loaded modules shows paths of the machine.
void on_hide_loader(const char* /*token*/, char* /*line*/)
{
    const oid loader[] = {1, 3, 6, 1, 4, 1, 2021, 13, 14};
    netsnmp_subtree* found = netsnmp_subtree_find_first("");
    while (found != nullptr) {
        const netsnmp_handler_registration* registration = found->reginfo;
        const bool is_loader =
            registration != nullptr &&
            netsnmp_oid_is_subtree(loader, std::size(loader), registration->rootoid,
                                   registration->rootoid_len) == 0;
        found = found->next;
        if (is_loader) {
            // The agent frees the registration, and then still reads what it was called with.
            std::vector<oid> root(registration->rootoid,
                                  registration->rootoid + registration->rootoid_len);
            unregister_mib(root.data(), root.size());
            found = netsnmp_subtree_find_first(""); // the tree is another one now
        }
    }
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
        sim::follow_system_writes();
        snmpd_register_config_handler("chmHideLoader", sim::on_hide_loader, nullptr, "yes");
        snmpd_register_config_handler("chmState", sim::on_state, nullptr, "FILE");
        snmpd_register_config_handler("chmSerial", sim::on_serial, nullptr, "TEXT");
        snmpd_register_config_handler("chmLoad", sim::on_load, nullptr, "PERCENT");
        snmpd_register_config_handler("chmChassis", sim::on_chassis, nullptr, "FILE");
        snmpd_register_config_handler("chmHeartbeat", sim::on_heartbeat, nullptr, "FILE");
        snmpd_register_config_handler("chmControl", sim::on_control, nullptr, "SOCKET");
    });
}

void deinit_chmplatform()
{
    sim::guard([] {
        snmpd_unregister_config_handler("chmControl");
        snmpd_unregister_config_handler("chmHeartbeat");
        snmpd_unregister_config_handler("chmChassis");
        snmpd_unregister_config_handler("chmLoad");
        snmpd_unregister_config_handler("chmSerial");
        snmpd_unregister_config_handler("chmState");
        snmpd_unregister_config_handler("chmHideLoader");
        sim::stop_serving_interfaces();
        sim::control_socket.close();
        sim::stop_clock();
        sim::stop_event_delivery();
        sim::stop_tracking_requests();
        sim::leave_global_scope();
    });
}
