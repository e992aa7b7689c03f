// What one thread at a time has ordered of the process: found by that thread, not there for any other.
#ifndef TESTING_OFONETHREAD_H
#define TESTING_OFONETHREAD_H

#include "testing/SystemCallPlan.h"

#include <atomic>
#include <cstdint>

/// Not thread_local: a thread's first look at such a variable may take memory, and tests count what takes memory.
template <typename T> class OfOneThread
{
public:
    constexpr OfOneThread() : m_owner(0), m_value(nullptr) {}

    /// Null in every thread but the one that has set it.
    T *get() const
    {
        const std::uint64_t owner = m_owner;
        return owner != 0 && owner == system_call_plan::currentThread() ? m_value : nullptr;
    }

    /// Null gives it up. Another thread may set it only then.
    void set(T *value)
    {
        m_value = value;
        m_owner = value ? system_call_plan::currentThread() : 0;
    }

private:
    std::atomic<std::uint64_t> m_owner;
    T *m_value;
};

#endif
