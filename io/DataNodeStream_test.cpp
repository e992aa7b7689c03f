#include "io/DataNodeStream.h"

#include "testing/ScriptedPeer.h"
#include "testing/ShortPatience.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

namespace {

class Stream : public ::testing::Test
{
protected:
    Stream() : stream(&socket) {}
    ~Stream() override { socket.close(); }

    void play(const std::string &bytes)
    {
        peer.addScript([bytes](ScriptedConnection &connection) { connection.send(bytes); });
        ASSERT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0));
    }

    std::string receive(std::uint32_t length)
    {
        std::string bytes(length, '-');
        return stream.receiveExactly(&bytes[0], length) == 0 ? bytes : "failed";
    }

    /// Waits until so many bytes can be received at once.
    void waitForBytes(std::int32_t count)
    {
        for (int i = 0; i < 2000 && socket.bytesAvailable() < count; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_GE(socket.bytesAvailable(), count);
    }

    ScriptedPeer peer;
    TcpSocket socket;
    DataNodeStream stream;
};

} // namespace

TEST_F(Stream, GivesTheBytesInTheirOrder)
{
    play("abcdefghij");
    EXPECT_EQ("abc", receive(3));
    EXPECT_EQ("", receive(0));
    EXPECT_EQ("defghij", receive(7));
    EXPECT_EQ("failed", receive(1)) << "the peer has closed";
}

TEST_F(Stream, GivesThemWhateverTheirPiecesAre)
{
    peer.setFragmentSize(1);
    play("abcdefghij");
    EXPECT_EQ("abcd", receive(4));
    EXPECT_EQ("efghij", receive(6));
}

TEST_F(Stream, FailsWhenThePeerClosesHalfway)
{
    play("abc");
    EXPECT_EQ("failed", receive(4));
}

TEST_F(Stream, GivesNothingForNothingWithoutASystemCall)
{
    play("");
    const SystemCallFaults calls;
    EXPECT_EQ("", receive(0));
    EXPECT_EQ(0, calls.count(SystemCall::Receive));
}

TEST_F(Stream, BytesPutBackComeFirst)
{
    play("defgh");
    stream.putBack("abc", 3);
    EXPECT_EQ("ab", receive(2));
    EXPECT_EQ("cde", receive(3));
    EXPECT_EQ("fgh", receive(3));
}

TEST_F(Stream, NothingPutBackIsNothing)
{
    play("abc");
    stream.putBack("xyz", 0);
    EXPECT_EQ("abc", receive(3));
}

TEST_F(Stream, ReceivesAheadInOneSystemCallWhatHasArrived)
{
    play("abcdefghij");
    waitForBytes(10);
    const SystemCallFaults calls;
    stream.receiveAhead(6);
    EXPECT_EQ("ab", receive(2));
    EXPECT_EQ("cdef", receive(4));
    EXPECT_EQ(1, calls.count(SystemCall::Receive));
    EXPECT_EQ("ghij", receive(4));
    EXPECT_EQ(2, calls.count(SystemCall::Receive));
}

TEST_F(Stream, ReceivesAheadOnlyWhenNothingIsLeft)
{
    play("cdefghij");
    waitForBytes(8);
    stream.putBack("ab", 2);
    const SystemCallFaults calls;
    stream.receiveAhead(6);
    EXPECT_EQ(0, calls.count(SystemCall::Receive));
    EXPECT_EQ("a", receive(1));
    stream.receiveAhead(6);
    EXPECT_EQ(0, calls.count(SystemCall::Receive));
    EXPECT_EQ("bcd", receive(3));
    stream.receiveAhead(100);
    EXPECT_EQ("efghij", receive(6));
}

TEST_F(Stream, DoesNotWaitForAllOfWhatItMayReceiveAhead)
{
    play("abc");
    waitForBytes(3);
    stream.receiveAhead(1000);
    EXPECT_EQ("abc", receive(3));
}

TEST_F(Stream, ReceivesBytesAndWhatIsBehindThemInOneSystemCall)
{
    play("abcdefghij");
    waitForBytes(10);
    const SystemCallFaults calls;
    char bytes[4] = {0};
    ASSERT_EQ(0, stream.receiveExactly(bytes, 4, 3));
    EXPECT_EQ("abcd", std::string(bytes, 4));
    EXPECT_EQ("efg", receive(3));
    EXPECT_EQ(1, calls.count(SystemCall::Receive));
    EXPECT_EQ("hij", receive(3));
}

TEST_F(Stream, DoesNotWaitForWhatIsBehind)
{
    play("abcd");
    waitForBytes(4);
    char bytes[4] = {0};
    ASSERT_EQ(0, stream.receiveExactly(bytes, 4, 1000));
    EXPECT_EQ("abcd", std::string(bytes, 4));
    EXPECT_EQ("failed", receive(1));
}

TEST_F(Stream, BytesWithOthersBehindThemMayComeInAnyPieces)
{
    for (std::size_t piece = 1; piece <= 10; ++piece) {
        ScriptedPeer fragmenting;
        fragmenting.setFragmentSize(piece);
        fragmenting.addScript([](ScriptedConnection &connection) { connection.send("abcdefghij"); });
        TcpSocket other;
        ASSERT_EQ(0, other.connectTo("127.0.0.1", fragmenting.port(), 0));
        DataNodeStream pieces(&other);
        char bytes[10] = {0};
        ASSERT_EQ(0, pieces.receiveExactly(bytes, 4, 3));
        ASSERT_EQ(0, pieces.receiveExactly(bytes + 4, 2, 3));
        ASSERT_EQ(0, pieces.receiveExactly(bytes + 6, 4, 0));
        EXPECT_EQ("abcdefghij", std::string(bytes, 10));
        other.close();
    }
}

TEST_F(Stream, ClosedStreamForgetsWhatItReceivedAhead)
{
    play("abcdefghij");
    waitForBytes(10);
    stream.receiveAhead(6);
    stream.close();
    EXPECT_EQ("failed", receive(1));
    EXPECT_EQ(platform::kInvalidSocket, socket.handle);
}

TEST_F(Stream, FailureToReceiveAheadShowsAtTheNextReceive)
{
    play("");
    stream.receiveAhead(5);
    EXPECT_EQ("failed", receive(1));
}

TEST_F(Stream, SendsWaitingStatusesToASilentPeer)
{
    const ShortPatience patience(kReadStatusPatience, 20);
    peer.addScript([](ScriptedConnection &connection) {
        connection.send("ab");
        EXPECT_EQ(std::string("\x02\x08\x00\x02\x08\x00\x02\x08\x00", 9), connection.receive(9));
        connection.send("cd");
        EXPECT_TRUE(connection.isSilentFor(60)) << "nothing waits any more";
        connection.send("ef");
    });
    ASSERT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0));
    EXPECT_EQ("ab", receive(2));
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(stream.statuses().packetRead());
    EXPECT_EQ("cdef", receive(4));
    EXPECT_EQ(1, patience.timeOuts());
}

TEST_F(Stream, IsPatientWithASilentPeerWhenNothingWaits)
{
    const ShortPatience patience(kReadStatusPatience, 5);
    peer.addScript([](ScriptedConnection &connection) {
        connection.pause(40);
        connection.send("ab");
    });
    ASSERT_EQ(0, socket.connectTo("127.0.0.1", peer.port(), 0));
    EXPECT_EQ("ab", receive(2));
    EXPECT_EQ(0, patience.timeOuts());
}
