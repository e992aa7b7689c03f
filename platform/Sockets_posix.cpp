#include "platform/Sockets.h"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace platform {

namespace {

int descriptor(SocketHandle handle)
{
    return handle == kInvalidSocket ? -1 : static_cast<int>(handle);
}

/// Receives into the places that `message` lists.
std::int64_t receive(SocketHandle handle, msghdr *message, int flags)
{
    errno = 0;
    ssize_t received;
    do {
        received = ::recvmsg(descriptor(handle), message, flags);
    } while (received < 0 && errno == EINTR);
    return received;
}

std::int64_t receive(SocketHandle handle, char *buffer, std::uint32_t length, int flags)
{
    // An orderly close is no error: what it leaves for lastSocketError should not be an older call's.
    errno = 0;
    ssize_t received;
    do {
        received = ::recv(descriptor(handle), buffer, length, flags);
    } while (received < 0 && errno == EINTR);
    return received;
}

bool isNothingThere(std::int64_t received)
{
    return received < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
}

/// Also true when asking fails: the receive that follows says why.
bool isReadableWithin(SocketHandle handle, int milliseconds)
{
    pollfd readable = {descriptor(handle), POLLIN, 0};
    int ready;
    do {
        ready = ::poll(&readable, 1, milliseconds);
    } while (ready < 0 && errno == EINTR);
    return ready != 0;
}

} // namespace

int startSockets()
{
    return 0;
}

SocketHandle openSocket(int family, int type, int protocol)
{
    const int fd = ::socket(family, type | SOCK_CLOEXEC, protocol);
    return fd < 0 ? kInvalidSocket : static_cast<SocketHandle>(fd);
}

int connectSocket(SocketHandle handle, const struct sockaddr *address, std::size_t addressSize)
{
    if (::connect(descriptor(handle), address, static_cast<socklen_t>(addressSize)) == 0)
        return 0;
    if (errno != EINTR)
        return -1;
    // An interrupted connect goes on by itself; calling it again would fail with EALREADY.
    pollfd writable = {descriptor(handle), POLLOUT, 0};
    int ready;
    do {
        ready = ::poll(&writable, 1, -1);
    } while (ready < 0 && errno == EINTR);
    const int error = pendingError(handle);
    if (ready == 1 && error == 0)
        return 0;
    if (error > 0)
        errno = error;
    return -1;
}

void closeSocket(SocketHandle handle)
{
    if (handle == kInvalidSocket)
        return;
    const int error = errno;
    ::close(descriptor(handle));
    errno = error;
}

void setNoDelay(SocketHandle handle)
{
    const int on = 1;
    ::setsockopt(descriptor(handle), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void setReceiveLowWater(SocketHandle handle, std::uint32_t bytes)
{
    const int mark = static_cast<int>(bytes);
    ::setsockopt(descriptor(handle), SOL_SOCKET, SO_RCVLOWAT, &mark, sizeof mark);
}

void requestLoopbackFastPath(SocketHandle) {}

int pendingError(SocketHandle handle)
{
    int error = 0;
    socklen_t size = sizeof error;
    if (::getsockopt(descriptor(handle), SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        return -1;
    return error;
}

std::int32_t bytesReadable(SocketHandle handle)
{
    int count = -1;
    ::ioctl(descriptor(handle), FIONREAD, &count);
    return count;
}

std::int64_t sendOnce(SocketHandle handle, const char *buffer, std::uint32_t length)
{
    ssize_t sent;
    do {
        sent = ::send(descriptor(handle), buffer, length, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

std::int64_t receiveOnce(SocketHandle handle, char *buffer, std::uint32_t length)
{
    return receive(handle, buffer, length, 0);
}

std::int64_t receiveWhole(SocketHandle handle, char *buffer, std::uint32_t length)
{
    return receive(handle, buffer, length, MSG_WAITALL);
}

std::int64_t receiveWithin(SocketHandle handle, char *buffer, std::uint32_t length, int milliseconds)
{
    const std::int64_t received = receive(handle, buffer, length, MSG_DONTWAIT);
    if (!isNothingThere(received))
        return received;
    return isReadableWithin(handle, milliseconds) ? receive(handle, buffer, length, 0) : kTimedOut;
}

std::int64_t receiveScattered(SocketHandle handle, char *buffer, std::uint32_t length, char *behind,
                              std::uint32_t behindLength, int milliseconds)
{
    iovec places[] = {{buffer, length}, {behind, behindLength}};
    msghdr message = msghdr();
    message.msg_iov = places;
    message.msg_iovlen = 2;
    if (milliseconds == kNoLimit)
        return receive(handle, &message, 0);
    const std::int64_t received = receive(handle, &message, MSG_DONTWAIT);
    if (!isNothingThere(received))
        return received;
    return isReadableWithin(handle, milliseconds) ? receive(handle, &message, 0) : kTimedOut;
}

int lastSocketError()
{
    return errno;
}

std::string socketErrorText(int error)
{
    return std::strerror(error);
}

} // namespace platform
