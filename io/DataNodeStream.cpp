#include "io/DataNodeStream.h"

#include <algorithm>
#include <cstring>

DataNodeStream::DataNodeStream(TcpSocket *socket) : m_socket(socket), m_statuses(socket), m_aheadStart(0), m_aheadEnd(0)
{
}

int DataNodeStream::receiveExactly(void *buffer, std::uint32_t length)
{
    char *position = static_cast<char *>(buffer);
    const std::uint32_t ahead = std::min(length, static_cast<std::uint32_t>(m_aheadEnd - m_aheadStart));
    if (ahead > 0) {
        std::memcpy(position, m_ahead.constData() + m_aheadStart, ahead);
        m_aheadStart += static_cast<int>(ahead);
        position += ahead;
        length -= ahead;
    }
    while (length > 0) {
        const std::int64_t received = receiveSome(position, length);
        if (received <= 0)
            return 1;
        position += received;
        length -= static_cast<std::uint32_t>(received);
    }
    return 0;
}

void DataNodeStream::receiveAhead(std::uint32_t length)
{
    if (m_aheadStart != m_aheadEnd)
        return;
    if (static_cast<std::uint32_t>(m_ahead.size()) < length)
        m_ahead.resize(static_cast<int>(length));
    m_aheadStart = 0;
    m_aheadEnd = static_cast<int>(std::max<std::int64_t>(0, receiveSome(m_ahead.data(), length)));
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

std::int64_t DataNodeStream::receiveSome(char *buffer, std::uint32_t length)
{
    if (m_statuses.isAnyWaiting()) {
        const std::int64_t received = platform::receiveWithin(m_socket->handle, buffer, length, kReadStatusPatience);
        if (received != platform::kTimedOut)
            return received;
        if (!m_statuses.peerIsSilent()) {
            // A peer in lock step would never send again: let this receive and all that follow fail.
            m_socket->close();
            return -1;
        }
    }
    return platform::receiveOnce(m_socket->handle, buffer, length);
}
