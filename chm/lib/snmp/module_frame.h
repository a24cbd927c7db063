/// The frame of a MIB module: its registrations with the agent and the transport.
#pragma once

#include "agent.h"
#include "ipcx.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// The agent that loads the library finds entry points by name.
#define CHM_ENTRY_POINT extern "C" [[gnu::visibility("default")]]

/// A platform event and the handler that turns it into a notification.
struct EventHandler {
    uint32_t event;
    ipcx_event_handler* handler;
};

/// A MIB module: its variables below its root, and the platform events that it handles.
struct MibModule {
    const char* name;
    const void* variables; ///< the agent's variable records, long or short form, in OID order
    size_t entry_size;     ///< of one of them, in bytes
    size_t entry_count;
    std::span<const oid> root;
    std::span<const EventHandler> handlers;

    template <typename Variable, size_t Count>
    constexpr MibModule(const char* module_name, const Variable (&table)[Count],
                        std::span<const oid> module_root,
                        std::span<const EventHandler> module_handlers = {})
        : name(module_name), variables(table), entry_size(sizeof(Variable)), entry_count(Count),
          root(module_root), handlers(module_handlers)
    {
    }
};

/// Print the start and the end of an entry point to standard output.
void print_enter(const char* entry_point = __builtin_FUNCTION());
void print_exit(const char* entry_point = __builtin_FUNCTION());

/// Registers the module's variables with the agent. A failure is written to the agent's debug
/// output when that is on, with the entry point and its place in the source, and changes nothing
/// else.
void register_variables(const MibModule& module, const char* entry_point = __builtin_FUNCTION(),
                        const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// Unregisters the module's variables from the agent.
void unregister_variables(const MibModule& module);

/// Register the module's event handlers with the transport, in their order, and unregister them.
void register_handlers(const MibModule& module);
void unregister_handlers(const MibModule& module);

/// The entry points of most modules: both halves, between the two prints.
void init_module(const MibModule& module, const char* entry_point = __builtin_FUNCTION(),
                 const char* file = __builtin_FILE(), int line = __builtin_LINE());
void deinit_module(const MibModule& module, const char* entry_point = __builtin_FUNCTION());
