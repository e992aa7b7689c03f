// Reading byte ranges of blocks from DataNodes with the data transfer protocol (OP_READ_BLOCK).
#ifndef IO_DATANODEBLOCKREAD_H
#define IO_DATANODEBLOCKREAD_H

#include <cstdint>

class HdfsFileReader;

/// Reads `length` bytes (at least one, all within the file) into `buffer`, starting `offsetInBlock` bytes into the
/// reader's block `*blockIndex` and going on block by block. A block whose DataNode fails is started again from its
/// first wanted byte on the next of its DataNodes. Returns `length` with `*blockIndex` the last block read, kReadFailed
/// when all DataNodes of a block failed or the request could not be encoded, or kReadNoLocation when a later block has
/// none. Every failure is logged, but for the first one of a fresh exchange. Closes the DataNode socket unless it is
/// kept.
std::uint32_t readFromDataNodes(HdfsFileReader &reader, std::int32_t *blockIndex, std::uint64_t offsetInBlock,
                                std::uint32_t length, char *buffer);

#endif
