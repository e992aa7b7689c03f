// What a DataNode sends during one block read, byte by byte in order.
#ifndef IO_DATANODESTREAM_H
#define IO_DATANODESTREAM_H

#include "io/ReadStatusSender.h"
#include "rpc/TcpSocket.h"

#include <QtCore/QByteArray>

#include <cstdint>

/// Receives from a socket that it does not own, with two things that a plain receive has not: bytes that came with an
/// earlier receive can be put back, and a DataNode that falls silent while read statuses wait gets them.
class DataNodeStream
{
public:
    explicit DataNodeStream(TcpSocket *socket);

    ReadStatusSender &statuses() { return m_statuses; }

    /// 0 = exactly `length` bytes received, 1 = failed. What has arrived behind them, at most `ahead` bytes, is kept
    /// for the calls that follow.
    int receiveExactly(void *buffer, std::uint32_t length, std::uint32_t ahead = 0);

    /// Receives what has arrived, at least one and at most `length` bytes, into the bytes that the next receiveExactly
    /// calls find: one system call for several small pieces. Does nothing while such bytes are left. A failure shows at
    /// the next receiveExactly.
    void receiveAhead(std::uint32_t length);

    /// Closes the socket and forgets what has been received ahead: every receive fails from now on.
    void close();

    /// Bytes that can be received without blocking; negative when there is no socket to ask.
    std::int32_t bytesAvailable() const;

    /// Puts bytes that belong to the stream's next piece in front of what comes.
    void putBack(const void *bytes, std::uint32_t length);

private:
    std::int64_t receiveSome(char *buffer, std::uint32_t length, std::uint32_t ahead);
    std::int64_t receiveFromSocket(char *buffer, std::uint32_t length, std::uint32_t ahead, int milliseconds);
    void makeRoomAhead(std::uint32_t length);

    TcpSocket *m_socket;
    ReadStatusSender m_statuses;
    QByteArray m_ahead;
    int m_aheadStart;
    int m_aheadEnd;
};

#endif
