#include "io/DataNodeBlockRead.h"

#include "io/BlockWalk.h"
#include "io/Checksums.h"
#include "io/DataNodeSocket.h"
#include "io/DataNodeStream.h"
#include "io/DataTransferProtocol.h"
#include "io/HdfsFileReader.h"
#include "io/OpAnswer.h"
#include "io/OpRequest.h"
#include "rpc/HostLog.h"
#include "rpc/MemoryStream.h"
#include "rpc/PbText.h"
#include "rpc/ReceiveAnnounced.h"
#include "rpc/WireBytes.h"

#include "DataTransferMessages.pb.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

/// Where an exchange with a DataNode failed, numbered as in the log.
enum Step {
    NoFailure = 0,
    SendRequest = 1,
    ReceiveAnswerLength = 2,
    AnswerLength = 3,
    ReceiveAnswer = 4,
    DecodeAnswer = 5,
    ReceivePacketPrefix = 6,
    ReceivePacketHeader = 7,
    DecodePacketHeader = 8,
    ReceiveChecksums = 9,
    ReceiveFirstChunk = 10,
    VerifyFirstChunk = 11,
    ReceiveWholePacket = 12,
    VerifyWholePacket = 13,
    ReceiveWholeChunks = 14,
    VerifyWholeChunks = 15,
    ReceiveLastChunk = 16,
    VerifyLastChunk = 17
};

/// The last step whose first failure goes unlogged: until here it may be an old connection that the DataNode closed.
const Step kLastQuietStep = DecodeAnswer;

/// No chunk is larger than a packet, and no DataNode takes larger packets than this unless told to.
const std::uint32_t kLargestChunk = 16 * 1024 * 1024;
const std::uint32_t kAttemptsPerLocation = 3;
/// What a DataNode's packets are usually like. Only a guess for how much can be received at once.
const std::uint32_t kUsualPacketHeaderSize = 25;
const std::uint32_t kUsualPacketDataSize = 64 * 1024;

struct Failure {
    Failure(Step step_ = NoFailure, const char *codecError_ = nullptr)
        : step(step_), codecError(codecError_), socketError(platform::lastSocketError())
    {
    }
    Step step;
    const char *codecError; ///< why DecodeAnswer or DecodePacketHeader failed; null: not known
    int socketError;
};

void logFailure(const Failure &failure, std::uint64_t blockId)
{
    const QString codecError = codecErrorText(failure.codecError);
    switch (failure.step) {
    case NoFailure:
        break;
    case SendRequest:
        logToHost("Warning HDFS: TCPIP send failed (1)");
        break;
    case ReceiveAnswerLength:
        logToHost("Warning HDFS: TCPIP received failed (2)");
        logSocketError("Warning HDFS: socket error: %1\n  %2", failure.socketError);
        break;
    case AnswerLength:
        logToHost("Warning HDFS: TCPIP received failed: erroneous size (3)");
        break;
    case ReceiveAnswer:
        logToHost("Warning HDFS: TCPIP received failed (4)");
        break;
    case DecodeAnswer:
        logToHost(QString::fromLatin1("Warning HDFS: Block Decoding failed: %1 (5)").arg(codecError));
        break;
    case ReceivePacketPrefix:
        logToHost(QString::fromLatin1("Warning HDFS: TCPIP received failed (6) for block %1").arg(blockId));
        break;
    case ReceivePacketHeader:
        logToHost(QString::fromLatin1("Warning HDFS: TCPIP received failed (7) for block %1").arg(blockId));
        break;
    case DecodePacketHeader:
        logToHost(QString::fromLatin1("Warning HDFS: Packet Decoding failed: %1 (8)").arg(codecError));
        break;
    case ReceiveChecksums:
        logToHost(QString::fromLatin1("Warning HDFS: TCPIP received failed (9) for block %1").arg(blockId));
        break;
    case ReceiveFirstChunk:
        logToHost("Warning HDFS: TCPIP received failed (10)");
        break;
    case VerifyFirstChunk:
        logToHost("Warning HDFS: TCPIP received failed on checksum (11)");
        break;
    case ReceiveWholePacket:
        logToHost(QString::fromLatin1("Warning HDFS: TCPIP received failed (12) for block %1").arg(blockId));
        break;
    case VerifyWholePacket:
        logToHost("Warning HDFS: TCPIP received failed on checksum (13)");
        break;
    case ReceiveWholeChunks:
        logToHost("Warning HDFS: TCPIP received failed (14)");
        break;
    case VerifyWholeChunks:
        logToHost("Warning HDFS: TCPIP received failed on checksum (15)");
        break;
    case ReceiveLastChunk:
        logToHost("Warning HDFS: TCPIP received failed (16)");
        break;
    case VerifyLastChunk:
        logToHost("Warning HDFS: TCPIP received failed on checksum (17)");
        break;
    }
}

