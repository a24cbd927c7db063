/// The directory in which a running switch has its files.
#pragma once

#include "libraries/unix_socket.h"

#include <cstdint>
#include <string>

class StateDirectory {
public:
    /// Claims the directory of a UDP port: its holder is the one switch of the port. What a killed
    /// one left in it is removed. Throws std::runtime_error if another switch holds it.
    explicit StateDirectory(uint32_t port);

    StateDirectory(StateDirectory&&) noexcept = default;
    StateDirectory& operator=(StateDirectory&&) = delete;
    StateDirectory(const StateDirectory&) = delete;
    StateDirectory& operator=(const StateDirectory&) = delete;

    /// Removes the directory, unless that has been done.
    ~StateDirectory();

    std::string file(const char* name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

private:
    bool is_held() const;

    std::string path_;
    sim::Descriptor lock_;
};
