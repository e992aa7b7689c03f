// The read statuses (`ClientReadStatusProto`) that a block read owes its DataNode: one for each packet.
//
// A DataNode takes exactly one, after it has sent the whole range, and resets the connection, losing what is still on
// the way, when it finds a second one that early. So only the first goes out at once; the others wait until the last
// wanted byte of the block is there. A peer that works in lock step would wait for ever: when it falls silent, what
// waits is sent, and from then on nothing waits any more.
#ifndef IO_READSTATUSSENDER_H
#define IO_READSTATUSSENDER_H

#include "rpc/TcpSocket.h"

#include <cstdint>

/// How long a DataNode may be silent before it gets the statuses that wait, in milliseconds.
const int kReadStatusPatience = 2000;

/// For one exchange on one socket, which it does not own.
class ReadStatusSender
{
public:
    explicit ReadStatusSender(TcpSocket *socket);

    /// A packet has been read. False when a status could not be sent.
    bool packetRead();

    bool isAnyWaiting() const { return m_waiting > 0; }

    /// Sends what waits, in one send as long as that is of a sane size. False when that failed.
    bool sendWaiting();

    /// The peer has fallen silent: sends what waits and lets none wait from now on.
    bool peerIsSilent();

private:
    TcpSocket *m_socket;
    std::uint32_t m_waiting;
    bool m_isFirst;
    bool m_isLockStep; ///< the peer waits for each status
};

#endif