/// Empty after logging an encoding failure.
QByteArray encodeRequest(const LocatedBlock &block, std::uint64_t offsetInBlock, std::uint64_t length)
{
    const BlockIdentity identity(&block);
    OpReadBlockProto request = OpReadBlockProto_init_default;
    identity.describe(&request.header);
    request.offset = offsetInBlock;
    request.len = length;
    const char *error = nullptr;
    const QByteArray bytes = encodeOpRequest(kOpReadBlock, OpReadBlockProto_fields, &request, &error);
    if (bytes.isEmpty())
        logToHost(QString::fromLatin1("ERROR HDFS: Encoding failed: %1").arg(codecErrorText(error)));
    return bytes;
}

/// What an answer says about the packets that follow it.
struct ChecksumLayout {
    std::uint32_t type;
    std::uint32_t bytesPerChecksum; ///< never 0
    std::uint32_t checksumSize;     ///< bytes of one checksum
};

/// Memory that one read uses for all its packets.
struct Scratch {
    QByteArray message; ///< answer or packet header
    QByteArray checksums;
    QByteArray chunk;
};

/// One exchange with one DataNode: asks for `wanted` bytes of a block and receives them.
class BlockExchange
{
public:
    BlockExchange(TcpSocket *socket, Scratch *scratch, std::uint64_t offsetInBlock, std::uint32_t wanted, char *output)
        : m_socket(socket), m_stream(socket), m_scratch(scratch), m_layout(), m_nextOffset(offsetInBlock),
          m_wanted(wanted), m_output(output), m_isFirstPacket(true), m_checksumsUsed(0),
          m_lastHeaderSize(kUsualPacketHeaderSize), m_lastDataLength(kUsualPacketDataSize)
    {
    }

    Failure run(const QByteArray &request);

private:
    Failure receiveAnswer();
    Failure readPacket();
    Failure receivePacketHeader(PacketHeaderProto *header);
    const char *whatIsWrongWith(const PacketHeaderProto &header) const;
    std::uint32_t likelyHeadSize(std::uint32_t wanted) const;
    std::uint64_t checksumBytes(std::uint32_t dataLength) const;
    Failure receiveChecksums(std::uint32_t dataLength);
    Failure readFirstChunk(std::uint32_t skip, std::uint32_t *dataLeft);
    Failure readPartOfPacket(std::uint32_t dataLeft);
    Failure readWholePacket(std::uint32_t dataLeft);
    bool verify(const char *data, std::uint32_t length);
    void packetRead();

    TcpSocket *m_socket;
    DataNodeStream m_stream;
    Scratch *m_scratch;
    ChecksumLayout m_layout;
    std::uint64_t m_nextOffset; ///< offset in the block of the next wanted byte
    std::uint32_t m_wanted;     ///< bytes still to come
    char *m_output;
    bool m_isFirstPacket;
    std::uint32_t m_checksumsUsed;  ///< bytes of the packet's checksums that belong to data already verified
    std::uint32_t m_lastHeaderSize; ///< of the packet before; what is usual before the first one
    std::uint32_t m_lastDataLength; ///< the same
};

