// One blocking TCP socket: no buffering, no time-outs of its own, no logging. Callers log.
#ifndef RPC_TCPSOCKET_H
#define RPC_TCPSOCKET_H

#include "platform/Sockets.h"

#include <cstdint>

/// Owned by value inside the object that uses it and never copied. It has no destructor: its owner
/// calls `close`.
struct TcpSocket {
    TcpSocket() : handle(platform::kInvalidSocket), addressIndex(0) {}
    TcpSocket(const TcpSocket &) = delete;
    TcpSocket &operator=(const TcpSocket &) = delete;

    platform::SocketHandle handle; ///< kInvalidSocket: no socket
    std::int32_t addressIndex;     ///< position of the address that the last `connectTo` ended on

    /// Connects to `host` (a name or address) at `port`, trying the address at position
    /// `preferredAddressIndex` of the resolver's list first and then every other one in order. 0 = connected,
    /// non-zero = failed. A socket that is open already must be closed before. After a failure
    /// `handle` is unchanged when the host did not resolve, else it is kInvalidSocket.
    int connectTo(const char *host, std::int32_t port, std::int32_t preferredAddressIndex);

    /// The same with the port as text. 0 = connected, -1 = failed.
    int connectToService(const char *host, const char *service, std::int32_t preferredAddressIndex);

    /// True when the socket exists and reports no pending error; otherwise forgets the socket without
    /// closing it.
    bool isAlive();

    /// Bytes that can be read without blocking; -1 when there is no socket.
    std::int32_t bytesAvailable() const;

    void close();

    /// One `send` of the whole buffer. 0 = all bytes sent, 1 = failed; a partial send is a failure and
    /// is not continued.
    int sendAll(const void *buffer, std::uint32_t length);

    /// 0 = exactly `length` bytes received, 1 = failed; what arrived before stays in the buffer.
    int receiveExactly(void *buffer, std::uint32_t length);

    /// One `recv` for the whole length; returns its count, 0 on orderly close, negative on error.
    std::int32_t receiveWaitAll(void *buffer, std::uint32_t length);
};

#endif
