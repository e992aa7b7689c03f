#include "io/DataNodeSocket.h"

#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedFile.h"
#include "testing/ScriptedPeer.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

namespace {

/// A connection to no NameNode, and two DataNodes that only listen.
class DataNodeSocket : public ::testing::Test
{
protected:
    DataNodeSocket() : file({1, 1})
    {
        for (int i = 0; i < 2; ++i) {
            hadoop::oracle::DatanodeIDProto *id =
                file.block(static_cast<std::size_t>(i))->mutable_locs(0)->mutable_id();
            id->set_datanodeuuid(i == 0 ? "first" : "second");
            id->set_xferport(static_cast<std::uint32_t>(peer.port()));
        }
        reader = file.open();
        first = reader->blocks[0]->firstLocation;
        second = reader->blocks[1]->firstLocation;
    }
    ~DataNodeSocket() override { connection.dataNodeSocket.close(); }

    TcpSocket *get(DataNodeLocation *node) { return getDataNodeSocket(&connection, *node, node->xferPort); }
    bool isOpen() const { return connection.dataNodeSocket.handle != platform::kInvalidSocket; }

    ScriptedPeer peer;
    ScriptedFile file;
    std::unique_ptr<HdfsFileReader> reader;
    NameNodeConnection connection;
    DataNodeLocation *first;
    DataNodeLocation *second;
};

} // namespace

TEST_F(DataNodeSocket, ConnectsAndRemembersTheDataNode)
{
    EXPECT_EQ(&connection.dataNodeSocket, get(first));
    EXPECT_TRUE(isOpen());
    EXPECT_EQ("first", connection.dataNodeId);
}

TEST_F(DataNodeSocket, IsMadeAnewEachTimeWhenItIsNotKept)
{
    const OpenDescriptors before;
    for (std::size_t i = 1; i <= 3; ++i) {
        const SystemCallFaults calls;
        EXPECT_NE(nullptr, get(first));
        EXPECT_EQ(1, calls.count(SystemCall::Connect));
    }
    peer.waitUntilOver(2);
    EXPECT_LE(before.opened(), 2) << "the last one, on both sides";
}

TEST_F(DataNodeSocket, IsTheSameOneForTheSameDataNodeWhenItIsKept)
{
    connection.keepDataNodeConnection = true;
    EXPECT_NE(nullptr, get(first));
    const SystemCallFaults calls;
    EXPECT_EQ(&connection.dataNodeSocket, get(first));
    EXPECT_EQ(0, calls.count(SystemCall::Connect));
}

TEST_F(DataNodeSocket, DataNodesAreToldApartByTheirUuidOnly)
{
    connection.keepDataNodeConnection = true;
    EXPECT_NE(nullptr, get(first));
    const SystemCallFaults calls;
    EXPECT_NE(nullptr, get(second)) << "the same host and port";
    EXPECT_EQ(1, calls.count(SystemCall::Connect));
    EXPECT_EQ("second", connection.dataNodeId);
    EXPECT_NE(nullptr, get(second));
    EXPECT_EQ(1, calls.count(SystemCall::Connect));
    EXPECT_NE(nullptr, get(first));
    EXPECT_EQ(2, calls.count(SystemCall::Connect));
    peer.waitUntilOver(2);
}

TEST_F(DataNodeSocket, DeadOneIsReplaced)
{
    connection.keepDataNodeConnection = true;
    EXPECT_NE(nullptr, get(first));
    SystemCallFaults faults;
    faults.fail(SystemCall::GetOption, 0, EBADF);
    const platform::SocketHandle dead = connection.dataNodeSocket.handle;
    EXPECT_NE(nullptr, get(first));
    EXPECT_EQ(1, faults.count(SystemCall::Connect));
    platform::closeSocket(dead); // a dead one is forgotten without being closed
}

TEST_F(DataNodeSocket, DataNodeThatCannotBeReachedGivesNone)
{
    const RefusingPort refusing;
    first->xferPort = static_cast<std::uint32_t>(refusing.port());
    EXPECT_NE(nullptr, get(second));
    EXPECT_EQ(nullptr, get(first));
    EXPECT_FALSE(isOpen()) << "the one before is closed all the same";
    EXPECT_EQ(0, first->down);
}

TEST_F(DataNodeSocket, PortIsTheOneThatIsAskedFor)
{
    ScriptedPeer other;
    EXPECT_NE(nullptr, getDataNodeSocket(&connection, *first, static_cast<std::uint32_t>(other.port())));
    connection.dataNodeSocket.close();
    other.waitUntilOver(1);
    EXPECT_EQ(0u, peer.connectionCount());
}

TEST_F(DataNodeSocket, PortBeyondWhatTcpHasIsRefused)
{
    EXPECT_EQ(nullptr, getDataNodeSocket(&connection, *first, 65536 + 1));
    EXPECT_EQ(nullptr, getDataNodeSocket(&connection, *first, 0xFFFFFFFFu));
    EXPECT_EQ(nullptr, getDataNodeSocket(&connection, *first, 0));
}

