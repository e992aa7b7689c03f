#include "testing/SocketOptions.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

bool showsResets()
{
    return true;
}

bool waitsForAll()
{
    return true;
}

bool isNagleOff(platform::SocketHandle handle)
{
    int on = 0;
    socklen_t size = sizeof on;
    ::getsockopt(static_cast<int>(handle), IPPROTO_TCP, TCP_NODELAY, &on, &size);
    return on != 0;
}

bool isInherited(platform::SocketHandle handle)
{
    return !(::fcntl(static_cast<int>(handle), F_GETFD) & FD_CLOEXEC);
}

std::uint16_t peerPort(platform::SocketHandle handle)
{
    sockaddr_in address = sockaddr_in();
    socklen_t size = sizeof address;
    ::getpeername(static_cast<int>(handle), reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin_port);
}
