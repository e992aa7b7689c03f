// How much memory the process takes for itself at once while something is done.
#ifndef TESTING_MEMORYWATCH_H
#define TESTING_MEMORYWATCH_H

#include <cstddef>

/// One object at a time.
class MemoryWatch
{
public:
    MemoryWatch();
    ~MemoryWatch();
    MemoryWatch(const MemoryWatch &) = delete;
    MemoryWatch &operator=(const MemoryWatch &) = delete;

    /// Bytes, since construction: with AddressSanitizer the largest single allocation, else how far the address space
    /// has grown above its highest extent before.
    std::size_t largestGrowth() const;

private:
    std::size_t m_before;
};

#endif
