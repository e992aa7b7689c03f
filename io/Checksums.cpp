#include "io/Checksums.h"

#include "rpc/HostLog.h"
#include "rpc/WireBytes.h"

#include <cstddef>
#include <cstring>
#include <nmmintrin.h>

// The CRC instruction is part of SSE4.2, which the compiler must be told about function by function where it
// does not take it for granted.
#if defined(__GNUC__)
#define USES_CRC_INSTRUCTION __attribute__((target("sse4.2")))
#else
#define USES_CRC_INSTRUCTION
#endif

namespace {

template <class Word> Word load(const unsigned char *data)
{
    Word word;
    std::memcpy(&word, data, sizeof word);
    return word;
}

/// 0 to 7 bytes, in data order.
USES_CRC_INSTRUCTION std::uint32_t updateShortRun(std::uint32_t crc, const unsigned char *data, unsigned length)
{
    switch (length) {
    case 1:
        return _mm_crc32_u8(crc, data[0]);
    case 2:
        return _mm_crc32_u16(crc, load<std::uint16_t>(data));
    case 3:
        return _mm_crc32_u16(_mm_crc32_u8(crc, data[0]), load<std::uint16_t>(data + 1));
    case 4:
        return _mm_crc32_u32(crc, load<std::uint32_t>(data));
    case 5:
        return _mm_crc32_u8(_mm_crc32_u32(crc, load<std::uint32_t>(data)), data[4]);
    case 6:
        return _mm_crc32_u32(_mm_crc32_u16(crc, load<std::uint16_t>(data)), load<std::uint32_t>(data + 2));
    case 7:
        crc = _mm_crc32_u16(_mm_crc32_u8(crc, data[0]), load<std::uint16_t>(data + 1));
        return _mm_crc32_u32(crc, load<std::uint32_t>(data + 3));
    default:
        return crc;
    }
}

/// Chunks worked on at once. One chunk's words depend on each other, so a processor that starts one CRC instruction
/// each cycle, or more, and finishes it three cycles later is kept busy only by several chunks side by side.
const unsigned kLanes = 8;

/// The checksums of kLanes whole chunks that lie back to back.
USES_CRC_INSTRUCTION void computeLanes(unsigned char *checksums, const unsigned char *data,
                                       std::uint32_t bytesPerChecksum)
{
    std::uint64_t crc[kLanes];
    for (unsigned lane = 0; lane < kLanes; ++lane)
        crc[lane] = 0xFFFFFFFFu;
    const std::size_t one = bytesPerChecksum;
    const std::size_t two = 2 * one;
    const std::size_t three = 3 * one;
    const std::uint32_t wordBytes = bytesPerChecksum & ~7u;
    // Two positions and three distances reach all lanes without one address waiting for another.
    const unsigned char *low = data;
    const unsigned char *high = data + 4 * one;
    for (const unsigned char *const end = data + wordBytes; low != end; low += 8, high += 8) {
        crc[0] = _mm_crc32_u64(crc[0], load<std::uint64_t>(low));
        crc[1] = _mm_crc32_u64(crc[1], load<std::uint64_t>(low + one));
        crc[2] = _mm_crc32_u64(crc[2], load<std::uint64_t>(low + two));
        crc[3] = _mm_crc32_u64(crc[3], load<std::uint64_t>(low + three));
        crc[4] = _mm_crc32_u64(crc[4], load<std::uint64_t>(high));
        crc[5] = _mm_crc32_u64(crc[5], load<std::uint64_t>(high + one));
        crc[6] = _mm_crc32_u64(crc[6], load<std::uint64_t>(high + two));
        crc[7] = _mm_crc32_u64(crc[7], load<std::uint64_t>(high + three));
    }
    for (unsigned lane = 0; lane < kLanes; ++lane) {
        const unsigned char *tail = data + lane * one + wordBytes;
        const std::uint32_t running =
            updateShortRun(static_cast<std::uint32_t>(crc[lane]), tail, bytesPerChecksum - wordBytes);
        checksums = writeBigEndian32(checksums, ~running);
    }
}

void computeCrc32c(Crc32cState *state, unsigned char *checksums, const unsigned char *data,
                   std::uint32_t bytesPerChecksum, std::uint32_t length)
{
    const std::uint64_t lanesBytes = static_cast<std::uint64_t>(kLanes) * bytesPerChecksum;
    while (length >= lanesBytes) {
        computeLanes(checksums, data, bytesPerChecksum);
        checksums += kLanes * kChecksumSize;
        data += lanesBytes;
        length -= static_cast<std::uint32_t>(lanesBytes);
    }
    while (length > 0) {
        const std::uint32_t chunk = length < bytesPerChecksum ? length : bytesPerChecksum;
        state->reset();
        state->update(data, static_cast<std::int32_t>(chunk));
        checksums = writeBigEndian32(checksums, state->value());
        data += chunk;
        length -= chunk;
    }
}

} // namespace

USES_CRC_INSTRUCTION void Crc32cState::update(const void *data, std::int32_t length)
{
    const unsigned char *position = static_cast<const unsigned char *>(data);
    std::uint32_t left = static_cast<std::uint32_t>(length);
    const std::uint32_t misaligned = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(position) & 7);
    if (misaligned != 0) {
        const std::uint32_t head = left < 8 - misaligned ? left : 8 - misaligned;
        running = updateShortRun(running, position, head);
        position += head;
        left -= head;
    }
    std::uint64_t crc = running;
    for (; left >= 8; left -= 8, position += 8)
        crc = _mm_crc32_u64(crc, load<std::uint64_t>(position));
    running = updateShortRun(static_cast<std::uint32_t>(crc), position, left);
}

bool computeChunkChecksums(Crc32cState *state, unsigned char *checksums, const void *data, std::uint32_t type,
                           std::uint32_t bytesPerChecksum, std::uint32_t length)
{
    if (type == kChecksumNull)
        return false;
    if (type != kChecksumCrc32c) {
        logToHost("unsupported CRC");
        return true;
    }
    computeCrc32c(state, checksums, static_cast<const unsigned char *>(data), bytesPerChecksum, length);
    return false;
}

int verifyChunkChecksums(const void *, const void *, std::uint32_t, std::uint32_t, std::uint64_t)
{
    return 0;
}

bool isBlockSizeUnfit(std::int32_t blockSize, std::int32_t chunkSize)
{
    // In 64 bits: the smallest 32-bit number divided by -1 has no 32-bit result.
    if (chunkSize != 0 && static_cast<std::int64_t>(blockSize) % chunkSize == 0)
        return false;
    logUnfitBlockSize(blockSize, chunkSize);
    return true;
}

void logUnfitBlockSize(std::int32_t blockSize, std::int32_t chunkSize)
{
    logToHost(QString::fromLatin1("Block size %1 is not a multiple of chunk size %2.").arg(blockSize).arg(chunkSize));
}
