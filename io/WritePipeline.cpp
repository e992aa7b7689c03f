#include "io/WritePipeline.h"

#include "io/DataNodeSocket.h"
#include "io/DataNodeStream.h"
#include "io/DataTransferProtocol.h"
#include "io/OpAnswer.h"
#include "io/OpRequest.h"
#include "rpc/HostLog.h"
#include "rpc/MemoryStream.h"
#include "rpc/WireBytes.h"

#include "DataTransferMessages.pb.h"

#include <algorithm>
#include <cstring>

namespace {

const std::uint32_t kNoReply = 3;      ///< any status but SUCCESS
const std::int32_t kSmallestAck = 10;  ///< bytes that must be there before an acknowledgement is read without need
const std::uint32_t kLongestAck = 127; ///< what a length of one byte can say

void logCodecFailure(const char *format, const char *error)
{
    logToHost(QString::fromLatin1(format).arg(codecErrorText(error)));
}

/// A socket call has failed with `error`.
void logTransportFailure(const char *line, int error)
{
    logToHost(line);
    logSocketError(kSocketErrorFormat, error);
}

/// The statuses of an acknowledgement, one for each DataNode of the pipeline.
struct Replies {
    Replies() : last(kNoReply), count(0), firstFailed(0), anyFailed(false) {}

    void add(std::uint64_t status)
    {
        if (status != kDataTransferStatusSuccess && !anyFailed) {
            anyFailed = true;
            firstFailed = count;
        }
        last = status;
        ++count;
    }

    std::uint64_t last; ///< the one that counts
    std::uint32_t count;
    std::uint32_t firstFailed; ///< position of the first one that is no success, if any
    bool anyFailed;
};

bool decodeReply(pb_istream_t *stream, const pb_field_t *, void **argument)
{
    // One status, or several when they come packed.
    std::uint64_t status;
    do {
        if (!pb_decode_varint(stream, &status))
            return false;
        static_cast<Replies *>(*argument)->add(status);
    } while (stream->bytes_left > 0);
    return true;
}

bool isAt(const ByteString &host, std::uint32_t port, const ByteString &hostAndPort)
{
    const QByteArray text = QByteArray(host.data, static_cast<int>(host.size)) + ':' + QByteArray::number(port);
    return static_cast<std::size_t>(text.size()) == hostAndPort.size &&
           std::memcmp(text.constData(), hostAndPort.data, hostAndPort.size) == 0;
}

/// One attempt on one socket.
class Pipeline
{
public:
    Pipeline(TcpSocket *socket, const LocatedBlock &block, const BlockWrite &write, PacketBuffer *buffer)
        : m_socket(socket), m_stream(socket), m_block(block), m_write(write), m_buffer(buffer), m_sent(0),
          m_acknowledged(0), m_suspect(0)
    {
    }

    PipelineResult run();
    std::uint32_t suspect() const { return m_suspect; }

private:
    PipelineResult setUp();
    bool receiveSetUpAnswer();
    PipelineResult sendData();
    PipelineResult sendPacket(std::uint32_t offset, std::uint32_t length);
    PipelineResult sendLastPacket();
    unsigned char *writeHead(const PacketHeaderProto &header, std::uint32_t checksumBytes);
    bool send(const void *bytes, std::uint32_t length);
    bool takeAcksThatAreThere();
    bool waitForWindow();
    bool receiveAck();
    void blame(const ByteString &firstBadLink);