Failure BlockExchange::run(const QByteArray &request)
{
    if (m_socket->sendAll(request.constData(), static_cast<std::uint32_t>(request.size())) != 0)
        return SendRequest;
    Failure failure = receiveAnswer();
    while (failure.step == NoFailure && m_wanted > 0)
        failure = readPacket();
    // The data are there: a DataNode that no longer listens is only not used again.
    if (failure.step == NoFailure && !m_stream.statuses().sendWaiting())
        m_stream.close();
    return failure;
}

Failure BlockExchange::receiveAnswer()
{
    pb_istream_t stream = memoryStream(nullptr, 0);
    switch (receiveOpAnswer(&m_stream, &m_scratch->message, &stream, DataFollow)) {
    case AnswerLengthNotReceived:
        return ReceiveAnswerLength;
    case AnswerLengthErroneous:
        return AnswerLength;
    case AnswerNotReceived:
        return ReceiveAnswer;
    case AnswerReceived:
        break;
    }
    BlockOpResponseProto answer = BlockOpResponseProto_init_default;
    if (!pb_decode(&stream, BlockOpResponseProto_fields, &answer))
        return Failure(DecodeAnswer, PB_GET_ERROR(&stream));
    // The status is not looked at: a DataNode that refuses sends no packets, and that is noticed next.
    const ChecksumProto &checksum = answer.readOpChecksumInfo.checksum;
    m_layout.type = checksum.type;
    m_layout.checksumSize = checksum.type != kChecksumNull ? kChecksumSize : 0;
    m_layout.bytesPerChecksum = checksum.bytesPerChecksum;
    if (m_layout.bytesPerChecksum == 0) {
        if (m_layout.type != kChecksumNull)
            return Failure(DecodeAnswer, "bytesPerChecksum is 0");
        m_layout.bytesPerChecksum = std::numeric_limits<std::uint32_t>::max(); // each packet is one chunk
    }
    return NoFailure;
}

Failure BlockExchange::readPacket()
{
    m_stream.receiveAhead(likelyHeadSize(m_wanted));
    PacketHeaderProto header = PacketHeaderProto_init_default;
    Failure failure = receivePacketHeader(&header);
    if (failure.step != NoFailure)
        return failure;
    std::uint32_t dataLeft = static_cast<std::uint32_t>(header.dataLen);
    failure = receiveChecksums(dataLeft);
    if (failure.step != NoFailure)
        return failure;

    const std::uint32_t skip =
        static_cast<std::uint32_t>(m_nextOffset - static_cast<std::uint64_t>(header.offsetInBlock));
    if (skip > 0) {
        failure = readFirstChunk(skip, &dataLeft);
        if (failure.step != NoFailure)
            return failure;
    }
    if (m_wanted < dataLeft)
        failure = readPartOfPacket(dataLeft);
    else
        failure = readWholePacket(dataLeft);
    if (failure.step == NoFailure)
        packetRead();
    return failure;
}

Failure BlockExchange::receivePacketHeader(PacketHeaderProto *header)
{
    unsigned char prefix[kPacketPrefixSize];
    if (m_stream.receiveExactly(prefix, sizeof prefix) != 0)
        return ReceivePacketPrefix;
    // The packet's length in the first four bytes says nothing that the header does not say.
    const std::uint16_t headerSize = readBigEndian16(prefix + 4);
    QByteArray &message = m_scratch->message;
    if (receiveAnnounced(m_stream, &message, headerSize) != 0)
        return ReceivePacketHeader;
    pb_istream_t stream = memoryStream(message.constData(), headerSize);
    if (!decodeInitialised(&stream, PacketHeaderProto_fields, header))
        return Failure(DecodePacketHeader, PB_GET_ERROR(&stream));
    if (const char *wrong = whatIsWrongWith(*header))
        return Failure(DecodePacketHeader, wrong);
    m_lastHeaderSize = headerSize;
    m_lastDataLength = static_cast<std::uint32_t>(header->dataLen);
    return NoFailure;
}

