/// The C interface of the simulated switch: the functions of the switch's libraries that the shared
/// object exports, and the guard that keeps exceptions inside.
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include "platform_types.h"

// Everything else is hidden: libchmplatform.so exports exactly these declarations.
#pragma GCC visibility push(default)
#include "platform.h"

extern "C" {
void init_chmplatform();
void deinit_chmplatform();
}
#pragma GCC visibility pop

#include <exception>
#include <type_traits>

namespace sim {

/// Runs the body of a function that C calls. An exception is logged in the agent's log.
/// @return what the body returns, or `failure`
template <typename Body>
auto guard(std::invoke_result_t<Body> failure, Body body) noexcept
{
    try {
        return body();
    } catch (const std::exception& error) {
        snmp_log(LOG_ERR, "simulated switch: %s\n", error.what());
        return failure;
    }
}

/// The same for a body that returns nothing.
template <typename Body>
void guard(Body body) noexcept
{
    guard(0, [&] {
        body();
        return 0;
    });
}

} // namespace sim
