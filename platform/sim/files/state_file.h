/// The state of a switch between its runs: what operators have written to it.
#pragma once

#include "files/file_error.h"
#include "model/chassis.h"

#include <cstdint>
#include <map>
#include <string>

namespace sim {

/// A TOML file with the labels and settings that differ from those of the chassis file. Settings of
/// entities that the chassis lacks are kept. Errors in the file throw FileError, and then nothing
/// is written to it.
class StateFile {
public:
    /// Reads the file, if there is one, and applies it to a chassis of whose file it is the state.
    StateFile(std::string path, Chassis& chassis);

    const std::string& path() const { return path_; }

    /// Number of the current start of the SNMP engine, higher than that of any start before.
    uint32_t engine_boots() const { return engine_boots_; }

    /// Writes the file if something has changed. A process that is killed meanwhile leaves the old
    /// file or the new one. Throws std::system_error if it cannot be written; the next call tries
    /// again.
    void save(Chassis& chassis);

private:
    using Settings = std::map<std::string, std::string>; ///< values by dotted keys

    void apply(Chassis& chassis);
    std::string content() const;

    std::string path_;
    std::string chassis_serial_;
    uint32_t engine_boots_ = 0;
    Settings usual_;      ///< of the chassis file, those that are not as usual
    Settings settings_;   ///< that differ from it
    std::string written_; ///< content of the file
};

} // namespace sim
