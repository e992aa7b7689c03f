#include "io/ReadStatusSender.h"

#include "io/DataTransferProtocol.h"
#include "rpc/PbText.h"
#include "rpc/WireBytes.h"

#include "DataTransferMessages.pb.h"

#include <QtCore/QByteArray>

#include <algorithm>
#include <cstring>

namespace {

const std::size_t kStatusLimit = 10;

/// One status as it goes out: its length, then the message.
QByteArray encodeStatus()
{
    ClientReadStatusProto status = ClientReadStatusProto_init_default;
    status.status = kDataTransferStatusSuccess;
    pb_byte_t encoded[kStatusLimit];
    pb_ostream_t stream = pb_ostream_from_buffer(encoded, sizeof encoded);
    if (!pb_encode(&stream, ClientReadStatusProto_fields, &status))
        return QByteArray();
    unsigned char message[kMaxVarintSize + kStatusLimit];
    unsigned char *end = writeVarint32(message, static_cast<std::uint32_t>(stream.bytes_written));
    std::memcpy(end, encoded, stream.bytes_written);
    end += stream.bytes_written;
    return QByteArray(reinterpret_cast<const char *>(message), static_cast<int>(end - message));
}

} // namespace

ReadStatusSender::ReadStatusSender(TcpSocket *socket)
    : m_socket(socket), m_waiting(0), m_isFirst(true), m_isLockStep(false)
{
}

bool ReadStatusSender::packetRead()
{
    ++m_waiting;
    if (!m_isFirst && !m_isLockStep)
        return true;
    m_isFirst = false;
    return sendWaiting();
}

bool ReadStatusSender::sendWaiting()
{
    // Only a DataNode that sends its block in crumbs makes more of them.
    const std::uint32_t kMostInOneSend = 1 << 20;
    while (m_waiting > 0) {
        const std::uint32_t count = std::min(m_waiting, kMostInOneSend);
        m_waiting -= count;
        const QByteArray statuses = encodeStatus().repeated(static_cast<int>(count));
        if (m_socket->sendAll(statuses.constData(), static_cast<std::uint32_t>(statuses.size())) != 0)
            return false;
    }
    return true;
}

bool ReadStatusSender::peerIsSilent()
{
    m_isLockStep = true;
    return sendWaiting();
}
