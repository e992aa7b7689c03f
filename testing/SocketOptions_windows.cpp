#include "testing/SocketOptions.h"

namespace {

bool isWine()
{
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace

bool showsResets()
{
    return !isWine();
}

bool waitsForAll()
{
    return !isWine();
}

bool isNagleOff(platform::SocketHandle handle)
{
    int on = 0;
    int size = sizeof on;
    ::getsockopt(static_cast<SOCKET>(handle), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<char *>(&on), &size);
    return on != 0;
}

bool isInherited(platform::SocketHandle handle)
{
    DWORD flags = HANDLE_FLAG_INHERIT;
    ::GetHandleInformation(reinterpret_cast<HANDLE>(static_cast<SOCKET>(handle)), &flags);
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}

std::uint16_t peerPort(platform::SocketHandle handle)
{
    sockaddr_in address = sockaddr_in();
    int size = sizeof address;
    ::getpeername(static_cast<SOCKET>(handle), reinterpret_cast<sockaddr *>(&address), &size);
    return ntohs(address.sin_port);
}
