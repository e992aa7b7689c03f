#include "io/OpRequest.h"

#include "io/DataTransferProtocol.h"
#include "rpc/WireBytes.h"

namespace {

bool encodeNodes(pb_ostream_t *stream, const pb_field_t *field, const DataNodeLocation *node, bool withNetworkLocation)
{
    for (; node; node = node->next) {
        const ByteString ipAddr = node->ipAddr();
        const ByteString hostName = node->hostName();
        const ByteString datanodeUuid = node->datanodeUuid();
        DatanodeInfoProto message = DatanodeInfoProto_init_default;
        message.id.ipAddr = sendBytes(&ipAddr);
        message.id.hostName = sendBytes(&hostName);
        message.id.datanodeUuid = sendBytes(&datanodeUuid);
        message.id.xferPort = node->xferPort;
        message.id.infoPort = node->infoPort;
        message.id.ipcPort = node->ipcPort;
        const ByteString networkLocation = node->networkLocation();
        if (withNetworkLocation && networkLocation.size > 0)
            message.location = sendBytes(&networkLocation);
        if (!pb_encode_tag_for_field(stream, field) ||
            !pb_encode_submessage(stream, DatanodeInfoProto_fields, &message))
            return false;
    }
    return true;
}

bool encodeIdentities(pb_ostream_t *stream, const pb_field_t *field, void *const *argument)
{
    return encodeNodes(stream, field, static_cast<const DataNodeLocation *>(*argument), false);
}

bool encodeIdentitiesAndPlaces(pb_ostream_t *stream, const pb_field_t *field, void *const *argument)
{
    return encodeNodes(stream, field, static_cast<const DataNodeLocation *>(*argument), true);
}

} // namespace

BlockIdentity::BlockIdentity(const LocatedBlock *block)
    : m_block(block), m_poolId(emptyByteString()), m_tokenIdentifier(emptyByteString()),
      m_tokenPassword(emptyByteString()), m_tokenKind(emptyByteString()), m_tokenService(emptyByteString())
{
    if (!block)
        return;
    m_poolId = block->poolId();
    m_tokenIdentifier = block->tokenIdentifier();
    m_tokenPassword = block->tokenPassword();
    m_tokenKind = block->tokenKind();
    m_tokenService = block->tokenService();
}

void BlockIdentity::describe(ClientOperationHeaderProto *header) const
{
    BaseHeaderProto &base = header->baseHeader;
    describe(&base.block);
    base.has_token = true;
    base.token.identifier = sendBytes(&m_tokenIdentifier);
    base.token.password = sendBytes(&m_tokenPassword);
    base.token.kind = sendBytes(&m_tokenKind);
    base.token.service = sendBytes(&m_tokenService);
    header->clientName = sendCString(kClientName);
}

void BlockIdentity::describe(ExtendedBlockProto *message) const
{
    message->poolId = sendBytes(&m_poolId);
    message->blockId = m_block->blockId;
    message->generationStamp = m_block->generationStamp;
}

pb_callback_t sendIdentities(const DataNodeLocation *first)
{
    return sendEach(encodeIdentities, first);
}

pb_callback_t sendIdentitiesAndPlaces(const DataNodeLocation *first)
{
    return sendEach(encodeIdentitiesAndPlaces, first);
}

QByteArray encodeOpRequest(std::uint8_t opCode, PbFieldList fields, const void *message, const char **error)
{
    pb_byte_t encoded[kOpMessageLimit];
    pb_ostream_t stream = pb_ostream_from_buffer(encoded, sizeof encoded);
    if (!pb_encode(&stream, fields, message)) {
        *error = PB_GET_ERROR(&stream);
        return QByteArray();
    }
    unsigned char head[kOpPrefixSize + kMaxVarintSize] = {kDataTransferVersion >> 8, kDataTransferVersion & 0xFF,
                                                          opCode};
    const unsigned char *headEnd =
        writeVarint32(head + kOpPrefixSize, static_cast<std::uint32_t>(stream.bytes_written));
    QByteArray bytes(reinterpret_cast<const char *>(head), static_cast<int>(headEnd - head));
    return bytes.append(reinterpret_cast<const char *>(encoded), static_cast<int>(stream.bytes_written));
}
