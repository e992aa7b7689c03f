#include "testing/HeapInUse.h"

#include <malloc.h>
#include <windows.h>

std::size_t heapInUse()
{
    const HANDLE heap = reinterpret_cast<HANDLE>(::_get_heap_handle());
    std::size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry = PROCESS_HEAP_ENTRY();
    ::HeapLock(heap);
    while (::HeapWalk(heap, &entry)) {
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
            bytes += entry.cbData;
    }
    ::HeapUnlock(heap);
    return bytes;
}

std::size_t usableSize(void *block)
{
    return ::_msize(block);
}
