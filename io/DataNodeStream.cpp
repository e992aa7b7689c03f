#include "io/DataNodeStream.h"

#include <algorithm>
#include <cstring>

DataNodeStream::DataNodeStream(TcpSocket *socket) : m_socket(socket), m_statuses(socket), m_aheadStart(0), m_aheadEnd(0)
{
}

int DataNodeStream::receiveExactly(void *buffer, std::uint32_t length, std::uint32_t ahead)
{
    char *position = static_cast<char *>(buffer);
    const std::uint32_t early = std::min(length, static_cast<std::uint32_t>(m_aheadEnd - m_aheadStart));
    if (early > 0) {
        std::memcpy(position, m_ahead.constData() + m_aheadStart, early);
        m_aheadStart += static_cast<int>(early);
        position += early;
        length -= early;
    }
    if (length > 0)
        makeRoomAhead(ahead);
    while (length > 0) {
        const std::int64_t received = receiveSome(position, length, ahead);
        if (received <= 0)
            return 1;
        if (received > length) {
            m_aheadEnd = static_cast<int>(received - length);
            return 0;
        }
        position += received;
        length -= static_cast<std::uint32_t>(received);
    }
    return 0;
}

void DataNodeStream::receiveAhead(std::uint32_t length)
{
    if (m_aheadStart != m_aheadEnd)
        return;
    makeRoomAhead(length);
    m_aheadEnd = static_cast<int>(std::max<std::int64_t>(0, receiveSome(m_ahead.data(), length, 0)));
}

/// Only when nothing is there.
void DataNodeStream::makeRoomAhead(std::uint32_t length)
{
    if (static_cast<std::uint32_t>(m_ahead.size()) < length)
        m_ahead.resize(static_cast<int>(length));
    m_aheadStart = 0;
    m_aheadEnd = 0;
}

void DataNodeStream::close()
{
    m_socket->close();
    m_aheadStart = 0;
    m_aheadEnd = 0;
}

std::int32_t DataNodeStream::bytesAvailable() const
{
    const std::int32_t available = m_socket->bytesAvailable();
    return available < 0 ? available : available + (m_aheadEnd - m_aheadStart);
}

void DataNodeStream::putBack(const void *bytes, std::uint32_t length)
{
    m_ahead = QByteArray(static_cast<const char *>(bytes), static_cast<int>(length))
                  .append(m_ahead.constData() + m_aheadStart, m_aheadEnd - m_aheadStart);
    m_aheadStart = 0;
    m_aheadEnd = m_ahead.size();
}

/// The bytes received, of which those beyond `length` are at the start of what is ahead.
std::int64_t DataNodeStream::receiveSome(char *buffer, std::uint32_t length, std::uint32_t ahead)
{
    if (m_statuses.isAnyWaiting()) {
        const std::int64_t received = receiveFromSocket(buffer, length, ahead, kReadStatusPatience);
        if (received != platform::kTimedOut)
            return received;
        if (!m_statuses.peerIsSilent()) {
            // A peer in lock step would never send again: let this receive and all that follow fail.
            close();
            return -1;
        }
    }
    return receiveFromSocket(buffer, length, ahead, platform::kNoLimit);
}

std::int64_t DataNodeStream::receiveFromSocket(char *buffer, std::uint32_t length, std::uint32_t ahead,
                                               int milliseconds)
{
    if (ahead > 0)
        return platform::receiveScattered(m_socket->handle, buffer, length, m_ahead.data(), ahead, milliseconds);
    if (milliseconds == platform::kNoLimit)
        return platform::receiveOnce(m_socket->handle, buffer, length);
    return platform::receiveWithin(m_socket->handle, buffer, length, milliseconds);
}