/// Packets must follow each other without a gap, and only the first may start early, by less than a chunk: anything
/// else would put wrong bytes into the caller's buffer. Null when all is well.
const char *BlockExchange::whatIsWrongWith(const PacketHeaderProto &header) const
{
    if (header.dataLen < 0)
        return "negative dataLen";
    if (header.dataLen == 0)
        return "no data";
    if (header.offsetInBlock < 0 || static_cast<std::uint64_t>(header.offsetInBlock) > m_nextOffset)
        return "offsetInBlock behind the wanted byte";
    const std::uint64_t skip = m_nextOffset - static_cast<std::uint64_t>(header.offsetInBlock);
    const std::uint32_t firstChunk = std::min(m_layout.bytesPerChecksum, static_cast<std::uint32_t>(header.dataLen));
    if (skip > 0 && (!m_isFirstPacket || skip >= firstChunk))
        return "offsetInBlock before the wanted chunk";
    // The first and the last chunk may have to be received whole for the sake of a few bytes.
    if (firstChunk > kLargestChunk)
        return "chunk too large";
    return nullptr;
}

/// Prefix, header and checksums of the next packet if it is like the one before, but not more than the packet must
/// have. None when no more bytes are wanted.
std::uint32_t BlockExchange::likelyHeadSize(std::uint32_t wanted) const
{
    if (wanted == 0)
        return 0;
    const std::uint32_t kMostAhead = 64 * 1024;
    const std::uint64_t likely =
        kPacketPrefixSize + m_lastHeaderSize + checksumBytes(std::min(m_lastDataLength, wanted));
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(likely, kMostAhead));
}

std::uint64_t BlockExchange::checksumBytes(std::uint32_t dataLength) const
{
    const std::uint64_t chunks =
        (static_cast<std::uint64_t>(dataLength) + m_layout.bytesPerChecksum - 1) / m_layout.bytesPerChecksum;
    return chunks * m_layout.checksumSize;
}

Failure BlockExchange::receiveChecksums(std::uint32_t dataLength)
{
    const std::uint64_t size = checksumBytes(dataLength);
    if (size > std::numeric_limits<std::uint32_t>::max() ||
        receiveAnnounced(m_stream, &m_scratch->checksums, static_cast<std::uint32_t>(size)) != 0)
        return ReceiveChecksums;
    m_checksumsUsed = 0;
    return NoFailure;
}

/// A DataNode starts on a chunk boundary: takes the chunk that holds the first wanted byte.
Failure BlockExchange::readFirstChunk(std::uint32_t skip, std::uint32_t *dataLeft)
{
    const std::uint32_t chunk = std::min(m_layout.bytesPerChecksum, *dataLeft);
    if (receiveAnnounced(m_stream, &m_scratch->chunk, chunk) != 0)
        return ReceiveFirstChunk;
    if (!verify(m_scratch->chunk.constData(), chunk))
        return VerifyFirstChunk;
    *dataLeft -= chunk;
    const std::uint32_t taken = std::min(chunk - skip, m_wanted);
    std::memcpy(m_output, m_scratch->chunk.constData() + skip, taken);
    m_output += taken;
    m_nextOffset += taken;
    m_wanted -= taken;
    return NoFailure;
}

