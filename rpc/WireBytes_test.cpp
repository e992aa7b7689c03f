#include "rpc/WireBytes.h"

#include <gtest/gtest.h>

#include <google/protobuf/io/coded_stream.h>

#include <string>
#include <vector>

namespace {

using google::protobuf::io::CodedOutputStream;

std::string varint(std::uint32_t value)
{
    unsigned char bytes[5];
    unsigned char *end = writeVarint32(bytes, value);
    return std::string(bytes + 0, end);
}

std::string oracleVarint(std::uint64_t value)
{
    unsigned char bytes[kMaxVarintSize];
    unsigned char *end = CodedOutputStream::WriteVarint64ToArray(value, bytes);
    return std::string(bytes + 0, end);
}

/// What readVarint64 consumes of `bytes`, with enough behind them that it does not read what is not there.
int readVarint(std::string bytes, std::uint64_t *value)
{
    bytes.resize(bytes.size() + kMaxVarintSize, '\x55');
    return readVarint64(reinterpret_cast<const unsigned char *>(bytes.data()), value);
}

TEST(WireBytes, VarintsAreWrittenLeastSignificantGroupFirst)
{
    EXPECT_EQ(std::string("\x00", 1), varint(0));
    EXPECT_EQ("\x7F", varint(127));
    EXPECT_EQ("\x80\x01", varint(128));
    EXPECT_EQ("\xAC\x02", varint(300));
    EXPECT_EQ("\xFF\xFF\xFF\xFF\x0F", varint(0xFFFFFFFF));
}

TEST(WireBytes, VarintsOfEverySizeAgreeWithTheOracleInBothDirections)
{
    for (int bit = 0; bit < 64; ++bit) {
        for (std::int64_t delta = -1; delta <= 1; ++delta) {
            const std::uint64_t value = (std::uint64_t(1) << bit) + static_cast<std::uint64_t>(delta);
            const std::string encoded = oracleVarint(value);
            if (value <= 0xFFFFFFFF) {
                EXPECT_EQ(encoded, varint(static_cast<std::uint32_t>(value)));
            }
            std::uint64_t decoded = 0;
            EXPECT_EQ(static_cast<int>(encoded.size()), readVarint(encoded, &decoded));
            EXPECT_EQ(value, decoded);
        }
    }
}

TEST(WireBytes, AVarintThatDoesNotEndWithinTenBytesIsNotRead)
{
    std::uint64_t value = 4711;
    EXPECT_EQ(0, readVarint(std::string(10, '\x80'), &value));
    EXPECT_EQ(0, readVarint(std::string(10, '\xFF'), &value));
    EXPECT_EQ(4711u, value);
}

TEST(WireBytes, AVarintOfTenBytesIsReadToItsLastBit)
{
    std::uint64_t value = 0;
    EXPECT_EQ(10, readVarint(std::string(9, '\xFF') + '\x01', &value));
    EXPECT_EQ(0xFFFFFFFFFFFFFFFFu, value);
    EXPECT_EQ(10, readVarint(std::string(9, '\x80') + std::string(1, '\0'), &value));
    EXPECT_EQ(0u, value);
}

TEST(WireBytes, NothingIsReadBehindTheLastByteOfAVarint)
{
    // On the heap and without room, so that the sanitizers see a byte too many.
    const std::vector<unsigned char> bytes = {0x80, 0x80, 0x01};
    std::uint64_t value;
    EXPECT_EQ(3, readVarint64(bytes.data(), &value));
    EXPECT_EQ(std::uint64_t(1) << 14, value);
}

TEST(WireBytes, BigEndianNumbersHaveTheirHighestByteFirst)
{
    unsigned char bytes[5] = {0, 0, 0, 0, 0xEE};
    EXPECT_EQ(bytes + 4, writeBigEndian32(bytes, 0x01020380));
    EXPECT_EQ(std::string("\x01\x02\x03\x80\xEE"), std::string(bytes, bytes + 5));
    EXPECT_EQ(0x01020380u, readBigEndian32(bytes));
    EXPECT_EQ(0x0102u, readBigEndian16(bytes));
    EXPECT_EQ(0x0380u, readBigEndian16(bytes + 2));
}

TEST(WireBytes, BigEndianNumbersWithTheTopBitSetStayUnsigned)
{
    const unsigned char bytes[4] = {0xFF, 0xFE, 0xFD, 0xFC};
    EXPECT_EQ(0xFFFEFDFCu, readBigEndian32(bytes));
    EXPECT_EQ(0xFFFEu, readBigEndian16(bytes));
}

TEST(WireBytes, BigEndianNumbersComeBackAsTheyWent)
{
    for (std::uint32_t value : {0u, 1u, 0x7Fu, 0x80u, 0xFFFFu, 0x10000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        unsigned char bytes[4];
        writeBigEndian32(bytes, value);
        EXPECT_EQ(value, readBigEndian32(bytes));
    }
}

} // namespace
