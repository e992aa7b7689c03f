// A DataNode inside the test process that takes blocks from OP_WRITE_BLOCK requests as the first one of a pipeline
// does. It checks every byte that reaches it (a deviation fails the test), keeps what was written, and can be told to
// answer and to acknowledge anything else, and when.
//
// Its messages are coded by Google's protobuf and its checksums computed bit by bit. Faults at a byte (break off,
// reset, stall, flip, fragment) are those of the ScriptedPeer that it is built on: `peer().setSendFault(...)`.
#ifndef TESTING_SCRIPTEDWRITENODE_H
#define TESTING_SCRIPTEDWRITENODE_H

#include "testing/ScriptedPeer.h"
#include "testing/proto/OracleDataTransfer.pb.h"
#include "testing/proto/OracleHdfs.pb.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// One block as it arrived, whole or broken off.
struct WrittenBlock {
    std::size_t connection; ///< index of the peer's connection
    hadoop::oracle::OpWriteBlockProto request;
    std::vector<hadoop::oracle::PacketHeaderProto> packets; ///< the last, empty one too
    std::string data;
    bool isWhole; ///< the last packet has come, and all data before it

    std::uint64_t blockId() const { return request.header().baseheader().block().blockid(); }
    /// What the request says about the block's length.
    std::uint64_t length() const { return request.maxbytesrcvd() - request.minbytesrcvd(); }
};

/// The answer to a request that a pipeline gives when it stands: the status, an empty link, and what newer servers add.
std::string pipelineAnswer();
std::string pipelineAnswer(std::uint32_t status, const std::string &firstBadLink, const std::string &message);

/// An acknowledgement with its length in front, and with the fields of newer servers.
std::string pipelineAck(std::int64_t seqno, const std::vector<std::uint32_t> &replies);

class ScriptedWriteNode
{
public:
    /// How a connection is served. The defaults are those of a real cluster.
    struct Serving {
        Serving();
        enum End { Nowhere, Connect, Request, Answer };
        End closesBehind; ///< ends its direction there, and reads on without a look at what comes
        End resetsBehind;
        std::string answer; ///< with its length in front
        /// The bytes of the acknowledgement for a packet; empty: none is sent.
        std::function<std::string(std::int64_t seqno)> ack;
        /// So many acknowledgements go out with the answer, before any packet has come.
        std::size_t acksAhead;
        /// With the answer go all that the block will need; then this direction ends, and what comes is only recorded.
        bool sendsEverythingAtOnce;
        /// Before the first acknowledgement so many packets must be there, or the last one: then one goes out for each
        /// packet that comes, and the rest behind the last packet. 0: each packet is acknowledged when it is there.
        std::size_t withholdsUntil;
        /// When acknowledgements are withheld: how long the client must be silent before each of the first three of
        /// them, in milliseconds. A packet that comes meanwhile fails the test.
        int silence;
        bool keepsConnection; ///< takes another request behind a block; without it, bytes there fail the test
    };

    explicit ScriptedWriteNode(const std::string &address = "127.0.0.1");

    /// A block that may be written, as the NameNode gave it. Requests for others fail the test.
    void expect(const hadoop::oracle::LocatedBlockProto &block);

    /// How connections are served from now on.
    void serve(const Serving &serving);
    /// How the next connections are served before that, one each.
    void serveNext(const std::vector<Serving> &servings);

    ScriptedPeer &peer() { return m_peer; }
    int port() const { return m_peer.port(); }
    std::size_t connectionCount() const { return m_peer.connectionCount(); }

    /// The location of this DataNode, as a NameNode gives it.
    hadoop::oracle::DatanodeInfoProto location(const std::string &uuid) const;

    /// One for each request, in the order of their arrival. What a client has been acknowledged is there; of what it
    /// broke off all is there when the connection is over.
    std::vector<WrittenBlock> blocks() const;

private:
    void handle(ScriptedConnection &connection);
    Serving servingOf(const ScriptedConnection &connection);
    std::size_t receiveRequest(ScriptedConnection &connection, const std::string &first);
    void checkRequest(const hadoop::oracle::OpWriteBlockProto &request, const std::string &message);
    void takeBlock(ScriptedConnection &connection, const Serving &serving, std::size_t block);
    void takePacket(ScriptedConnection &connection, std::size_t block);
    WrittenBlock written(std::size_t block) const;

    mutable std::mutex m_mutex; ///< guards all but the peer
    std::map<std::uint64_t, hadoop::oracle::LocatedBlockProto> m_expected;
    Serving m_serving;
    std::size_t m_firstNext; ///< index of the connection that m_next begins with
    std::vector<Serving> m_next;
    std::vector<WrittenBlock> m_blocks;
    ScriptedPeer m_peer; ///< last: its threads use all of the above
};

#endif
