#include "io/Checksums.h"

#include "testing/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

typedef std::vector<unsigned char> Bytes;

/// CRC-32C as it is defined: bit by bit, least significant bit first.
std::uint32_t definedCrc32c(const unsigned char *data, std::size_t length)
{
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0x82F63B78u : crc >> 1;
    }
    return ~crc;
}

Bytes definedChecksums(const unsigned char *data, std::size_t bytesPerChecksum, std::size_t length)
{
    Bytes checksums;
    for (std::size_t at = 0; at < length; at += bytesPerChecksum) {
        const std::uint32_t crc = definedCrc32c(data + at, std::min(bytesPerChecksum, length - at));
        for (int shift = 24; shift >= 0; shift -= 8)
            checksums.push_back(static_cast<unsigned char>(crc >> shift));
    }
    return checksums;
}

Bytes randomBytes(std::size_t size)
{
    std::mt19937 random(20);
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(random());
    return bytes;
}

/// Memory whose first byte lies on an 8-byte boundary.
class AlignedBytes
{
public:
    explicit AlignedBytes(std::size_t size) : m_words(size / 8 + 1)
    {
        const Bytes bytes = randomBytes(size);
        std::memcpy(m_words.data(), bytes.data(), size);
    }
    const unsigned char *data() const { return reinterpret_cast<const unsigned char *>(m_words.data()); }

private:
    std::vector<std::uint64_t> m_words;
};

std::uint32_t crcOf(const void *data, std::size_t length)
{
    Crc32cState state;
    state.update(data, static_cast<std::int32_t>(length));
    return state.value();
}

/// Computes into memory that ends where the checksums must end; what is written beyond shows in the result.
Bytes computed(const unsigned char *data, std::uint32_t bytesPerChecksum, std::uint32_t length)
{
    const std::size_t expected = (static_cast<std::size_t>(length) + bytesPerChecksum - 1) / bytesPerChecksum * 4;
    Bytes checksums(expected + 8, 0xEE);
    Crc32cState state;
    EXPECT_FALSE(computeChunkChecksums(&state, checksums.data(), data, kChecksumCrc32c, bytesPerChecksum, length));
    for (std::size_t i = expected; i < checksums.size(); ++i)
        EXPECT_EQ(0xEE, checksums[i]) << "byte " << i << " behind the checksums";
    checksums.resize(expected);
    return checksums;
}

} // namespace

TEST(Crc32c, OfTheNineDigitsIsThePublishedValue)
{
    EXPECT_EQ(0xE3069283u, crcOf("123456789", 9));
}

TEST(Crc32c, OfNothingIsZero)
{
    EXPECT_EQ(0u, crcOf("", 0));
}

TEST(Crc32c, EqualsTheByteByByteDefinitionAtEveryAlignmentAndLength)
{
    const AlignedBytes data(8 + 300);
    for (std::size_t alignment = 0; alignment < 8; ++alignment) {
        for (std::size_t length = 0; length <= 300; ++length) {
            const unsigned char *start = data.data() + alignment;
            ASSERT_EQ(definedCrc32c(start, length), crcOf(start, length))
                << "alignment " << alignment << ", length " << length;
        }
    }
}

TEST(Crc32c, OfPiecesEqualsThatOfTheWholeWhereverItIsCut)
{
    const AlignedBytes data(48);
    for (std::size_t cut = 0; cut <= 48; ++cut) {
        Crc32cState state;
        state.update(data.data(), static_cast<std::int32_t>(cut));
        state.update(data.data() + cut, static_cast<std::int32_t>(48 - cut));
        ASSERT_EQ(definedCrc32c(data.data(), 48), state.value()) << "cut at " << cut;
    }
}

TEST(Crc32c, StateStartsAgainAfterReset)
{
    Crc32cState state;
    state.update("something else", 14);
    state.reset();
    EXPECT_EQ(0xFFFFFFFFu, state.running);
    state.update("123456789", 9);
    EXPECT_EQ(0xE3069283u, state.value());
}

TEST(ChunkChecksums, AreBigEndianOnTheWire)
{
    const Bytes expected = {0xE3, 0x06, 0x92, 0x83};
    EXPECT_EQ(expected, computed(reinterpret_cast<const unsigned char *>("123456789"), 512, 9));
}

TEST(ChunkChecksums, ChunkAfterChunkEqualsTheDefinitionAtEveryAlignmentAndLength)
{
    const std::uint32_t kBytesPerChecksum = 16;
    const std::uint32_t kMostBytes = 20 * kBytesPerChecksum + 3; // two rounds of eight chunks side by side, and a rest
    const AlignedBytes data(8 + kMostBytes);
    for (std::size_t alignment = 0; alignment < 8; ++alignment) {
        for (std::uint32_t length = 0; length <= kMostBytes; ++length) {
            const unsigned char *start = data.data() + alignment;
            ASSERT_EQ(definedChecksums(start, kBytesPerChecksum, length), computed(start, kBytesPerChecksum, length))
                << "alignment " << alignment << ", length " << length;
        }
    }
}

