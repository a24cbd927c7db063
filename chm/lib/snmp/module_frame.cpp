#include "module_frame.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

void print_enter(const char* entry_point)
{
    printf("DEBUG : ENTER %s \n", entry_point);
}

void print_exit(const char* entry_point)
{
    printf("DEBUG : EXIT %s \n", entry_point);
}

void register_variables(const MibModule& module, const char* entry_point, const char* file,
                        int line)
{
    const int status =
        register_mib(module.name, static_cast<const variable*>(module.variables), module.entry_size,
                     module.entry_count, module.root.data(), module.root.size());
    if (status != MIB_REGISTERED_OK && snmp_get_do_debugging() != 0) {
        debugmsgtoken("trace", "%s(): %s, %d:\n", entry_point, file, line);
        debugmsg("trace", "%s(): %s, %d:\n", entry_point, file, line);
        debugmsgtoken("register_mib", "%s registration failed\n", module.name);
        debugmsg("register_mib", "%s registration failed\n", module.name);
    }
}

void unregister_variables(const MibModule& module)
{
    oid name[MAX_OID_LEN];
    std::copy(module.root.begin(), module.root.end(), name);
    if (unregister_mib(name, module.root.size()) == MIB_UNREGISTERED_OK) {
        return;
    }
    // An agent that has registered each variable by itself, as a stock one does, finds nothing
    // under the root. What stayed registered would be called when this library is no longer there.
    const auto* table = static_cast<const u_char*>(module.variables);
    for (size_t i = 0; i < module.entry_count; ++i) {
        // Both forms of the record begin alike; only the room for the OID differs.
        const auto* entry = reinterpret_cast<const variable1*>(table + i * module.entry_size);
        std::copy_n(entry->name, entry->namelen, name + module.root.size());
        unregister_mib(name, module.root.size() + entry->namelen);
    }
}

void register_handlers(const MibModule& module)
{
    for (const EventHandler& handler : module.handlers) {
        register_for_notification(handler.event, handler.handler);
    }
}

void unregister_handlers(const MibModule& module)
{
    for (const EventHandler& handler : module.handlers) {
        unregister_for_notification(handler.event);
    }
}
