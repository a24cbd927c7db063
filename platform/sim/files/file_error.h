/// Errors in files written by people.
#pragma once

#include <stdexcept>
#include <string>

namespace sim {

/// The errors of a file, a line for each: "FILE:LINE: what", or "FILE: what" for the file as a
/// whole.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace sim
