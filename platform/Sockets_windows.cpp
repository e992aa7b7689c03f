#include "platform/Sockets.h"

#include <algorithm>
#include <limits>

#ifndef SIO_LOOPBACK_FAST_PATH
#define SIO_LOOPBACK_FAST_PATH 0x98000010
#endif

namespace platform {

namespace {

/// What the oldest Windows Sockets that has all that is used here calls itself.
const WORD kSocketsVersion = MAKEWORD(1, 1);

SOCKET systemSocket(SocketHandle handle)
{
    return handle == kInvalidSocket ? INVALID_SOCKET : static_cast<SOCKET>(handle);
}

/// Windows takes lengths as signed numbers; who wants more gets the rest with the next call.
int systemLength(std::uint32_t length)
{
    const std::uint32_t most = static_cast<std::uint32_t>(std::numeric_limits<int>::max());
    return static_cast<int>((std::min)(length, most));
}

std::int64_t receive(SocketHandle handle, char *buffer, std::uint32_t length, int flags)
{
    // An orderly close is no error: what it leaves for lastSocketError should not be an older call's.
    ::WSASetLastError(0);
    return ::recv(systemSocket(handle), buffer, systemLength(length), flags);
}

/// Also true when asking fails: the receive that follows says why.
bool isReadableWithin(SocketHandle handle, int milliseconds)
{
    fd_set readable;
    readable.fd_count = 1;
    readable.fd_array[0] = systemSocket(handle);
    timeval patience;
    patience.tv_sec = milliseconds / 1000;
    patience.tv_usec = milliseconds % 1000 * 1000;
    return ::select(0, &readable, nullptr, nullptr, &patience) != 0;
}

} // namespace

int startSockets()
{
    WSADATA data;
    return ::WSAStartup(kSocketsVersion, &data) == 0 ? 0 : 1;
}

SocketHandle openSocket(int family, int type, int protocol)
{
    const SOCKET opened = ::socket(family, type, protocol);
    if (opened == INVALID_SOCKET)
        return kInvalidSocket;
    ::SetHandleInformation(reinterpret_cast<HANDLE>(opened), HANDLE_FLAG_INHERIT, 0);
    return static_cast<SocketHandle>(opened);
}

int connectSocket(SocketHandle handle, const struct sockaddr *address, std::size_t addressSize)
{
    return ::connect(systemSocket(handle), address, static_cast<int>(addressSize)) == 0 ? 0 : -1;
}

void closeSocket(SocketHandle handle)
{
    if (handle == kInvalidSocket)
        return;
    const int error = ::WSAGetLastError();
    ::closesocket(systemSocket(handle));
    ::WSASetLastError(error);
}

void setNoDelay(SocketHandle handle)
{
    const int on = 1;
    ::setsockopt(systemSocket(handle), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on), sizeof on);
}

void setReceiveLowWater(SocketHandle, std::uint32_t) {}

void requestLoopbackFastPath(SocketHandle handle)
{
    int on = 1;
    DWORD written = 0;
    ::WSAIoctl(systemSocket(handle), SIO_LOOPBACK_FAST_PATH, &on, sizeof on, nullptr, 0, &written, nullptr, nullptr);
}

int pendingError(SocketHandle handle)
{
    int error = 0;
    int size = sizeof error;
    if (::getsockopt(systemSocket(handle), SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&error), &size) != 0)
        return -1;
    return error;
}

std::int32_t bytesReadable(SocketHandle handle)
{
    u_long count = static_cast<u_long>(-1);
    ::ioctlsocket(systemSocket(handle), FIONREAD, &count);
    return static_cast<std::int32_t>(count);
}

std::int64_t sendOnce(SocketHandle handle, const char *buffer, std::uint32_t length)
{
    return ::send(systemSocket(handle), buffer, systemLength(length), 0);
}

std::int64_t receiveOnce(SocketHandle handle, char *buffer, std::uint32_t length)
{
    return receive(handle, buffer, length, 0);
}

std::int64_t receiveWhole(SocketHandle handle, char *buffer, std::uint32_t length)
{
    // Windows waits for all of it. Wine does not: there it takes more than one call.
    std::uint32_t whole = 0;
    while (whole < length) {
        const std::int64_t received = receive(handle, buffer + whole, length - whole, MSG_WAITALL);
        if (received <= 0)
            return whole > 0 ? whole : received;
        whole += static_cast<std::uint32_t>(received);
    }
    return whole;
}

std::int64_t receiveWithin(SocketHandle handle, char *buffer, std::uint32_t length, int milliseconds)
{
    return isReadableWithin(handle, milliseconds) ? receive(handle, buffer, length, 0) : kTimedOut;
}

std::int64_t receiveScattered(SocketHandle handle, char *buffer, std::uint32_t length, char *behind,
                              std::uint32_t behindLength, int milliseconds)
{
    if (milliseconds != kNoLimit && !isReadableWithin(handle, milliseconds))
        return kTimedOut;
    WSABUF places[] = {{length, buffer}, {behindLength, behind}};
    DWORD received = 0;
    DWORD flags = 0;
    ::WSASetLastError(0);
    if (::WSARecv(systemSocket(handle), places, 2, &received, &flags, nullptr, nullptr) != 0)
        return -1;
    return received;
}

int lastSocketError()
{
    return ::WSAGetLastError();
}

std::string socketErrorText(int error)
{
    char *buffer = nullptr;
    ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, static_cast<DWORD>(error), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     reinterpret_cast<char *>(&buffer), 0, nullptr);
    // Null for a number that the system does not know.
    const std::string text = buffer ? buffer : "";
    ::LocalFree(buffer);
    return text;
}

} // namespace platform
