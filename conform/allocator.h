/// The process's malloc, which remembers its blocks: a platform's block can be examined before it
/// is freed, and stays readable afterwards, so that a platform that goes on using it is found out.
#pragma once

#include <cstddef>

namespace conform {

enum class BlockState {
    unknown, ///< no block of malloc begins there
    live,
    freed,
};

struct Block {
    BlockState state = BlockState::unknown;
    size_t size = 0; ///< as it was asked for, in bytes
};

/// What begins at an address.
Block block_at(const void* address);

/// Bytes from an address to the end of the live block that it lies in, 0 if it lies in none.
size_t bytes_left_at(const void* address);

/// Frees a live block, but keeps its memory and overwrites it.
void release(void* block);

/// How many times since the last call the platform freed a block that was freed before.
size_t take_double_frees();

} // namespace conform