/// The wanted bytes end within this packet: whole chunks go straight to the output, of the last one only its start.
Failure BlockExchange::readPartOfPacket(std::uint32_t dataLeft)
{
    const std::uint32_t wholeChunks = m_wanted / m_layout.bytesPerChecksum * m_layout.bytesPerChecksum;
    if (wholeChunks > 0) {
        if (m_stream.receiveExactly(m_output, wholeChunks) != 0)
            return ReceiveWholeChunks;
        if (!verify(m_output, wholeChunks))
            return VerifyWholeChunks;
        m_output += wholeChunks;
        m_wanted -= wholeChunks;
        dataLeft -= wholeChunks;
    }
    if (m_wanted > 0) {
        const std::uint32_t chunk = std::min(m_layout.bytesPerChecksum, dataLeft);
        if (receiveAnnounced(m_stream, &m_scratch->chunk, chunk) != 0)
            return ReceiveLastChunk;
        if (!verify(m_scratch->chunk.constData(), chunk))
            return VerifyLastChunk;
        std::memcpy(m_output, m_scratch->chunk.constData(), m_wanted);
        m_wanted = 0;
    }
    return NoFailure;
}

Failure BlockExchange::readWholePacket(std::uint32_t dataLeft)
{
    // The head of the next packet comes along when it is there.
    if (m_stream.receiveExactly(m_output, dataLeft, likelyHeadSize(m_wanted - dataLeft)) != 0)
        return ReceiveWholePacket;
    if (!verify(m_output, dataLeft))
        return VerifyWholePacket;
    m_output += dataLeft;
    m_nextOffset += dataLeft;
    m_wanted -= dataLeft;
    return NoFailure;
}

/// Looks at the packet's next `length` bytes: whole chunks, or its last ones.
bool BlockExchange::verify(const char *data, std::uint32_t length)
{
    const char *const checksums = m_scratch->checksums.constData() + m_checksumsUsed;
    m_checksumsUsed += static_cast<std::uint32_t>(checksumBytes(length));
    return verifyChunkChecksums(data, checksums, m_layout.type, m_layout.bytesPerChecksum, length) == 0;
}

void BlockExchange::packetRead()
{
    m_isFirstPacket = false;
    // Without the socket the next receive fails, and that is what gets reported.
    if (!m_stream.statuses().packetRead())
        m_stream.close();
}

/// Reads `wanted` bytes of one block from whichever of its DataNodes gives them. 0 or kReadFailed.
std::uint32_t readBlock(NameNodeConnection *connection, LocatedBlock *block, std::uint64_t offsetInBlock,
                        std::uint32_t wanted, char *output, Scratch *scratch)
{
    const QByteArray request = encodeRequest(*block, offsetInBlock, wanted);
    if (request.isEmpty())
        return kReadFailed;
    DataNodeLocation *node = block->currentLocation;
    bool quietRetry = true;
    for (std::uint64_t left = static_cast<std::uint64_t>(block->locationCount) * kAttemptsPerLocation; left > 0;
         --left) {
        TcpSocket *socket = getDataNodeSocket(connection, *node, node->xferPort);
        if (!socket)
            continue; // deliberately the same DataNode again
        BlockExchange exchange(socket, scratch, offsetInBlock, wanted, output);
        const Failure failure = exchange.run(request);
        if (failure.step == NoFailure)
            return 0;
        if (failure.step <= kLastQuietStep && quietRetry) {
            quietRetry = false;
            releaseDataNodeSocket(connection, node, false);
            continue;
        }
        logFailure(failure, block->blockId);
        quietRetry = true;
        releaseDataNodeSocket(connection, node, true);
        node = node->next ? node->next : block->firstLocation;
    }
    logToHost(
        QString::fromLatin1("ERROR HDFS: All the data nodes that contains block %1 are down").arg(block->blockId));
    return kReadFailed;
}

} // namespace

std::uint32_t readFromDataNodes(HdfsFileReader &reader, std::int32_t *blockIndex, std::uint64_t offsetInBlock,
                                std::uint32_t length, char *buffer)
{
    Scratch scratch;
    return walkBlocks(reader, blockIndex, offsetInBlock, length, buffer,
                      "ERROR HDFS: No data node that contains block %1 (18)",
                      [&](LocatedBlock *block, std::uint64_t offset, std::uint32_t wanted, char *output) {
                          return readBlock(reader.connection, block, offset, wanted, output, &scratch);
                      });
}
