/* Copies bounded by the size of the destination. */
#ifndef BOUNDED_COPY_H
#define BOUNDED_COPY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The switch's own names, underscores included. NOLINTBEGIN(*-reserved-identifier) */

/**
 * Copies n bytes, but never more than capacity of them.
 * @param capacity room at the destination in bytes
 * @return the destination
 */
void* __memcpy_to_buf(size_t capacity, void* destination, const void* source, size_t n);

/**
 * Copies a NUL-terminated text, cut to capacity - 1 bytes; the result is NUL-terminated unless
 * capacity is 0, when nothing is written.
 * @param capacity room at the destination in bytes
 * @return the destination
 */
char* __strcpy_to_buf(size_t capacity, char* destination, const char* source);

/* NOLINTEND(*-reserved-identifier) */

#ifdef __cplusplus
}
#endif

#endif
