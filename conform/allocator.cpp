#include "allocator.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <span>
#include <sys/mman.h>
#include <utility>

// The C library's own, under the names that it keeps for those who replace them.
// NOLINTBEGIN(*-reserved-identifier)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);
}
// NOLINTEND(*-reserved-identifier)

namespace conform {
namespace {

class SpinLock {
public:
    void lock()
    {
        while (flag_.test_and_set(std::memory_order_acquire)) {
        }
    }
    void unlock() { flag_.clear(std::memory_order_release); }

private:
    std::atomic_flag flag_;
};

struct Slot {
    uintptr_t address;
    uint32_t size;
    BlockState state;
};

/// Addresses stay in their slots when their blocks are freed. The kernel gives the pages that are
/// used; far fewer than these are.
constexpr size_t slot_count = size_t{1} << 20;

SpinLock lock; ///< of all below; a platform may have threads
Slot* slot_table = nullptr;
size_t used = 0;
size_t double_frees = 0;

/// The slot of an address, or the free one where it belongs; null when there are no slots left.
Slot* slot_of(const void* block)
{
    const auto address = reinterpret_cast<uintptr_t>(block);
    if (slot_table == nullptr) {
        void* pages = mmap(nullptr, slot_count * sizeof(Slot), PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (pages == MAP_FAILED) {
            abort();
        }
        slot_table = static_cast<Slot*>(pages);
    }
    for (size_t at = address / 16 * 2654435761U % slot_count;; at = (at + 1) % slot_count) {
        if (slot_table[at].address == address) {
            return &slot_table[at];
        }
        if (slot_table[at].address == 0) {
            return used < slot_count / 4 * 3 ? &slot_table[at] : nullptr;
        }
    }
}

void* remember(void* block, size_t size)
{
    if (block == nullptr) {
        return nullptr;
    }
    const std::lock_guard guard(lock);
    if (Slot* slot = slot_of(block)) {
        used += slot->address == 0 ? 1 : 0;
        *slot = {reinterpret_cast<uintptr_t>(block), static_cast<uint32_t>(size), BlockState::live};
    }
    return block;
}

/// @return whether the C library may free the block
bool forget(void* block)
{
    const std::lock_guard guard(lock);
    Slot* slot = slot_of(block);
    if (slot == nullptr || slot->address == 0) {
        return true; // the C library judges of what is no block
    }
    if (slot->state == BlockState::freed) {
        ++double_frees;
        return false;
    }
    slot->state = BlockState::freed;
    return true;
}

} // namespace

Block block_at(const void* address)
{
    const std::lock_guard guard(lock);
    const Slot* slot = slot_of(address);
    return slot == nullptr || slot->address == 0 ? Block{} : Block{slot->state, slot->size};
}

size_t bytes_left_at(const void* address)
{
    const std::lock_guard guard(lock);
    const auto wanted = reinterpret_cast<uintptr_t>(address);
    for (const Slot& slot : std::span(slot_table, slot_count)) {
        if (slot.state == BlockState::live && wanted - slot.address < slot.size) {
            return slot.size - (wanted - slot.address);
        }
    }
    return 0;
}

void release(void* block)
{
    const Block known = block_at(block);
    if (known.state == BlockState::live && forget(block)) {
        std::memset(block, 0xa5, known.size);
    }
}

size_t take_double_frees()
{
    const std::lock_guard guard(lock);
    return std::exchange(double_frees, 0);
}

} // namespace conform

using conform::forget;
using conform::remember;

// What the libraries find instead of the C library's, whose headers name parameters otherwise.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
#pragma GCC visibility push(default)
extern "C" {

void* malloc(size_t size)
{
    return remember(__libc_malloc(size), size);
}

void* calloc(size_t count, size_t size)
{
    return remember(__libc_calloc(count, size), count * size);
}

void* realloc(void* block, size_t size)
{
    if (block != nullptr && !forget(block)) {
        return nullptr;
    }
    return remember(__libc_realloc(block, size), size);
}

void* aligned_alloc(size_t alignment, size_t size)
{
    return remember(__libc_memalign(alignment, size), size);
}

void* memalign(size_t alignment, size_t size)
{
    return aligned_alloc(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size)
{
    void* aligned = aligned_alloc(alignment, size);
    if (aligned == nullptr) {
        return ENOMEM;
    }
    *block = aligned;
    return 0;
}

void free(void* block)
{
    if (block != nullptr && forget(block)) {
        __libc_free(block);
    }
}
}
#pragma GCC visibility pop
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
