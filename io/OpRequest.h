// How a client opens an operation on a DataNode: version, op code and the request message with its length.
#ifndef IO_OPREQUEST_H
#define IO_OPREQUEST_H

#include "io/LocatedBlock.h"
#include "rpc/PbText.h"

#include "DataTransferMessages.pb.h"
#include "HdfsMessages.pb.h"

#include <QtCore/QByteArray>

#include <cstdint>

/// How messages name a block: views into it, which must outlive the messages' encoding, as this object must.
class BlockIdentity
{
public:
    /// Null is a block that is not described.
    explicit BlockIdentity(const LocatedBlock *block);

    /// Sets the block (without its length), its access token and the client's name.
    void describe(ClientOperationHeaderProto *header) const;
    /// Sets pool, identifier and generation stamp.
    void describe(ExtendedBlockProto *message) const;

private:
    const LocatedBlock *m_block;
    ByteString m_poolId;
    ByteString m_tokenIdentifier;
    ByteString m_tokenPassword;
    ByteString m_tokenKind;
    ByteString m_tokenService;
};

/// Send `DatanodeInfoProto` messages with the identity of each DataNode from `first` (null: none) to the end of its
/// list: with nothing else, or with its network location as far as that is known.
pb_callback_t sendIdentities(const DataNodeLocation *first);
pb_callback_t sendIdentitiesAndPlaces(const DataNodeLocation *first);

/// Version, `opCode`, the message's length and the message. Empty, with the reason in `*error` (null: not known), when
/// it does not fit into kOpMessageLimit bytes.
QByteArray encodeOpRequest(std::uint8_t opCode, PbFieldList fields, const void *message, const char **error);

#endif
