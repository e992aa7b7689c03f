#include "testing/HeapInUse.h"

#include <malloc.h>

// Only there when AddressSanitizer's allocator is, which the C library's own counters know nothing of.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

std::size_t heapInUse()
{
    if (__sanitizer_get_current_allocated_bytes)
        return __sanitizer_get_current_allocated_bytes();
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::size_t usableSize(void *block)
{
    return ::malloc_usable_size(block);
}
