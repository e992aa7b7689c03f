#include "rpc/ClientProtocolCall.h"

#include "rpc/HostLog.h"
#include "rpc/MemoryStream.h"
#include "rpc/WireBytes.h"

#include <algorithm>
#include <cstring>

ClientProtocolCall::ClientProtocolCall(NameNodeConnection *connection, const char *methodName)
    : m_connection(connection), m_request(nullptr), m_frameSize(0)
{
    m_request = connection->writeCallHeaders(m_frame + kFrameLengthSize, methodName);
}

bool ClientProtocolCall::encode(PbFieldList fields, const void *message, std::size_t limit)
{
    pb_byte_t encoded[kRequestLimit];
    pb_ostream_t stream = pb_ostream_from_buffer(encoded, std::min(limit, sizeof encoded));
    if (!pb_encode(&stream, fields, message)) {
        logToHost(QString::fromLatin1("Encoding failed: %1").arg(codecErrorText(PB_GET_ERROR(&stream))));
        return false;
    }
    unsigned char *end = writeVarint32(m_request, static_cast<std::uint32_t>(stream.bytes_written));
    std::memcpy(end, encoded, stream.bytes_written);
    end += stream.bytes_written;
    m_frameSize = static_cast<std::uint32_t>(end - m_frame);
    writeBigEndian32(m_frame, m_frameSize - kFrameLengthSize);
    return true;
}

bool ClientProtocolCall::send()
{
    if (m_connection->nameNodeSocket.sendAll(m_frame, m_frameSize) == 0)
        return true;
    logToHost("TCPIP send failed");
    return false;
}

bool ClientProtocolCall::receive(pb_istream_t *stream)
{
    // An empty response frame leaves the caller with an empty message.
    *stream = memoryStream(nullptr, 0);
    return m_connection->receiveResponse(stream) == 0;
}

bool isConnectedToNameNode(NameNodeConnection *connection)
{
    if (connection->nameNodeSocket.isAlive())
        return true;
    logToHost("Not connected any more to NameNode");
    return false;
}
