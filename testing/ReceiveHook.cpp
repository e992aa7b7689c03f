#include "testing/ReceiveHook.h"

namespace {

thread_local ReceiveHook *current = nullptr;

} // namespace

ReceiveHook::ReceiveHook(Function function) : m_function(function), m_received(0)
{
    current = this;
}

ReceiveHook::~ReceiveHook()
{
    current = nullptr;
}

void ReceiveHook::received(std::int64_t bytes)
{
    m_received += bytes;
    // What the function receives itself does not count.
    current = nullptr;
    m_function(m_received);
    current = this;
}

void ReceiveHook::noteReceived(std::int64_t bytes)
{
    if (current && bytes > 0)
        current->received(bytes);
}
