// The checksums of the data transfer protocol: CRC-32C, one value for each chunk of `bytesPerChecksum` bytes.
#ifndef IO_CHECKSUMS_H
#define IO_CHECKSUMS_H

#include <cstdint>

/// Checksum types, numbered as the protocol's ChecksumTypeProto. No other is handled.
const std::uint32_t kChecksumNull = 0;
const std::uint32_t kChecksumCrc32c = 2;

/// Bytes of one checksum on the wire: the finished value in network byte order.
const std::uint32_t kChecksumSize = 4;

/// A running CRC-32C (Castagnoli, reflected polynomial 0x82F63B78). Uses the processor's own instruction
/// (SSE4.2), which every x86-64 machine that the host supports has.
struct Crc32cState {
    Crc32cState() : running(0xFFFFFFFFu) {}
    void reset() { running = 0xFFFFFFFFu; }
    void update(const void *data, std::int32_t length);
    std::uint32_t value() const { return ~running; }

    std::uint32_t running;
};

/// Writes 4 * ceil(length / bytesPerChecksum) checksum bytes for `length` data bytes at `checksums`; nothing for
/// kChecksumNull. `bytesPerChecksum` is never 0. False when done; true after logging "unsupported CRC" for
/// any other type.
bool computeChunkChecksums(Crc32cState *state, unsigned char *checksums, const void *data, std::uint32_t type,
                           std::uint32_t bytesPerChecksum, std::uint32_t length);

/// Looks at received data with their checksums; 0 = accepted. It deliberately accepts everything: what a DataNode
/// sends is not checked here.
int verifyChunkChecksums(const void *data, const void *checksums, std::uint32_t type, std::uint32_t bytesPerChecksum,
                         std::uint64_t length);

/// Whether a file of `blockSize` cannot be written in chunks of `chunkSize` bytes; in none of 0 bytes. True after
/// logUnfitBlockSize.
bool isBlockSizeUnfit(std::int32_t blockSize, std::int32_t chunkSize);

/// Logs "Block size %1 is not a multiple of chunk size %2.".
void logUnfitBlockSize(std::int32_t blockSize, std::int32_t chunkSize);

#endif
