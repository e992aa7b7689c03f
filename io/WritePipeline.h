// Writing one block through a pipeline of DataNodes with the data transfer protocol (OP_WRITE_BLOCK).
#ifndef IO_WRITEPIPELINE_H
#define IO_WRITEPIPELINE_H

#include "io/Checksums.h"
#include "io/LocatedBlock.h"
#include "rpc/NameNodeConnection.h"

#include <cstdint>

/// Most chunks of one packet.
const std::uint32_t kPacketChunks = 500;
/// Most packets that may wait for their acknowledgement when nothing is sent: the next one goes out before the wait.
const std::int64_t kPacketWindow = 50;

/// How one attempt to write a block ended. The numbers are result codes of a block write.
enum PipelineResult {
    BlockWritten = 0,
    RequestNotEncoded = 9,
    PacketNotEncoded = 10,
    ChecksumRefused = 11,
    LastPacketNotEncoded = 12,
    AttemptFailed = -1 ///< the DataNodes: another attempt may succeed
};

/// What is written, and how.
struct BlockWrite {
    const char *data;
    std::uint32_t length;        ///< bytes; 0 writes an empty block
    std::uint32_t chunkSize;     ///< bytes that one checksum covers, never 0
    bool syncBlock;              ///< the DataNodes flush every packet to disk
    std::uint64_t bytesInBlocks; ///< of the file's blocks before this one
    Crc32cState *checksumState;
};

/// The memory of all packets of a block write: prefix, header and checksums. The data are sent from where they are.
struct PacketBuffer {
    static const std::size_t kHeadRoom = 70; ///< prefix and header
    unsigned char bytes[kHeadRoom + kPacketChunks * kChecksumSize];
};

/// One attempt to write `block`, which addBlock has given, through its DataNodes: set-up, packets, an empty last
/// packet, and an acknowledgement for each. Every failure is logged. The DataNode socket is left open. After
/// AttemptFailed
/// `*suspect` (may be null) is the position in the block's list of the DataNode that the others blame (`firstBadLink`,
/// or the first reply of an acknowledgement that is no success), and 0 when they blame none.
PipelineResult runWritePipeline(NameNodeConnection *connection, const LocatedBlock &block, const BlockWrite &write,
                                PacketBuffer *buffer, std::uint32_t *suspect = nullptr);

#endif
