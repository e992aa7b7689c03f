// A block of a file and the DataNodes that hold it, as the NameNode describes them. Files have many blocks, so each
// record is one compact heap block: the fixed part, then its texts, each followed by a NUL byte.
#ifndef IO_LOCATEDBLOCK_H
#define IO_LOCATEDBLOCK_H

#include "rpc/HdfsFileStatus.h"

#include <pb_decode.h>

#include <cstdint>

/// One DataNode that holds a block (`DatanodeIDProto`).
struct DataNodeLocation {
    ByteString ipAddr() const;
    ByteString hostName() const; ///< the name that reads and writes connect to
    ByteString datanodeUuid() const;
    /// Where it is in the cluster's topology ("/default-rack"); only of DataNodes that addBlock names, else empty.
    ByteString networkLocation() const;

    DataNodeLocation *next; ///< null at the end of the block's list
    std::uint32_t xferPort; ///< data transfer protocol
    std::uint32_t ipcPort;
    std::uint32_t infoPort; ///< HTTP
    std::uint32_t ipAddrSize;
    std::uint32_t hostNameSize;
    std::uint32_t datanodeUuidSize;
    std::uint32_t networkLocationSize;
    std::uint8_t down; ///< 1 once a read from this DataNode has failed
};

/// One block (`LocatedBlockProto`). The sentinel behind a file's last block is one without locations whose offset is
/// the file's length.
struct LocatedBlock {
    ByteString poolId() const;
    ByteString tokenIdentifier() const;
    ByteString tokenPassword() const;
    ByteString tokenKind() const;
    ByteString tokenService() const;

    DataNodeLocation *firstLocation;   ///< owned list, in the NameNode's order
    DataNodeLocation *currentLocation; ///< the one that a read tries first
    LocatedBlock *next;                ///< used while a response is decoded
    std::int64_t offset;               ///< where the block starts in the file, bytes
    std::uint64_t blockId;
    std::uint64_t generationStamp;
    std::uint64_t numBytes;
    std::uint32_t locationCount;
    std::uint32_t poolIdSize;
    std::uint32_t tokenIdentifierSize;
    std::uint32_t tokenPasswordSize;
    std::uint32_t tokenKindSize;
    std::uint32_t tokenServiceSize;
};

/// Blocks being decoded, in the order received. Does not own them.
struct LocatedBlockList {
    LocatedBlockList() : head(nullptr), tail(nullptr), count(0) {}
    LocatedBlock *head;
    LocatedBlock *tail;
    std::int32_t count;
};

/// Decodes one `LocatedBlockProto`, all of `stream`, into a new record at the tail of `list`. False with the stream's
/// error set when it cannot be decoded, starts before the block in front of it or beyond what an offset can be, or
/// there is no memory; the list is unchanged then.
bool appendLocatedBlock(pb_istream_t *stream, LocatedBlockList *list);

/// Decodes the response to addBlock (`AddBlockResponseProto`), all of `stream`. The caller owns the block; null with
/// the stream's error set when it cannot be decoded or there is no memory.
LocatedBlock *decodeAddedBlock(pb_istream_t *stream);

/// Takes the location at `position` out of a block and puts it at the end of `*list`; nothing when there is none.
void moveLocation(LocatedBlock *block, std::uint32_t position, DataNodeLocation **list);

/// A block without texts and locations; null when there is no memory.
LocatedBlock *newSentinelBlock(std::uint64_t fileLength);

/// Frees a list of locations; null is allowed.
void freeLocations(DataNodeLocation *first);

/// Frees a block with its locations; null is allowed.
void freeLocatedBlock(LocatedBlock *block);

#endif
