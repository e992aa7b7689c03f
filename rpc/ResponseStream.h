// What a NameNode sends, byte by byte in order, with few receives: a small response comes with one.
#ifndef RPC_RESPONSESTREAM_H
#define RPC_RESPONSESTREAM_H

#include "rpc/TcpSocket.h"

#include <cstdint>

/// Receives from a socket that it does not own. Bytes behind those that were asked for are kept for the next call.
class ResponseStream
{
public:
    explicit ResponseStream(TcpSocket *socket) : m_socket(socket), m_start(0), m_end(0) {}

    /// 0 = exactly `length` bytes received, 1 = failed.
    int receiveExactly(void *buffer, std::uint32_t length);

    /// Whether something was received that nobody has asked for yet.
    bool holdsBytes() const { return m_start != m_end; }

    /// Forgets what came with a connection that is closed.
    void clear() { m_start = m_end = 0; }

private:
    TcpSocket *m_socket;
    std::uint32_t m_start;
    std::uint32_t m_end;
    char m_ahead[4096];
};

#endif
