/// What is wrong in a file that a person wrote.
#pragma once

#include <stdexcept>

namespace sim {

/// What is wrong in a file, as "FILE:LINE: what", or "FILE: what" of a file as a whole.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace sim
