#include "io/LocatedBlock.h"

#include "rpc/MemoryStream.h"
#include "testing/ScriptedFile.h"
#include "testing/SystemCallFaults.h"

#include "testing/proto/OracleHdfs.pb.h"

#include <gtest/gtest.h>

#include <limits>

using namespace hadoop::oracle;

namespace {

/// A list that owns its blocks.
class Blocks : public LocatedBlockList
{
public:
    Blocks() {}
    ~Blocks()
    {
        while (LocatedBlock *block = head) {
            head = block->next;
            freeLocatedBlock(block);
        }
    }
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;

    /// The decoder's error; empty when the block was appended.
    std::string append(const std::string &encoded)
    {
        pb_istream_t stream = memoryStream(encoded.data(), encoded.size());
        const std::int32_t before = count;
        if (appendLocatedBlock(&stream, this)) {
            EXPECT_EQ(before + 1, count);
            EXPECT_EQ(0u, stream.bytes_left);
            return std::string();
        }
        EXPECT_EQ(before, count) << "the list is left as it was";
        return PB_GET_ERROR(&stream);
    }
    std::string append(const LocatedBlockProto &message) { return append(message.SerializePartialAsString()); }
};

std::string text(const ByteString &bytes)
{
    EXPECT_EQ('\0', bytes.data[bytes.size]) << "a NUL byte follows each text";
    return std::string(bytes.data, bytes.size);
}

LocatedBlockProto blockAt(std::uint64_t offset)
{
    LocatedBlockProto message;
    message.mutable_b()->set_poolid("BP-1");
    message.mutable_b()->set_blockid(1073741825);
    message.mutable_b()->set_generationstamp(1001);
    message.mutable_b()->set_numbytes(77);
    message.set_offset(offset);
    message.set_corrupt(false);
    message.mutable_blocktoken()->set_identifier("identifier");
    message.mutable_blocktoken()->set_password("password");
    message.mutable_blocktoken()->set_kind("kind");
    message.mutable_blocktoken()->set_service("service");
    *message.add_locs() = someLocation("host-0", 9866, "uuid-0");
    *message.add_locs() = someLocation("host-1", 19866, "uuid-1");
    return message;
}

} // namespace

TEST(LocatedBlock, KeepsAllThatAReadNeeds)
{
    LocatedBlockProto message = blockAt(4096);
    message.mutable_locs(0)->mutable_id()->set_ipaddr("127.0.0.2");
    message.mutable_locs(0)->mutable_id()->set_infoport(1);
    message.mutable_locs(0)->mutable_id()->set_ipcport(2);
    Blocks blocks;
    ASSERT_EQ("", blocks.append(message));
    const LocatedBlock &block = *blocks.head;
    EXPECT_EQ(4096, block.offset);
    EXPECT_EQ(1073741825u, block.blockId);
    EXPECT_EQ(1001u, block.generationStamp);
    EXPECT_EQ(77u, block.numBytes);
    EXPECT_EQ("BP-1", text(block.poolId()));
    EXPECT_EQ("identifier", text(block.tokenIdentifier()));
    EXPECT_EQ("password", text(block.tokenPassword()));
    EXPECT_EQ("kind", text(block.tokenKind()));
    EXPECT_EQ("service", text(block.tokenService()));
    EXPECT_EQ(2u, block.locationCount);
    EXPECT_EQ(block.firstLocation, block.currentLocation);
    const DataNodeLocation &first = *block.firstLocation;
    EXPECT_EQ("127.0.0.2", text(first.ipAddr()));
    EXPECT_EQ("host-0", text(first.hostName()));
    EXPECT_EQ("uuid-0", text(first.datanodeUuid()));
    EXPECT_EQ(9866u, first.xferPort);
    EXPECT_EQ(1u, first.infoPort);
    EXPECT_EQ(2u, first.ipcPort);
    EXPECT_EQ(0, first.down);
    ASSERT_NE(nullptr, first.next);
    EXPECT_EQ("host-1", text(first.next->hostName()));
    EXPECT_EQ(19866u, first.next->xferPort);
    EXPECT_EQ(nullptr, first.next->next);
}

