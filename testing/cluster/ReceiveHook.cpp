#include "testing/cluster/ReceiveHook.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <sys/types.h>

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

/// These take the places of the system's functions in this program and call them.
extern "C" ssize_t recv(int descriptor, void *buffer, size_t size, int flags)
{
    typedef ssize_t (*Receive)(int, void *, size_t, int);
    static const Receive systemReceive = reinterpret_cast<Receive>(::dlsym(RTLD_NEXT, "recv"));
    const ssize_t received = systemReceive(descriptor, buffer, size, flags);
    if (current && received > 0)
        current->received(received);
    return received;
}

extern "C" ssize_t recvmsg(int descriptor, msghdr *message, int flags)
{
    typedef ssize_t (*Receive)(int, msghdr *, int);
    static const Receive systemReceive = reinterpret_cast<Receive>(::dlsym(RTLD_NEXT, "recvmsg"));
    const ssize_t received = systemReceive(descriptor, message, flags);
    if (current && received > 0)
        current->received(received);
    return received;
}