TEST_F(DataNodeSocket, IsClosedByARelease)
{
    EXPECT_NE(nullptr, get(first));
    releaseDataNodeSocket(&connection, first, false);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(0, first->down);
    releaseDataNodeSocket(&connection, first, true);
    EXPECT_EQ(1, first->down);
}

TEST_F(DataNodeSocket, KeptOneIsClosedAndForgottenByAReleaseOfItsDataNode)
{
    connection.keepDataNodeConnection = true;
    EXPECT_NE(nullptr, get(first));
    releaseDataNodeSocket(&connection, first, true);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ("", connection.dataNodeId);
    EXPECT_EQ(1, first->down);
}

TEST_F(DataNodeSocket, KeptOneStaysOpenWhenAnotherDataNodeIsReleased)
{
    connection.keepDataNodeConnection = true;
    EXPECT_NE(nullptr, get(first));
    releaseDataNodeSocket(&connection, second, true);
    EXPECT_TRUE(isOpen());
    EXPECT_EQ("first", connection.dataNodeId);
    EXPECT_EQ(0, first->down);
    EXPECT_EQ(1, second->down);
}

TEST_F(DataNodeSocket, IsClosedAtTheEndOfAnOperationUnlessItIsKept)
{
    EXPECT_NE(nullptr, get(first));
    connection.keepDataNodeConnection = true;
    closeDataNodeSocketUnlessKept(&connection);
    EXPECT_TRUE(isOpen());
    connection.keepDataNodeConnection = false;
    closeDataNodeSocketUnlessKept(&connection);
    EXPECT_FALSE(isOpen());
}

TEST_F(DataNodeSocket, RememberedDataNodeOutlivesTheReaderItCameFrom)
{
    connection.keepDataNodeConnection = true;
    EXPECT_NE(nullptr, get(first));
    reader.reset();
    EXPECT_EQ("first", connection.dataNodeId);
}

// Kept connections, seen from a reader.

namespace {

ScriptedDataNode::Serving onePacketForEachRead()
{
    ScriptedDataNode::Serving serving;
    serving.keepsConnection = true;
    serving.endsWithEmptyPacket = false;
    return serving;
}

} // namespace

TEST(KeptDataNodeConnection, ServesOneReadAfterTheOther)
{
    LogCapture log;
    ScriptedFile file({1000, 1000});
    file.dataNode().serve(onePacketForEachRead());
    file.connection.keepDataNodeConnection = true;
    std::unique_ptr<HdfsFileReader> reader = file.open();
    for (std::uint32_t length = 512; length <= 1000; length += 488)
        EXPECT_EQ(file.bytes().substr(0, length), readAt(reader.get(), 0, length).bytes);
    EXPECT_EQ(file.bytes(), readAt(reader.get(), 0, 2000).bytes) << "also from block to block";
    reader.reset();
    reader = file.open();
    EXPECT_EQ(file.bytes(), readAt(reader.get(), 0, 2000).bytes) << "also with another reader";
    EXPECT_EQ(1u, file.connectionCount());
    EXPECT_EQ(6u, file.dataNode().requests().size());
    EXPECT_TRUE(log.holds({}));
}

TEST(KeptDataNodeConnection, IsAbandonedQuietlyWhenTheDataNodeHasClosedIt)
{
    LogCapture log;
    ScriptedFile file({1000});
    file.dataNode().serve(onePacketForEachRead());
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    EXPECT_EQ(512u, readAt(reader.get(), 0, 512).result);
    file.dataNode().peer().waitUntilOver(1);
    const std::size_t sentForOneRead = file.dataNode().peer().sent(0).size();

    // The second connection ends where its second read would begin.
    file.dataNode().peer().setSendFault(Fault::closeAt(sentForOneRead), 1);
    file.connection.keepDataNodeConnection = true;
    EXPECT_EQ(512u, readAt(reader.get(), 0, 512).result);
    EXPECT_EQ(2u, file.connectionCount());
    const ReadOutcome outcome = readAt(reader.get(), 488, 512);
    EXPECT_EQ(512u, outcome.result);
    EXPECT_EQ(file.bytes().substr(488, 512), outcome.bytes);
    EXPECT_EQ(3u, file.connectionCount());
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
    EXPECT_TRUE(log.holds({}));
}

TEST(KeptDataNodeConnection, UnreadRestOfABlockCostsOneQuietRetry)
{
    LogCapture log;
    ScriptedFile file({4096});
    ScriptedDataNode::Serving serving;
    serving.keepsConnection = true;
    serving.packetData = 4096;
    file.dataNode().serve(serving);
    file.connection.keepDataNodeConnection = true;
    const std::unique_ptr<HdfsFileReader> reader = file.open();
    // Behind each read lies the closing packet, whose first four bytes are no answer.
    for (std::size_t i = 0; i < 3; ++i) {
        const ReadOutcome outcome = readAt(reader.get(), 512, 1024);
        EXPECT_EQ(1024u, outcome.result);
        EXPECT_EQ(file.bytes().substr(512, 1024), outcome.bytes);
        EXPECT_EQ(i + 1, file.connectionCount());
    }
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(0, reader->blocks[0]->firstLocation->down);
}