TEST(ChunkChecksums, EqualTheDefinitionForChunksOfEverySize)
{
    const AlignedBytes data(1 + 10 * 1025);
    const std::uint32_t sizes[] = {1,  2,  3,   4,   5,   6,   7,   8,   9,    15,   16,   17,  63,
                                   64, 65, 100, 255, 511, 512, 513, 777, 1000, 1023, 1024, 1025};
    for (std::uint32_t bytesPerChecksum : sizes) {
        const std::uint32_t lengths[] = {0,
                                         1,
                                         bytesPerChecksum - 1,
                                         bytesPerChecksum,
                                         bytesPerChecksum + 1,
                                         7 * bytesPerChecksum,
                                         8 * bytesPerChecksum - 1,
                                         8 * bytesPerChecksum,
                                         8 * bytesPerChecksum + 1,
                                         9 * bytesPerChecksum,
                                         10 * bytesPerChecksum - 1};
        for (std::uint32_t length : lengths) {
            for (std::size_t alignment = 0; alignment < 2; ++alignment) {
                const unsigned char *start = data.data() + alignment;
                ASSERT_EQ(definedChecksums(start, bytesPerChecksum, length), computed(start, bytesPerChecksum, length))
                    << "chunks of " << bytesPerChecksum << ", length " << length;
            }
        }
    }
}

TEST(ChunkChecksums, ExactMultiplesGiveOneChecksumForEachChunk)
{
    const AlignedBytes data(512 * 24);
    for (std::uint32_t chunks = 1; chunks <= 24; ++chunks)
        EXPECT_EQ(4u * chunks, computed(data.data(), 512, 512 * chunks).size());
}

TEST(ChunkChecksums, ChunkLargerThanTheDataIsTheWholeOfIt)
{
    const AlignedBytes data(100);
    EXPECT_EQ(definedChecksums(data.data(), 100, 100),
              computed(data.data(), std::numeric_limits<std::uint32_t>::max(), 100));
    EXPECT_EQ(definedChecksums(data.data(), 100, 100), computed(data.data(), 0x80000000u, 100));
}

TEST(ChunkChecksums, OfTypeNoneAreNotWritten)
{
    LogCapture log;
    Crc32cState state;
    unsigned char checksum[4] = {1, 2, 3, 4};
    EXPECT_FALSE(computeChunkChecksums(&state, checksum, "123456789", kChecksumNull, 512, 9));
    EXPECT_EQ(0, std::memcmp(checksum, "\1\2\3\4", 4));
    EXPECT_TRUE(log.holds({}));
}

TEST(ChunkChecksums, OfAnyOtherTypeAreRefusedAndNotWritten)
{
    const std::uint32_t types[] = {1, 3, 4, 5, 255, 0x80000002u, 0xFFFFFFFFu};
    for (std::uint32_t type : types) {
        LogCapture log;
        Crc32cState state;
        unsigned char checksum[4] = {1, 2, 3, 4};
        EXPECT_TRUE(computeChunkChecksums(&state, checksum, "123456789", type, 512, 9)) << "type " << type;
        EXPECT_EQ(0, std::memcmp(checksum, "\1\2\3\4", 4));
        EXPECT_TRUE(log.holds({"unsupported CRC"}));
    }
}

TEST(VerifyChunkChecksums, AcceptsEverythingDeliberately)
{
    const AlignedBytes data(1024);
    Bytes checksums = computed(data.data(), 512, 1024);
    EXPECT_EQ(0, verifyChunkChecksums(data.data(), checksums.data(), kChecksumCrc32c, 512, 1024));
    checksums[3] ^= 1;
    EXPECT_EQ(0, verifyChunkChecksums(data.data(), checksums.data(), kChecksumCrc32c, 512, 1024));
    EXPECT_EQ(0, verifyChunkChecksums(nullptr, nullptr, 77, 0, 1));
}

TEST(BlockSizeCheck, AcceptsMultiplesOfTheChunkSizeSilently)
{
    LogCapture log;
    EXPECT_FALSE(isBlockSizeUnfit(128 * 1024 * 1024, 1024));
    EXPECT_FALSE(isBlockSizeUnfit(1024, 1024));
    EXPECT_FALSE(isBlockSizeUnfit(0, 1024));
    EXPECT_FALSE(isBlockSizeUnfit(std::numeric_limits<std::int32_t>::max(), 1));
    EXPECT_FALSE(isBlockSizeUnfit(-2048, 1024));
    EXPECT_TRUE(log.holds({}));
}

TEST(BlockSizeCheck, LogsWhatDoesNotFit)
{
    const std::array<std::int32_t, 2> pairs[] = {
        {{1000, 512}}, {{1025, 1024}}, {{1, 1024}}, {{-1000, 512}}, {{2147483647, 1024}}};
    for (const std::array<std::int32_t, 2> &pair : pairs) {
        LogCapture log;
        EXPECT_TRUE(isBlockSizeUnfit(pair[0], pair[1]));
        EXPECT_TRUE(log.holds({"Block size " + std::to_string(pair[0]) + " is not a multiple of chunk size " +
                               std::to_string(pair[1]) + "."}));
    }
    LogCapture log;
    isBlockSizeUnfit(1000, 512);
    EXPECT_TRUE(log.holds({"Block size 1000 is not a multiple of chunk size 512."}));
}
