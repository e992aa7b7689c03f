#include "rpc/NameNodeConnection.h"

#include "rpc/HostLog.h"
#include "rpc/MemoryStream.h"
#include "rpc/PbText.h"
#include "rpc/ReceiveAnnounced.h"
#include "rpc/WireBytes.h"

#include "IpcMessages.pb.h"

#include <algorithm>
#include <cstring>

namespace {

const std::size_t kClientIdSize = 16;
const std::size_t kPreambleSize = 7;
const std::size_t kFrameLengthSize = 4;
const std::size_t kContextLimit = 500;
const std::size_t kLargestVarint32 = 5;
const unsigned char kIpcVersion = 9;
const unsigned char kServiceClass = 0;
const unsigned char kAuthProtocolNone = 0;
const unsigned char kAuthProtocolSasl = 0xDF;
const std::uint32_t kRpcProtocolBuffer = 2; ///< RpcKindProto RPC_PROTOCOL_BUFFER
const std::uint32_t kRpcFinalPacket = 0;    ///< OperationProto RPC_FINAL_PACKET
const std::int32_t kInvalidRetryCount = -1;
const std::int32_t kConnectionContextCallId = -3;
const std::uint32_t kStatusSuccess = 0; ///< RpcStatusProto SUCCESS
const std::uint32_t kStatusFatal = 2;   ///< RpcStatusProto FATAL
const std::uint64_t kClientProtocolVersion = 1;
const std::size_t kMostLoggedBytes = 1024 * 1024; ///< of each of an exception's texts
const int kIdleResponseRoom = 16 * 1024;          ///< what a response buffer may hold on to between calls

void logEncodingFailure(const pb_ostream_t &stream)
{
    logToHost(QString::fromLatin1("Encoding failed: %1").arg(codecErrorText(PB_GET_ERROR(&stream))));
}

unsigned char *writeDelimitedHeader(unsigned char *out, PbFieldList fields, const void *message)
{
    pb_ostream_t stream = pb_ostream_from_buffer(out + 1, kIpcHeaderLimit);
    if (!pb_encode(&stream, fields, message)) {
        logEncodingFailure(stream);
        return nullptr;
    }
    *out = static_cast<unsigned char>(stream.bytes_written);
    return out + 1 + stream.bytes_written;
}

unsigned char *writePreamble(unsigned char *out, bool useSasl)
{
    std::memcpy(out, "hrpc", 4);
    out[4] = kIpcVersion;
    out[5] = kServiceClass;
    out[6] = useSasl ? kAuthProtocolSasl : kAuthProtocolNone;
    return out + kPreambleSize;
}

unsigned char *writeConnectionContext(unsigned char *out, const QByteArray &user)
{
    IpcConnectionContextProto context = IpcConnectionContextProto_init_default;
    context.has_userInfo = true;
    context.userInfo.effectiveUser = sendBytes(&user);
    context.protocol = sendProtocolName();
    pb_byte_t encoded[kContextLimit];
    pb_ostream_t stream = pb_ostream_from_buffer(encoded, sizeof encoded);
    if (!pb_encode(&stream, IpcConnectionContextProto_fields, &context)) {
        logEncodingFailure(stream);
        return nullptr;
    }
    out = writeVarint32(out, static_cast<std::uint32_t>(stream.bytes_written));
    std::memcpy(out, encoded, stream.bytes_written);
    return out + stream.bytes_written;
}

/// Reads the varint at the head of `size` bytes. Returns its size, or 0 when it does not end within them.
int readBoundedVarint(const unsigned char *bytes, std::size_t size, std::uint64_t *value)
{
    unsigned char head[kMaxVarintSize] = {0};
    std::memcpy(head, bytes, std::min(size, sizeof head));
    const int consumed = readVarint64(head, value);
    return static_cast<std::size_t>(consumed) <= size ? consumed : 0;
}

/// As much of an exception's text as is worth a place in the log.
QString loggedText(const ByteString &text)
{
    return QString::fromUtf8(text.data, static_cast<int>(std::min(text.size, kMostLoggedBytes)));
}

void logRemoteException(const ByteString &className, const ByteString &message)
{
    logToHost(
        QString::fromLatin1("ExceptionClassName=%1\nerrorMsg=%2").arg(loggedText(className), loggedText(message)));
}

} // namespace

NameNodeConnection::NameNodeConnection()
    : preferredAddressIndex(0), nextCallId(kConnectionContextCallId), port(0), useSasl(false),
      keepDataNodeConnection(false), useWebHdfs(false), abandonsFailedBlocks(false), m_responses(&nameNodeSocket)
{
}

NameNodeConnection::~NameNodeConnection()
{
    disconnect();
}