    TcpSocket *m_socket;
    DataNodeStream m_stream;
    const LocatedBlock &m_block;
    const BlockWrite &m_write;
    PacketBuffer *m_buffer;
    std::int64_t m_sent;         ///< packets; the next one's sequence number
    std::int64_t m_acknowledged; ///< packets; the sequence number that the next acknowledgement must have
    std::uint32_t m_suspect;     ///< position of the DataNode that is to blame
};

PipelineResult Pipeline::run()
{
    PipelineResult result = setUp();
    if (result == BlockWritten)
        result = sendData();
    if (result == BlockWritten)
        result = sendLastPacket();
    while (result == BlockWritten && m_acknowledged < m_sent) {
        if (!receiveAck())
            result = AttemptFailed;
    }
    return result;
}

PipelineResult Pipeline::setUp()
{
    const BlockIdentity identity(&m_block);
    OpWriteBlockProto request = OpWriteBlockProto_init_default;
    identity.describe(&request.header);
    request.targets = sendIdentities(m_block.firstLocation->next);
    request.stage = kStagePipelineSetupCreate;
    request.pipelineSize = m_block.locationCount - 1;
    request.minBytesRcvd = m_write.bytesInBlocks;
    request.maxBytesRcvd = m_write.bytesInBlocks + m_write.length;
    request.latestGenerationStamp = 0; // a new block has no other
    request.requestedChecksum.type = kChecksumCrc32c;
    request.requestedChecksum.bytesPerChecksum = m_write.chunkSize;
    const char *error = nullptr;
    const QByteArray bytes = encodeOpRequest(kOpWriteBlock, OpWriteBlockProto_fields, &request, &error);
    if (bytes.isEmpty()) {
        logCodecFailure("Encoding failed: %1", error);
        return RequestNotEncoded;
    }
    return send(bytes.constData(), static_cast<std::uint32_t>(bytes.size())) && receiveSetUpAnswer() ? BlockWritten
                                                                                                     : AttemptFailed;
}

bool Pipeline::receiveSetUpAnswer()
{
    QByteArray memory;
    pb_istream_t message = memoryStream(nullptr, 0);
    const OpAnswer state = receiveOpAnswer(&m_stream, &memory, &message, NothingFollows);
    const int socketError = platform::lastSocketError();
    switch (state) {
    case AnswerLengthNotReceived:
    case AnswerNotReceived:
        logTransportFailure("TCPIP received failed", socketError);
        return false;
    case AnswerLengthErroneous:
        logToHost("TCPIP received failed: erroneous size");
        return false;
    case AnswerReceived:
        break;
    }
    ByteString firstBadLink = emptyByteString();
    BlockOpResponseProto answer = BlockOpResponseProto_init_default;
    answer.firstBadLink = collectTo(&firstBadLink);
    if (!decodeInitialised(&message, BlockOpResponseProto_fields, &answer)) {
        logCodecFailure("Block Decoding failed: %1", PB_GET_ERROR(&message));
        return false;
    }
    if (answer.status != kDataTransferStatusSuccess) {
        logToHost("Cannot create Pipeline");
        blame(firstBadLink);
        return false;
    }
    return true;
}

PipelineResult Pipeline::sendData()
{
    const std::uint64_t packetData = static_cast<std::uint64_t>(kPacketChunks) * m_write.chunkSize;
    std::uint32_t length = 0;
    for (std::uint32_t offset = 0; offset < m_write.length; offset += length) {
        length = static_cast<std::uint32_t>(std::min<std::uint64_t>(packetData, m_write.length - offset));
        const PipelineResult result = sendPacket(offset, length);
        if (result != BlockWritten)
            return result;
        if (!takeAcksThatAreThere() || !waitForWindow())
            return AttemptFailed;
    }
    return BlockWritten;
}

PipelineResult Pipeline::sendPacket(std::uint32_t offset, std::uint32_t length)
{
    PacketHeaderProto header = PacketHeaderProto_init_default;
    header.offsetInBlock = offset;
    header.seqno = m_sent;
    header.lastPacketInBlock = false;
    header.dataLen = static_cast<std::int32_t>(length);
    header.has_syncBlock = m_write.syncBlock;
    header.syncBlock = m_write.syncBlock;
    const std::uint32_t chunks = length / m_write.chunkSize + (length % m_write.chunkSize != 0 ? 1 : 0);
    unsigned char *const checksums = writeHead(header, chunks * kChecksumSize + length);
    if (!checksums)
        return PacketNotEncoded;
    const char *const data = m_write.data + offset;
    if (computeChunkChecksums(m_write.checksumState, checksums, data, kChecksumCrc32c, m_write.chunkSize, length))
        return ChecksumRefused;
    const unsigned char *const end = checksums + chunks * kChecksumSize;
    if (!send(m_buffer->bytes, static_cast<std::uint32_t>(end - m_buffer->bytes)) || !send(data, length))
        return AttemptFailed;
    ++m_sent;
    return BlockWritten;
}

PipelineResult Pipeline::sendLastPacket()
{
    PacketHeaderProto header = PacketHeaderProto_init_default;
    header.offsetInBlock = m_write.length;
    header.seqno = m_sent;
    header.lastPacketInBlock = true;
    header.dataLen = 0;
    header.has_syncBlock = true;
    header.syncBlock = true;
    const unsigned char *const end = writeHead(header, 0);
    if (!end)
        return LastPacketNotEncoded;
    if (m_socket->sendAll(m_buffer->bytes, static_cast<std::uint32_t>(end - m_buffer->bytes)) != 0) {
        logToHost("TCPIP send failed");
        return AttemptFailed;
    }
    ++m_sent;
    return BlockWritten;
}

/// Writes a packet's prefix and header. `payload` counts the checksum and data bytes that follow. Returns the position
/// behind them, or null after logging.
unsigned char *Pipeline::writeHead(const PacketHeaderProto &header, std::uint32_t payload)
{
    pb_ostream_t stream =
        pb_ostream_from_buffer(m_buffer->bytes + kPacketPrefixSize, PacketBuffer::kHeadRoom - kPacketPrefixSize);
    if (!pb_encode(&stream, PacketHeaderProto_fields, &header)) {
        logCodecFailure("Encoding failed: %1", PB_GET_ERROR(&stream));
        return nullptr;
    }
    // The length counts itself too.
    unsigned char *position = writeBigEndian32(m_buffer->bytes, payload + 4);
    position = writeBigEndian16(position, static_cast<std::uint16_t>(stream.bytes_written));
    return position + stream.bytes_written;
}

bool Pipeline::send(const void *bytes, std::uint32_t length)
{
    if (m_socket->sendAll(bytes, length) == 0)
        return true;
    logTransportFailure("TCPIP send failed", platform::lastSocketError());
    return false;
}

bool Pipeline::takeAcksThatAreThere()
{
    std::int32_t available = m_stream.bytesAvailable();
    // An acknowledgement that is there before its packet waits for it.
    while (available >= kSmallestAck && m_acknowledged < m_sent) {
        if (!receiveAck())
            return false;
        available = m_stream.bytesAvailable();
    }
    return available >= 0;
}

bool Pipeline::waitForWindow()
{
    while (m_sent > m_acknowledged + kPacketWindow) {
        if (!receiveAck())
            return false;
    }
    return true;
}

bool Pipeline::receiveAck()
{
    unsigned char length = 0;
    if (m_stream.receiveExactly(&length, sizeof length) != 0) {
        logTransportFailure("TCPIP received failed", platform::lastSocketError());
        return false;
    }
    if (length == 0 || length > kLongestAck) {
        logToHost("TCPIP received failed: erroneous size");
        return false;
    }
    unsigned char bytes[kLongestAck];
    if (m_stream.receiveExactly(bytes, length) != 0) {
        logToHost("TCPIP received failed");
        return false;
    }
    Replies replies;
    PipelineAckProto ack = PipelineAckProto_init_default;
    ack.reply = decodeEach(decodeReply, &replies);
    pb_istream_t stream = memoryStream(bytes, length);
    if (!decodeInitialised(&stream, PipelineAckProto_fields, &ack)) {
        logCodecFailure("Block Decoding failed: %1", PB_GET_ERROR(&stream));
        return false;
    }
    if (replies.last != kDataTransferStatusSuccess || ack.seqno != m_acknowledged) {
        logToHost("error ACK paquet");
        if (replies.anyFailed && replies.firstFailed < m_block.locationCount)
            m_suspect = replies.firstFailed;
        return false;
    }
    ++m_acknowledged;
    return true;
}

void Pipeline::blame(const ByteString &firstBadLink)
{
    std::uint32_t position = 0;
    for (const DataNodeLocation *node = m_block.firstLocation; node; node = node->next, ++position) {
        if (isAt(node->ipAddr(), node->xferPort, firstBadLink) || isAt(node->hostName(), node->xferPort, firstBadLink))
            m_suspect = position;
    }
}

} // namespace

PipelineResult runWritePipeline(NameNodeConnection *connection, const LocatedBlock &block, const BlockWrite &write,
                                PacketBuffer *buffer, std::uint32_t *suspect)
{
    if (suspect)
        *suspect = 0;
    TcpSocket *socket = block.firstLocation
                            ? getDataNodeSocket(connection, *block.firstLocation, block.firstLocation->xferPort)
                            : nullptr;
    if (!socket) {
        logToHost("Cannot connect to datanode");
        return AttemptFailed;
    }
    Pipeline pipeline(socket, block, write, buffer);
    const PipelineResult result = pipeline.run();
    if (suspect)
        *suspect = pipeline.suspect();
    return result;
}
