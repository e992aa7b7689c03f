// Reading byte ranges of blocks from the DataNodes' web ports (WebHDFS OPEN).
#ifndef IO_WEBHDFSBLOCKREAD_H
#define IO_WEBHDFSBLOCKREAD_H

#include <cstdint>

class HdfsFileReader;

/// Reads `length` bytes (at least one, all within the file) into `buffer`, starting `offsetInBlock` bytes into the
/// reader's block `*blockIndex` and going on block by block, each with one HTTP request to a DataNode that holds it. A
/// block whose DataNode fails is started again from its first wanted byte on another of its DataNodes. Returns `length`
/// with `*blockIndex` the last block read, kReadFailed when all DataNodes of a block failed, or kReadNoLocation when a
/// later block has none. Every other failure of a block is logged. Closes the DataNode socket unless it is kept.
///
/// The bytes are taken as they come, without checksums. The reader's path and the connection's user go into the request
/// as they are. Where they hold characters that mean something in a URL, or others than ASCII, a DataNode may take the
/// name for another one and give that file's bytes: that is logged once for each reader as "Warning WebHDFS: data
/// nodes may take this name for another one: PATH".
std::uint32_t readThroughWebHdfs(HdfsFileReader &reader, std::int32_t *blockIndex, std::uint64_t offsetInBlock,
                                 std::uint32_t length, char *buffer);

#endif