TEST(LocatedBlock, TextsMayBeEmptyAndMayHoldAnyByte)
{
    LocatedBlockProto message = blockAt(0);
    message.mutable_b()->set_poolid("");
    message.mutable_blocktoken()->set_identifier(std::string("a\0b\xFF", 4));
    message.mutable_blocktoken()->set_password("");
    message.mutable_blocktoken()->set_kind(std::string("\0", 1));
    message.mutable_blocktoken()->set_service("");
    message.clear_locs();
    *message.add_locs() = someLocation("", 0, "");
    *message.add_locs() = someLocation(std::string("ho\0st", 5), 1, "/");
    Blocks blocks;
    ASSERT_EQ("", blocks.append(message));
    EXPECT_EQ("", text(blocks.head->poolId()));
    EXPECT_EQ(std::string("a\0b\xFF", 4), text(blocks.head->tokenIdentifier()));
    EXPECT_EQ("", text(blocks.head->tokenPassword()));
    EXPECT_EQ(std::string("\0", 1), text(blocks.head->tokenKind()));
    EXPECT_EQ("", text(blocks.head->tokenService()));
    EXPECT_EQ("", text(blocks.head->firstLocation->ipAddr()));
    EXPECT_EQ("", text(blocks.head->firstLocation->hostName()));
    EXPECT_EQ("", text(blocks.head->firstLocation->datanodeUuid()));
    EXPECT_EQ(std::string("ho\0st", 5), text(blocks.head->firstLocation->next->hostName()));
}

TEST(LocatedBlock, MissingSizeIsZeroAndCorruptIsDropped)
{
    LocatedBlockProto message = blockAt(0);
    message.mutable_b()->clear_numbytes();
    message.set_corrupt(true);
    Blocks blocks;
    ASSERT_EQ("", blocks.append(message));
    EXPECT_EQ(0u, blocks.head->numBytes);
}

TEST(LocatedBlock, MayHaveNoLocation)
{
    LocatedBlockProto message = blockAt(0);
    message.clear_locs();
    Blocks blocks;
    ASSERT_EQ("", blocks.append(message));
    EXPECT_EQ(0u, blocks.head->locationCount);
    EXPECT_EQ(nullptr, blocks.head->firstLocation);
    EXPECT_EQ(nullptr, blocks.head->currentLocation);
}

TEST(LocatedBlock, MayHaveTenThousandLocations)
{
    LocatedBlockProto message = blockAt(0);
    message.clear_locs();
    for (std::uint32_t i = 0; i < 10000; ++i)
        *message.add_locs() = someLocation("host-" + std::to_string(i), i, "uuid-" + std::to_string(i));
    Blocks blocks;
    ASSERT_EQ("", blocks.append(message));
    EXPECT_EQ(10000u, blocks.head->locationCount);
    std::uint32_t count = 0;
    for (const DataNodeLocation *location = blocks.head->firstLocation; location; location = location->next, ++count)
        ASSERT_EQ(count, location->xferPort);
    EXPECT_EQ(10000u, count);
}

TEST(LocatedBlock, FieldsOfNewerServersAreSkipped)
{
    LocatedBlockProto message = blockAt(5);
    message.add_iscached(true);
    message.add_storagetypes(SSD);
    message.add_storageids("DS-1");
    message.set_blockindices("\x01\x02");
    *message.add_blocktokens() = message.blocktoken();
    for (int i = 0; i < 2; ++i) {
        message.mutable_locs(i)->set_location("/rack");
        message.mutable_locs(i)->set_nondfsused(1);
        message.mutable_locs(i)->set_adminstate(DatanodeInfoProto::IN_MAINTENANCE);
        message.mutable_locs(i)->set_softwareversion("3.4.2");
    }
    Blocks blocks;
    ASSERT_EQ("", blocks.append(message));
    EXPECT_EQ(2u, blocks.head->locationCount);
    EXPECT_EQ("identifier", text(blocks.head->tokenIdentifier())) << "not one of the further tokens";
}

TEST(LocatedBlock, RequiredFieldsAreRequired)
{
    Blocks blocks;
    LocatedBlockProto message = blockAt(0);
    message.clear_offset();
    EXPECT_EQ("missing required field", blocks.append(message));
    message = blockAt(0);
    message.clear_b();
    EXPECT_EQ("missing required field", blocks.append(message));
    message = blockAt(0);
    message.clear_blocktoken();
    EXPECT_EQ("missing required field", blocks.append(message));
    message = blockAt(0);
    message.clear_corrupt();
    EXPECT_EQ("missing required field", blocks.append(message));
    message = blockAt(0);
    message.mutable_locs(1)->mutable_id()->clear_hostname();
    EXPECT_EQ("missing required field", blocks.append(message));
    message = blockAt(0);
    message.mutable_locs(1)->clear_id();
    EXPECT_EQ("missing required field", blocks.append(message));
    EXPECT_EQ(0, blocks.count);
}

