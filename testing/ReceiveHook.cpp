#include "testing/ReceiveHook.h"

#include "testing/OfOneThread.h"

namespace {

OfOneThread<ReceiveHook> current;

} // namespace

ReceiveHook::ReceiveHook(Function function) : m_function(function), m_received(0)
{
    current.set(this);
}

ReceiveHook::~ReceiveHook()
{
    current.set(nullptr);
}

void ReceiveHook::received(std::int64_t bytes)
{
    m_received += bytes;
    // What the function receives itself does not count.
    current.set(nullptr);
    m_function(m_received);
    current.set(this);
}

void ReceiveHook::noteReceived(std::int64_t bytes)
{
    ReceiveHook *const hook = current.get();
    if (hook && bytes > 0)
        hook->received(bytes);
}
