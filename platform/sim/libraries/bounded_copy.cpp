#include "libraries/c_boundary.h"

#include <algorithm>
#include <cstring>

// NOLINTBEGIN(*-reserved-identifier)

void* __memcpy_to_buf(size_t capacity, void* destination, const void* source, size_t n)
{
    if (const size_t copied = std::min(capacity, n); copied > 0) {
        std::memcpy(destination, source, copied);
    }
    return destination;
}

char* __strcpy_to_buf(size_t capacity, char* destination, const char* source)
{
    if (capacity > 0) {
        const size_t copied = strnlen(source, capacity - 1);
        std::memcpy(destination, source, copied);
        destination[copied] = '\0';
    }
    return destination;
}

// NOLINTEND(*-reserved-identifier)
