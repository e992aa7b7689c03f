// Which block of a reader's list holds a position, against a plain walk over the list.
#include "io/HdfsFileReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

/// Blocks at the given offsets and a sentinel at `fileLength`, without texts and locations.
class BlockList
{
public:
    BlockList(const std::vector<std::int64_t> &offsets, std::int64_t fileLength)
    {
        for (std::int64_t offset : offsets)
            m_blocks.push_back(newSentinelBlock(static_cast<std::uint64_t>(offset)));
        m_blocks.push_back(newSentinelBlock(static_cast<std::uint64_t>(fileLength)));
    }
    ~BlockList()
    {
        for (LocatedBlock *block : m_blocks)
            freeLocatedBlock(block);
    }
    BlockList(const BlockList &) = delete;
    BlockList &operator=(const BlockList &) = delete;

    std::int32_t count() const { return static_cast<std::int32_t>(m_blocks.size()) - 1; }
    std::int64_t offset(std::int32_t index) const { return m_blocks[static_cast<std::size_t>(index)]->offset; }

    std::int32_t find(std::int32_t start, std::int64_t position) const
    {
        return findBlock(m_blocks.data(), count(), start, position);
    }

    /// The last block that does not start behind `position`; the first one when all do.
    std::int32_t walkTo(std::int64_t position) const
    {
        std::int32_t index = 0;
        while (index + 1 < count() && offset(index + 1) <= position)
            ++index;
        return index;
    }

private:
    std::vector<LocatedBlock *> m_blocks;
};

std::vector<std::int64_t> evenOffsets(std::int32_t count, std::int64_t blockSize)
{
    std::vector<std::int64_t> offsets;
    for (std::int32_t i = 0; i < count; ++i)
        offsets.push_back(i * blockSize);
    return offsets;
}

} // namespace

TEST(FindBlock, PositionOnABoundaryIsInTheBlockThatStartsThere)
{
    const BlockList blocks(evenOffsets(5, 100), 450);
    for (std::int32_t start = 0; start < 5; ++start) {
        for (std::int32_t block = 0; block < 5; ++block) {
            EXPECT_EQ(block, blocks.find(start, block * 100)) << "from " << start;
            EXPECT_EQ(block, blocks.find(start, block * 100 + 49)) << "from " << start;
        }
        for (std::int32_t block = 0; block < 4; ++block)
            EXPECT_EQ(block, blocks.find(start, block * 100 + 99)) << "from " << start;
    }
}

TEST(FindBlock, ReachesEveryBlockFromEveryOtherOne)
{
    for (std::int32_t count = 1; count <= 40; ++count) {
        const BlockList blocks(evenOffsets(count, 10), count * 10 - 3);
        for (std::int32_t start = 0; start < count; ++start) {
            for (std::int32_t block = 0; block < count; ++block)
                ASSERT_EQ(block, blocks.find(start, block * 10 + 5)) << count << " blocks, from " << start;
        }
    }
}

TEST(FindBlock, GallopsToTheLastOfManyBlocks)
{
    const BlockList blocks(evenOffsets(100000, 1 << 20), 100000ll << 20);
    EXPECT_EQ(99999, blocks.find(0, (100000ll << 20) - 1));
    EXPECT_EQ(0, blocks.find(99999, 0));
    EXPECT_EQ(65536, blocks.find(0, 65536ll << 20));
    EXPECT_EQ(65535, blocks.find(0, (65536ll << 20) - 1));
}

TEST(FindBlock, OfEmptyBlocksAtOnePlaceTheLastIsMeantFromInFrontAndFromBehind)
{
    const BlockList blocks({0, 100, 100, 100, 200}, 300);
    EXPECT_EQ(3, blocks.find(0, 100));
    EXPECT_EQ(3, blocks.find(4, 100));
    EXPECT_EQ(3, blocks.find(1, 150));
    EXPECT_EQ(3, blocks.find(2, 100));
    EXPECT_EQ(0, blocks.find(3, 99));
}

TEST(FindBlock, PositionBehindTheSentinelIsInTheLastBlock)
{
    const BlockList blocks(evenOffsets(6, 100), 600);
    for (std::int32_t start = 0; start < 6; ++start)
        EXPECT_EQ(5, blocks.find(start, std::numeric_limits<std::int64_t>::max())) << "from " << start;
}

TEST(FindBlock, PositionInFrontOfTheFirstBlockIsInTheFirst)
{
    const BlockList blocks({100, 200, 300}, 400);
    for (std::int32_t start = 0; start < 3; ++start) {
        EXPECT_EQ(0, blocks.find(start, 0)) << "from " << start;
        EXPECT_EQ(0, blocks.find(start, std::numeric_limits<std::int64_t>::min())) << "from " << start;
    }
}

TEST(FindBlock, EqualsTheWalkForRandomLists)
{
    std::mt19937 random(31);
    for (int round = 0; round < 400; ++round) {
        std::vector<std::int64_t> offsets;
        const std::size_t count = 1 + random() % 70;
        std::int64_t offset = 0;
        for (std::size_t i = 0; i < count; ++i) {
            offsets.push_back(offset);
            offset += random() % 4; // a quarter of the blocks is empty
        }
        const BlockList blocks(offsets, offset);
        for (std::int64_t position = 0; position < offset; ++position) {
            const std::int32_t expected = blocks.walkTo(position);
            for (std::int32_t start = 0; start < blocks.count(); ++start) {
                ASSERT_EQ(expected, blocks.find(start, position))
                    << "round " << round << ", position " << position << ", from " << start;
            }
        }
    }
}
