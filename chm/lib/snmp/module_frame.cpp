#include "module_frame.h"

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
    // The agent only reads the root, whatever its prototype says.
    unregister_mib(const_cast<oid*>(module.root.data()), module.root.size());
}

void register_handlers(const MibModule& module)
{
    for (const EventHandler& handler : module.handlers) {
        register_for_notification(static_cast<uint32_t>(handler.event), handler.handler);
    }
}

void unregister_handlers(const MibModule& module)
{
    for (const EventHandler& handler : module.handlers) {
        unregister_for_notification(static_cast<uint32_t>(handler.event));
    }
}
