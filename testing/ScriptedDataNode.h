// A DataNode inside the test process that serves blocks to OP_READ_BLOCK requests as a real one does. It checks every
// byte that reaches it (a deviation fails the test), takes note of when each read status comes, and can be told to
// answer anything else.
//
// Its messages are coded by Google's protobuf. Faults at a byte (break off, reset, stall, flip, fragment) are those of
// the ScriptedPeer that it is built on: `peer().setSendFault(...)`.
#ifndef TESTING_SCRIPTEDDATANODE_H
#define TESTING_SCRIPTEDDATANODE_H

#include "testing/ScriptedPeer.h"
#include "testing/proto/OracleDataTransfer.pb.h"
#include "testing/proto/OracleHdfs.pb.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// One block with all that a client must say to get it.
struct ScriptedBlock {
    ScriptedBlock() : blockId(0), generationStamp(1001) {}
    std::string poolId;
    std::uint64_t blockId;
    std::uint64_t generationStamp;
    std::string tokenIdentifier;
    std::string tokenPassword;
    std::string tokenKind;
    std::string tokenService;
    std::string bytes;
};

/// `size` bytes that differ from place to place, the same for the same seed.
std::string patternBytes(std::size_t size, unsigned seed = 1);

/// A read as it was asked for.
struct ReadRequest {
    std::size_t connection; ///< index of the peer's connection
    std::uint64_t blockId;
    std::uint64_t offset; ///< in the block
    std::uint64_t length;
};

/// A read status that has arrived.
struct StatusArrival {
    std::size_t connection;
    std::size_t packetsSent; ///< whole packets that were on their way before, the closing empty one included
    bool allDataSent;        ///< the last byte of data was on its way
    int millisecondsWaited;  ///< since the DataNode had last sent anything
};

/// All that goes to the client for one read, in the order of sending.
struct WireRead {
    std::string answer;               ///< with its length in front
    std::vector<std::string> packets; ///< with prefix, header, checksums and data
    std::size_t dataPackets;          ///< how many of them hold data; the client owes a status for each
};

/// Prefix, header, checksums and data of one packet.
std::string dataPacket(const std::string &header, const std::string &checksums, const std::string &data);
std::string dataPacket(const hadoop::oracle::PacketHeaderProto &header, const std::string &checksums,
                       const std::string &data);

/// The header of a packet as a DataNode fills it.
hadoop::oracle::PacketHeaderProto packetHeader(std::int64_t offsetInBlock, std::int64_t seqno, std::int32_t dataLength,
                                               bool isLast = false);

/// CRC-32C checksums of all chunks, big-endian.
std::string chunkChecksums(const std::string &data, std::uint32_t bytesPerChecksum);

class ScriptedDataNode
{
public:
    /// How a read is served. The defaults are those of a real cluster.
    struct Serving {
        Serving();
        std::uint32_t checksumType;           ///< 2 CRC-32C, 0 none; others are sent with 4 bytes for each chunk
        std::uint32_t bytesPerChecksum;       ///< 0 is sent as 0, and one chunk is a packet then
        bool statesChunkSizeWithoutChecksums; ///< for type 0: whether bytesPerChecksum is sent or 0
        std::uint32_t packetData;             ///< most bytes of data in a packet; whole chunks
        bool endsWithEmptyPacket;
        bool speaksLikeANewerServer; ///< fields that the client does not know in the answer and in headers
        /// Waits for a status behind each packet of data before it goes on.
        bool worksInLockStep;
        /// Resets the connection when a second status is there before the range is sent, as real ones do.
        bool resetsOnEarlyStatus;
        /// Listens so many milliseconds for statuses behind each packet, and before the last byte of data; waits for
        /// the first status without that limit.
        int listensBetweenPackets;
        /// Takes another request behind the statuses of a read; without it, bytes there fail the test.
        bool keepsConnection;
        /// Ends its direction behind the range, as one does whose next packet the client waits for in vain.
        bool closesBehindRange;
        /// Has the last word about what is sent.
        std::function<void(const ReadRequest &, WireRead *)> alter;
    };

    explicit ScriptedDataNode(const std::string &address = "127.0.0.1");

    void addBlock(const ScriptedBlock &block);

    /// How requests are served from now on.
    void serve(const Serving &serving);
    Serving serving() const;

    /// How a connection is ended instead of served, right behind the connect or behind the request; all but the resets
    /// orderly.
    enum Conduct { Serves, ClosesAtOnce, ResetsAtOnce, ClosesAfterRequest, ResetsAfterRequest };
    /// For the next connections, one for each in this order.
    void nextConnections(const std::vector<Conduct> &conducts);
    /// For all that come after those.
    void allConnections(Conduct conduct);

    ScriptedPeer &peer() { return m_peer; }
    int port() const { return m_peer.port(); }

    /// The location of this DataNode, as a NameNode gives it.
    hadoop::oracle::DatanodeInfoProto location(const std::string &uuid) const;

    std::vector<ReadRequest> requests() const;
    std::vector<StatusArrival> statuses() const;
    std::size_t connectionCount() const { return m_peer.connectionCount(); }
    void forget(); ///< requests and statuses so far

private:
    /// How far a read has come.
    struct Progress {
        std::size_t packetsSent;
        std::size_t statuses;
        bool allDataSent;
        std::chrono::steady_clock::time_point sentAt;
    };

    void handle(ScriptedConnection &connection);
    Conduct conductOf(const ScriptedConnection &connection);
    ReadRequest receiveRequest(ScriptedConnection &connection, const std::string &first);
    /// Sends what was asked for and takes the statuses. Returns the first byte of what follows them.
    std::string answer(ScriptedConnection &connection, const Serving &serving, const ReadRequest &request);
    /// An answer with packets, or a refusal without any.
    WireRead replyTo(const Serving &serving, const ReadRequest &request) const;
    void sendPacket(ScriptedConnection &connection, const Serving &serving, const std::string &packet,
                    const WireRead &read, Progress *progress);
    void listen(ScriptedConnection &connection, const Serving &serving, Progress *progress);
    void receiveStatus(ScriptedConnection &connection, const std::string &first, Progress *progress);

    mutable std::mutex m_mutex; ///< guards all but the peer
    std::map<std::uint64_t, ScriptedBlock> m_blocks;
    Serving m_serving;
    std::size_t m_firstNext; ///< index of the connection that m_next begins with
    std::vector<Conduct> m_next;
    Conduct m_all;
    std::vector<ReadRequest> m_requests;
    std::vector<StatusArrival> m_statuses;
    ScriptedPeer m_peer; ///< the last member: its scripts use the others
};

#endif
