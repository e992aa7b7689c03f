#include "testing/PeerSocket.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace peer_socket {

namespace {

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": Windows Sockets error " + std::to_string(::WSAGetLastError()));
}

SOCKET handle(Socket socket)
{
    return static_cast<SOCKET>(socket);
}

SOCKET openUninherited(int family, int type)
{
    return ::WSASocketW(family, type, 0, nullptr, 0, WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

sockaddr_in loopback()
{
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int systemLength(std::size_t size)
{
    return static_cast<int>((std::min)(size, static_cast<std::size_t>((std::numeric_limits<int>::max)())));
}

std::ptrdiff_t countOf(int result)
{
    if (result >= 0)
        return result;
    return ::WSAGetLastError() == WSAEWOULDBLOCK ? kNotNow : 0;
}

} // namespace

// A datagram that the socket has sent to itself and never takes makes it readable for good.
Wake::Wake() : m_socket(static_cast<Socket>(openUninherited(AF_INET, SOCK_DGRAM)))
{
    sockaddr_in address = loopback();
    int size = sizeof address;
    if (::bind(handle(m_socket), reinterpret_cast<sockaddr *>(&address), size) != 0 ||
        ::getsockname(handle(m_socket), reinterpret_cast<sockaddr *>(&address), &size) != 0 ||
        ::connect(handle(m_socket), reinterpret_cast<sockaddr *>(&address), size) != 0)
        fail("a socket to wake others by");
}

Wake::~Wake()
{
    ::closesocket(handle(m_socket));
}

void Wake::raise()
{
    if (::send(handle(m_socket), "", 1, 0) != 1)
        fail("send to oneself");
}

Socket bindTo(const std::string &address, int *port)
{
    sockaddr_storage storage = sockaddr_storage();
    int size;
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
    const SOCKET bound = openUninherited(storage.ss_family, SOCK_STREAM);
    if (bound == INVALID_SOCKET)
        fail("socket");
    // Not SO_REUSEADDR, by which Windows lets several sockets have one port.
    const int on = 1;
    ::setsockopt(bound, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char *>(&on), sizeof on);
    if (::bind(bound, reinterpret_cast<sockaddr *>(&storage), size) != 0) {
        const int error = ::WSAGetLastError();
        ::closesocket(bound);
        ::WSASetLastError(error);
        fail("bind " + address);
    }
    ::getsockname(bound, reinterpret_cast<sockaddr *>(&storage), &size);
    *port = ntohs(storage.ss_family == AF_INET ? v4->sin_port : v6->sin6_port);
    return static_cast<Socket>(bound);
}

bool hasIPv6Loopback()
{
    const SOCKET tried = openUninherited(AF_INET6, SOCK_STREAM);
    if (tried == INVALID_SOCKET)
        return false;
    sockaddr_in6 address = sockaddr_in6();
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    const bool bound = ::bind(tried, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    ::closesocket(tried);
    return bound;
}

void listenAt(Socket socket)
{
    if (::listen(handle(socket), 128) != 0)
        fail("listen");
}

Socket acceptAt(Socket listener)
{
    const SOCKET accepted = ::accept(handle(listener), nullptr, nullptr);
    if (accepted == INVALID_SOCKET)
        return kNone;
    ::SetHandleInformation(reinterpret_cast<HANDLE>(accepted), HANDLE_FLAG_INHERIT, 0);
    const int on = 1;
    ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on), sizeof on);
    u_long doesNotWait = 1;
    ::ioctlsocket(accepted, FIONBIO, &doesNotWait);
    return static_cast<Socket>(accepted);
}

void close(Socket socket)
{
    ::closesocket(handle(socket));
}

Waited waitFor(Socket socket, Event event, const Wake &wake, int milliseconds)
{
    const short events = event == Readable ? POLLRDNORM : POLLWRNORM;
    WSAPOLLFD watched[2] = {{handle(socket), events, 0}, {handle(wake.socket()), POLLRDNORM, 0}};
    const int ready = ::WSAPoll(watched, 2, milliseconds);
    if (ready < 0)
        fail("WSAPoll");
    if (watched[1].revents != 0)
        return Woken;
    return ready != 0 ? Ready : TimedOut;
}

std::ptrdiff_t receiveNow(Socket socket, char *buffer, std::size_t size)
{
    return countOf(::recv(handle(socket), buffer, systemLength(size), 0));
}

std::ptrdiff_t sendNow(Socket socket, const char *bytes, std::size_t size)
{
    return countOf(::send(handle(socket), bytes, systemLength(size), 0));
}

bool hasByte(Socket socket)
{
    char byte;
    return ::recv(handle(socket), &byte, 1, MSG_PEEK) == 1;
}

void endSending(Socket socket)
{
    ::shutdown(handle(socket), SD_SEND);
}

void resetOnClose(Socket socket)
{
    const linger atOnce = {1, 0};
    ::setsockopt(handle(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&atOnce), sizeof atOnce);
}

} // namespace peer_socket
