#include "testing/MemoryWatch.h"

#ifdef __SANITIZE_ADDRESS__

#include <atomic>

// GCC brings the function without the header that declares it.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*allocated)(const volatile void *, std::size_t),
                                                         void (*released)(const volatile void *));

namespace {

std::atomic<bool> isWatching(false);
std::atomic<std::size_t> largest(0);

void noteAllocation(const volatile void *, std::size_t size)
{
    if (!isWatching)
        return;
    std::size_t seen = largest;
    while (size > seen && !largest.compare_exchange_weak(seen, size)) {
    }
}

void noteRelease(const volatile void *) {}

} // namespace

MemoryWatch::MemoryWatch() : m_before(0)
{
    static const int installed = __sanitizer_install_malloc_and_free_hooks(noteAllocation, noteRelease);
    static_cast<void>(installed);
    largest = 0;
    isWatching = true;
}

MemoryWatch::~MemoryWatch()
{
    isWatching = false;
}

std::size_t MemoryWatch::largestGrowth() const
{
    return largest;
}

#else

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/// The peak of the process's virtual memory, in bytes.
std::size_t peak()
{
    std::size_t kilobytes = 0;
    char line[256];
    std::FILE *status = std::fopen("/proc/self/status", "r");
    while (status && std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, "VmPeak:", 7) == 0)
            kilobytes = static_cast<std::size_t>(std::atol(line + 7));
    }
    if (status)
        std::fclose(status);
    return kilobytes * 1024;
}

} // namespace

MemoryWatch::MemoryWatch() : m_before(peak()) {}

MemoryWatch::~MemoryWatch() {}

std::size_t MemoryWatch::largestGrowth() const
{
    return peak() - m_before;
}

#endif
