// How a read goes over the blocks that it touches, whatever brings the bytes of each of them.
#ifndef IO_BLOCKWALK_H
#define IO_BLOCKWALK_H

#include "io/DataNodeSocket.h"
#include "io/HdfsFileReader.h"
#include "rpc/HostLog.h"

#include <algorithm>
#include <cstdint>

/// Reads `length` bytes (at least one, all within the file) into `buffer`, starting `offsetInBlock` bytes into the
/// reader's block `*blockIndex`. `readPart(block, offsetInBlock, wanted, buffer)` brings the part of one block, of at
/// least one byte, and returns 0 or kReadFailed. Returns `length` with `*blockIndex` the last block read, what
/// `readPart` returned, or kReadNoLocation after logging `noLocation` (with the block's id as %1) when a later block
/// has no locations. Closes the DataNode socket unless it is kept.
template <class ReadPart>
std::uint32_t walkBlocks(HdfsFileReader &reader, std::int32_t *blockIndex, std::uint64_t offsetInBlock,
                         std::uint32_t length, char *buffer, const char *noLocation, ReadPart readPart)
{
    std::uint32_t owed = length;
    std::uint32_t result = length;
    for (std::int32_t index = *blockIndex;; ++index, offsetInBlock = 0) {
        LocatedBlock *block = reader.blocks[index];
        if (index != *blockIndex && block->locationCount == 0) {
            logToHost(QString::fromLatin1(noLocation).arg(block->blockId));
            result = kReadNoLocation;
            break;
        }
        const std::uint64_t blockLength = static_cast<std::uint64_t>(reader.blocks[index + 1]->offset - block->offset);
        const std::uint32_t wanted =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(owed, blockLength - offsetInBlock));
        if (wanted > 0 && readPart(block, offsetInBlock, wanted, buffer) != 0) {
            result = kReadFailed;
            break;
        }
        *blockIndex = index;
        buffer += wanted;
        owed -= wanted;
        if (owed == 0)
            break;
    }
    closeDataNodeSocketUnlessKept(reader.connection);
    return result;
}

#endif
