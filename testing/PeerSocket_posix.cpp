#include "testing/PeerSocket.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace peer_socket {

namespace {

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

int descriptor(Socket socket)
{
    return static_cast<int>(socket);
}

bool isForLater(ssize_t result)
{
    return result < 0 && (errno == EAGAIN || errno == EINTR);
}

} // namespace

Wake::Wake() : m_socket(::eventfd(0, EFD_CLOEXEC)) {}

Wake::~Wake()
{
    ::close(descriptor(m_socket));
}

void Wake::raise()
{
    const std::uint64_t one = 1;
    if (::write(descriptor(m_socket), &one, sizeof one) < 0)
        fail("eventfd");
}

Socket bindTo(const std::string &address, int *port)
{
    sockaddr_storage storage = sockaddr_storage();
    socklen_t size;
    sockaddr_in *v4 = reinterpret_cast<sockaddr_in *>(&storage);
    sockaddr_in6 *v6 = reinterpret_cast<sockaddr_in6 *>(&storage);
    // Not through getaddrinfo: tests replace that one.
    if (address.find(':') == std::string::npos) {
        size = sizeof *v4;
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<std::uint16_t>(*port));
        unsigned part[4] = {0, 0, 0, 0};
        std::sscanf(address.c_str(), "%u.%u.%u.%u", &part[0], &part[1], &part[2], &part[3]);
        v4->sin_addr.s_addr = htonl(part[0] << 24 | part[1] << 16 | part[2] << 8 | part[3]);
    } else {
        size = sizeof *v6;
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<std::uint16_t>(*port));
        v6->sin6_addr = in6addr_loopback;
    }
    const int bound = ::socket(storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bound < 0)
        fail("socket");
    const int on = 1;
    ::setsockopt(bound, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(bound, reinterpret_cast<sockaddr *>(&storage), size) != 0) {
        const int error = errno;
        ::close(bound);
        errno = error;
        fail("bind " + address);
    }
    ::getsockname(bound, reinterpret_cast<sockaddr *>(&storage), &size);
    *port = ntohs(storage.ss_family == AF_INET ? v4->sin_port : v6->sin6_port);
    return bound;
}

bool hasIPv6Loopback()
{
    const int tried = ::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (tried < 0)
        return false;
    sockaddr_in6 address = sockaddr_in6();
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    const bool bound = ::bind(tried, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::close(tried);
    return bound;
}

void listenAt(Socket socket)
{
    if (::listen(descriptor(socket), 128) != 0)
        fail("listen");
}

Socket acceptAt(Socket listener)
{
    const int accepted = ::accept4(descriptor(listener), nullptr, nullptr, SOCK_CLOEXEC);
    if (accepted < 0)
        return kNone;
    const int on = 1;
    ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return accepted;
}

void close(Socket socket)
{
    ::close(descriptor(socket));
}

Waited waitFor(Socket socket, Event event, const Wake &wake, int milliseconds)
{
    const short events = event == Readable ? POLLIN : POLLOUT;
    pollfd watched[2] = {{descriptor(socket), events, 0}, {descriptor(wake.socket()), POLLIN, 0}};
    int ready;
    do {
        ready = ::poll(watched, 2, milliseconds);
    } while (ready < 0 && errno == EINTR);
    if (watched[1].revents != 0)
        return Woken;
    return ready != 0 ? Ready : TimedOut;
}

std::ptrdiff_t receiveNow(Socket socket, char *buffer, std::size_t size)
{
    const ssize_t count = ::recv(descriptor(socket), buffer, size, MSG_DONTWAIT);
    if (isForLater(count))
        return kNotNow;
    return count < 0 ? 0 : count;
}

std::ptrdiff_t sendNow(Socket socket, const char *bytes, std::size_t size)
{
    const ssize_t count = ::send(descriptor(socket), bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (isForLater(count))
        return kNotNow;
    return count < 0 ? 0 : count;
}

bool hasByte(Socket socket)
{
    char byte;
    return ::recv(descriptor(socket), &byte, 1, MSG_PEEK) == 1;
}

void endSending(Socket socket)
{
    ::shutdown(descriptor(socket), SHUT_WR);
}

void resetOnClose(Socket socket)
{
    const linger atOnce = {1, 0};
    ::setsockopt(descriptor(socket), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

} // namespace peer_socket
