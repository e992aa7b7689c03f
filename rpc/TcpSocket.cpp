#include "rpc/TcpSocket.h"

#include <cstdio>

namespace {

/// A handle with this value is dead by definition; a socket that is not there is found by asking it.
const platform::SocketHandle kDeadHandle = 1;

const std::int32_t kLargestPort = 65535;

bool tryAddress(TcpSocket *socket, const addrinfo *address)
{
    socket->handle = platform::openSocket(address->ai_family, address->ai_socktype, address->ai_protocol);
    // A socket that could not be made shows up here as a failed connect.
    return platform::connectSocket(socket->handle, address->ai_addr, address->ai_addrlen) == 0;
}

bool connectToPreferred(TcpSocket *socket, const addrinfo *addresses, std::int32_t preferred)
{
    if (preferred < 0)
        return false;
    const addrinfo *address = addresses;
    for (std::int32_t i = 0; i < preferred && address; ++i)
        address = address->ai_next;
    if (!address || !tryAddress(socket, address))
        return false;
    socket->addressIndex = preferred;
    return true;
}

bool connectToAnyOther(TcpSocket *socket, const addrinfo *addresses, std::int32_t preferred)
{
    std::int32_t position = 0;
    bool connected = false;
    for (const addrinfo *address = addresses; address; address = address->ai_next, ++position) {
        if (position == preferred)
            continue;
        // The socket of the failed preferred address is deliberately not closed when it is replaced here.
        if (tryAddress(socket, address)) {
            connected = true;
            break;
        }
        socket->close();
    }
    socket->addressIndex = position;
    return connected;
}

} // namespace

int TcpSocket::connectTo(const char *host, std::int32_t port, std::int32_t preferredAddressIndex)
{
    // Resolvers cut a larger number to 16 bits, and that is somebody else's port.
    if (port < 0 || port > kLargestPort)
        return -1;
    char service[16];
    std::snprintf(service, sizeof service, "%i", static_cast<int>(port));
    return connectToService(host, service, preferredAddressIndex);
}

int TcpSocket::connectToService(const char *host, const char *service, std::int32_t preferredAddressIndex)
{
    addrinfo hints = addrinfo();
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *addresses = nullptr;
    // Error numbers are negative on some systems and positive on others; the list stays null on all.
    if (::getaddrinfo(host, service, &hints, &addresses) != 0 || !addresses)
        return -1;
    const bool connected = connectToPreferred(this, addresses, preferredAddressIndex) ||
                           connectToAnyOther(this, addresses, preferredAddressIndex);
    ::freeaddrinfo(addresses);
    if (!connected) {
        close();
        return -1;
    }
    platform::setNoDelay(handle);
    platform::requestLoopbackFastPath(handle);
    return 0;
}

bool TcpSocket::isAlive()
{
    if (handle == kDeadHandle)
        return false;
    if (platform::pendingError(handle) == 0)
        return true;
    handle = platform::kInvalidSocket;
    return false;
}

std::int32_t TcpSocket::bytesAvailable() const
{
    if (handle == kDeadHandle)
        return -1;
    return platform::bytesReadable(handle);
}

void TcpSocket::close()
{
    if (handle == platform::kInvalidSocket)
        return;
    platform::closeSocket(handle);
    handle = platform::kInvalidSocket;
}

int TcpSocket::sendAll(const void *buffer, std::uint32_t length)
{
    return platform::sendOnce(handle, static_cast<const char *>(buffer), length) == length ? 0 : 1;
}

int TcpSocket::receiveExactly(void *buffer, std::uint32_t length)
{
    char *position = static_cast<char *>(buffer);
    while (length > 0) {
        const std::int64_t received = platform::receiveOnce(handle, position, length);
        if (received <= 0)
            return 1;
        position += received;
        length -= static_cast<std::uint32_t>(received);
    }
    return 0;
}

std::int32_t TcpSocket::receiveWaitAll(void *buffer, std::uint32_t length)
{
    return static_cast<std::int32_t>(platform::receiveWhole(handle, static_cast<char *>(buffer), length));
}
