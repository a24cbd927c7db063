/// Errors in files written by people.
#pragma once

#include <stdexcept>
#include <string>

namespace sim {

/// An error in a file, as "FILE:LINE: what", or "FILE: what" for the file as a whole.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Several errors of one file.
class FileErrors {
public:
    /// Does a part of the reading. Its error is kept, so that those of other parts are found too:
    /// throw_all() comes before anything that depends on the part.
    void attempt(auto&& read)
    {
        try {
            read();
        } catch (const FileError& error) {
            errors_ += errors_.empty() ? "" : "\n";
            errors_ += error.what();
        }
    }

    /// Throws the errors so far, if any, as one FileError with a line for each.
    void throw_all() const
    {
        if (!errors_.empty()) {
            throw FileError(errors_);
        }
    }

private:
    std::string errors_;
};

} // namespace sim
