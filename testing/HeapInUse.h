// How much memory this process holds.
#ifndef TESTING_HEAPINUSE_H
#define TESTING_HEAPINUSE_H

#include <cstddef>

/// Bytes that all threads have allocated and not freed, also those never written to.
std::size_t heapInUse();

/// How much room there is in a block of `malloc` or `new`.
std::size_t usableSize(void *block);

#endif
