/// Where the switches that a user starts have their files.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace sim {

/// The directory of those of this user, and the start of their names in it.
inline std::string state_directory()
{
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime != nullptr && *runtime != '\0' ? runtime : "/tmp";
}
inline std::string state_name()
{
    return "chm-lab-" + std::to_string(geteuid()) + "-";
}

/// The directory of the switch of a UDP port; `run` uses the same.
inline std::string state_path(uint32_t port)
{
    return state_directory() + "/" + state_name() + std::to_string(port);
}

} // namespace sim