TEST(LocatedBlock, OffsetsMustAscend)
{
    Blocks blocks;
    EXPECT_EQ("", blocks.append(blockAt(100)));
    EXPECT_EQ("block offset out of order", blocks.append(blockAt(99)));
    EXPECT_EQ("block offset out of order", blocks.append(blockAt(0)));
    EXPECT_EQ("", blocks.append(blockAt(100))) << "an empty block";
    EXPECT_EQ("", blocks.append(blockAt(101)));
    EXPECT_EQ(3, blocks.count);
    EXPECT_EQ(101, blocks.tail->offset);
}

TEST(LocatedBlock, OffsetMustFitASignedNumber)
{
    Blocks blocks;
    EXPECT_EQ("block offset out of order", blocks.append(blockAt(std::numeric_limits<std::uint64_t>::max())));
    EXPECT_EQ("block offset out of order", blocks.append(blockAt(0x8000000000000000ull)));
    EXPECT_EQ("", blocks.append(blockAt(0x7FFFFFFFFFFFFFFFull)));
    EXPECT_EQ(std::numeric_limits<std::int64_t>::max(), blocks.head->offset);
}

TEST(LocatedBlock, CutAtAnyByteItIsRefusedOrShortButNeverReadBeyond)
{
    const std::string encoded = blockAt(5).SerializeAsString();
    for (std::size_t size = 0; size < encoded.size(); ++size) {
        // A copy of its own: a read beyond it is a read beyond the heap block.
        const std::vector<char> cut(encoded.begin(), encoded.begin() + static_cast<std::ptrdiff_t>(size));
        Blocks blocks;
        pb_istream_t stream = memoryStream(cut.data(), cut.size());
        EXPECT_FALSE(appendLocatedBlock(&stream, &blocks)) << "cut to " << size << ": the token comes last";
    }
}

TEST(LocatedBlock, AnyChangedByteGivesABlockOrAnError)
{
    const std::string encoded = blockAt(5).SerializeAsString();
    int refused = 0;
    for (std::size_t at = 0; at < encoded.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            std::vector<char> changed(encoded.begin(), encoded.end());
            changed[at] = static_cast<char>(value);
            Blocks blocks;
            pb_istream_t stream = memoryStream(changed.data(), changed.size());
            if (!appendLocatedBlock(&stream, &blocks)) {
                ++refused;
                continue;
            }
            for (const DataNodeLocation *location = blocks.head->firstLocation; location; location = location->next)
                ASSERT_LE(text(location->hostName()).size(), encoded.size());
            ASSERT_LE(text(blocks.head->tokenService()).size(), encoded.size());
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(LocatedBlock, EachAllocationMayFailWithoutALeak)
{
    const LocatedBlockProto message = blockAt(0);
    const std::string encoded = message.SerializeAsString();
    for (int ordinal = 0; ordinal < 4; ++ordinal) {
        Blocks blocks;
        SystemCallFaults faults;
        faults.fail(SystemCall::Allocate, ordinal, ENOMEM);
        const std::string error = blocks.append(encoded);
        EXPECT_EQ(ordinal < 3 ? "out of memory" : "", error) << "two locations and the block";
        EXPECT_EQ(ordinal < 3, faults.hasFailed(SystemCall::Allocate));
    }
}

TEST(LocatedBlock, TakesOneAllocationAndOneForEachLocation)
{
    const std::string encoded = blockAt(0).SerializeAsString();
    Blocks blocks;
    const SystemCallFaults calls;
    EXPECT_EQ("", blocks.append(encoded));
    EXPECT_EQ(3, calls.count(SystemCall::Allocate));
}

TEST(LocatedBlock, SentinelHasNothingButTheOffset)
{
    LocatedBlock *sentinel = newSentinelBlock(12345);
    ASSERT_NE(nullptr, sentinel);
    EXPECT_EQ(12345, sentinel->offset);
    EXPECT_EQ(0u, sentinel->locationCount);
    EXPECT_EQ(nullptr, sentinel->firstLocation);
    EXPECT_EQ(nullptr, sentinel->currentLocation);
    EXPECT_EQ(0u, sentinel->blockId);
    EXPECT_EQ("", text(sentinel->poolId()));
    EXPECT_EQ("", text(sentinel->tokenIdentifier()));
    EXPECT_EQ("", text(sentinel->tokenPassword()));
    EXPECT_EQ("", text(sentinel->tokenKind()));
    EXPECT_EQ("", text(sentinel->tokenService()));
    freeLocatedBlock(sentinel);
    SystemCallFaults faults;
    faults.fail(SystemCall::Allocate, 0, ENOMEM);
    EXPECT_EQ(nullptr, newSentinelBlock(1));
}

TEST(LocatedBlock, FreeingNothingIsFine)
{
    freeLocatedBlock(nullptr);
}
