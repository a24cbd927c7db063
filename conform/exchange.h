/// Requests to the platform manager, each watched for what every request must keep to.
#pragma once

#include "report.h"
#include "wire/requests.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace conform {

using Bytes = std::vector<std::byte>;

/// A platform's result code with its text.
std::string result_text(int32_t result);

/// Examines a block that the platform returned, and releases it.
/// @param least  the bytes that it must have
/// @param blocks is violated when it has fewer, or cannot be freed
/// @return its first bytes, no more than `least` and than there are
Bytes take_block(void* block, size_t least, Line& blocks);

struct Reply {
    int32_t result = 0;
    bool has_block = false;
    Bytes bytes{}; ///< of the block, as many as the platform reported and there are
};

/// The requests of one opcode.
class Exchange {
public:
    explicit Exchange(const RequestCode& code);

    /// Sends a request. @param record its payload, empty for none @param length to send with it
    Reply ask(int32_t operation, const Bytes& record, uint32_t length);
    Reply ask(int32_t operation, const Bytes& record)
    {
        return ask(operation, record, static_cast<uint32_t>(record.size()));
    }

    /// Reports what every request must keep to.
    void close();

    const RequestCode& code() const { return code_; }

private:
    RequestCode code_;
    size_t requests_ = 0;
    Line blocks_, lengths_, payloads_;
};

/// The index of a row, as one number per word.
std::vector<uint32_t> key_of(const RequestCode& code, std::span<const std::byte> row);

/// A record that only has an index.
Bytes record_with_key(const RequestCode& code, std::span<const uint32_t> key);

/// An index in a name, such as "1003.2".
std::string key_text(std::span<const uint32_t> key);

} // namespace conform