std::int32_t NameNodeConnection::connect(const QByteArray &host_, std::uint32_t port_, const QByteArray &user_,
                                         std::uint32_t preferredAddressIndex_, bool useSasl_, bool useWebHdfs_,
                                         std::uint64_t, std::uint64_t)
{
    host = host_;
    port = port_;
    user = user_;
    preferredAddressIndex = preferredAddressIndex_;
    useSasl = useSasl_;
    useWebHdfs = useWebHdfs_;
    nextCallId = kConnectionContextCallId;
    m_responses.clear();

    clientId = platform::createUniqueId();
    if (!clientId)
        return 1;
    if (std::strlen(clientId.get()) > kClientIdSize)
        clientId.get()[kClientIdSize] = '\0';

    unsigned char opening[kPreambleSize + kFrameLengthSize + 1 + kIpcHeaderLimit + kLargestVarint32 + kContextLimit];
    unsigned char *const frameLength = writePreamble(opening, useSasl);
    unsigned char *const frame = frameLength + kFrameLengthSize;
    unsigned char *end = writeRpcRequestHeader(frame);
    if (end)
        end = writeConnectionContext(end, user);
    if (!end)
        return 1;
    writeBigEndian32(frameLength, static_cast<std::uint32_t>(end - frame));

    if (nameNodeSocket.connectTo(host.constData(), static_cast<std::int32_t>(port),
                                 static_cast<std::int32_t>(preferredAddressIndex)) != 0) {
        logToHost("TCPIP connect failed");
        return 1;
    }
    preferredAddressIndex = static_cast<std::uint32_t>(nameNodeSocket.addressIndex);
    if (nameNodeSocket.sendAll(opening, static_cast<std::uint32_t>(end - opening)) != 0) {
        logToHost("TCPIP send failed");
        nameNodeSocket.close(); // half an opening leaves nothing that could be called
        return 1;
    }
    // The server does not answer a connection context.
    nextCallId = 0;
    return 0;
}

std::int32_t NameNodeConnection::disconnect()
{
    if (!clientId)
        return 0;
    clientId.reset();
    nameNodeSocket.close();
    m_responses.clear();
    responseBuffer = QByteArray();
    dataNodeSocket.close();
    dataNodeId.clear();
    return 0;
}

bool NameNodeConnection::isReadyForACall()
{
    char unasked;
    return nameNodeSocket.isAlive() && !m_responses.holdsBytes() &&
           platform::receiveWithin(nameNodeSocket.handle, &unasked, 1, 0) == platform::kTimedOut;
}

unsigned char *NameNodeConnection::writeRpcRequestHeader(unsigned char *out)
{
    RpcRequestHeaderProto header = RpcRequestHeaderProto_init_default;
    header.has_rpcKind = true;
    header.rpcKind = kRpcProtocolBuffer;
    header.has_rpcOp = true;
    header.rpcOp = kRpcFinalPacket;
    header.callId = nextCallId++;
    header.clientId = sendCString(clientId ? clientId.get() : "");
    header.has_retryCount = true;
    header.retryCount = kInvalidRetryCount;
    return writeDelimitedHeader(out, RpcRequestHeaderProto_fields, &header);
}

unsigned char *NameNodeConnection::writeCallHeaders(unsigned char *out, const char *methodName)
{
    out = writeRpcRequestHeader(out);
    if (!out)
        return nullptr;
    RequestHeaderProto header = RequestHeaderProto_init_default;
    header.methodName = sendCString(methodName);
    header.declaringClassProtocolName = sendProtocolName();
    header.clientProtocolVersion = kClientProtocolVersion;
    return writeDelimitedHeader(out, RequestHeaderProto_fields, &header);
}

std::int32_t NameNodeConnection::receiveResponse(pb_istream_t *stream)
{
    unsigned char lengthBytes[kFrameLengthSize];
    if (m_responses.receiveExactly(lengthBytes, sizeof lengthBytes) != 0) {
        logToHost("TCPIP received failed");
        return 1;
    }
    const std::uint32_t total = readBigEndian32(lengthBytes);
    if (total == 0)
        return 0;
    if (receiveAnnounced(m_responses, &responseBuffer, total) != 0) {
        logToHost("TCPIP received failed");
        return 1;
    }

    const unsigned char *frame = reinterpret_cast<const unsigned char *>(responseBuffer.constData());
    std::uint64_t headerSize = 0;
    std::size_t headerStart = static_cast<std::size_t>(readBoundedVarint(frame, total, &headerSize));
    if (headerStart == 0 || headerSize > total - headerStart) {
        // A header that does not fit its frame: nothing of it can be trusted.
        headerStart = total;
        headerSize = 0;
    }
    RpcResponseHeaderProto header = RpcResponseHeaderProto_init_default;
    ByteString exceptionClassName = emptyByteString();
    ByteString errorMessage = emptyByteString();
    header.status = kStatusFatal;
    header.exceptionClassName = collectTo(&exceptionClassName);
    header.errorMsg = collectTo(&errorMessage);
    pb_istream_t headerStream = memoryStream(frame + headerStart, static_cast<std::size_t>(headerSize));
    // pb_decode would preset the fields and with them the status that stands for a missing one.
    const bool decoded = pb_decode_noinit(&headerStream, RpcResponseHeaderProto_fields, &header);

    if (header.status == kStatusSuccess) {
        const std::size_t messageStart = headerStart + static_cast<std::size_t>(headerSize);
        *stream = memoryStream(frame + messageStart, total - messageStart);
        // The message ends with the frame; its own length only has to be stepped over.
        std::uint64_t messageLength;
        if (stream->bytes_left > 0)
            pb_decode_varint(stream, &messageLength);
        return 0;
    }
    if (!decoded)
        logToHost(
            QString::fromLatin1("WARNING: Ack Decoding failed: %1").arg(codecErrorText(PB_GET_ERROR(&headerStream))));
    logRemoteException(exceptionClassName, errorMessage);
    return 1;
}

void NameNodeConnection::trimResponseBuffer()
{
    if (responseBuffer.capacity() > kIdleResponseRoom)
        responseBuffer = QByteArray();
}
