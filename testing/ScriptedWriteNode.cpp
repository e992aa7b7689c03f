#include "testing/ScriptedWriteNode.h"

#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedNameNode.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace hadoop::oracle;

namespace {

const char kVersionAndWriteBlock[] = "\x00\x1C\x50";
const std::size_t kPrefixSize = 3;
const std::size_t kMostChunks = 500;
const std::size_t kChecksumSize = 4;
const std::size_t kCheckedSilences = 3;

std::uint32_t bigEndianAt(const std::string &bytes, std::size_t position, std::size_t size)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes.at(position + i));
    return value;
}

/// The varint in front of a message, and then the message. The varint must be as short as can be.
std::string receiveDelimited(ScriptedConnection &connection)
{
    std::string varint;
    std::uint64_t size = 0;
    do {
        varint += connection.receive(1);
        size |= static_cast<std::uint64_t>(varint.back() & 0x7F) << 7 * (varint.size() - 1);
    } while (varint.back() & 0x80 && varint.size() < 5);
    const std::string message = connection.receive(size);
    EXPECT_EQ(lengthDelimited(message), varint + message) << "the length of a request";
    return message;
}

/// The DataNodes behind the first one, with nothing but their identity.
void addTargets(const LocatedBlockProto &block, OpWriteBlockProto *request)
{
    for (int i = 1; i < block.locs_size(); ++i) {
        const DatanodeIDProto &id = block.locs(i).id();
        DatanodeIDProto *target = request->add_targets()->mutable_id();
        target->set_ipaddr(id.ipaddr());
        target->set_hostname(id.hostname());
        target->set_datanodeuuid(id.datanodeuuid());
        target->set_xferport(id.xferport());
        target->set_infoport(id.infoport());
        target->set_ipcport(id.ipcport());
    }
}

/// All that a request for this block must have. Its lengths and its chunk size are the client's.
OpWriteBlockProto expectedRequest(const LocatedBlockProto &block, const OpWriteBlockProto &request)
{
    OpWriteBlockProto expected;
    BaseHeaderProto *base = expected.mutable_header()->mutable_baseheader();
    base->mutable_block()->set_poolid(block.b().poolid());
    base->mutable_block()->set_blockid(block.b().blockid());
    base->mutable_block()->set_generationstamp(block.b().generationstamp());
    base->mutable_token()->set_identifier(block.blocktoken().identifier());
    base->mutable_token()->set_password(block.blocktoken().password());
    base->mutable_token()->set_kind(block.blocktoken().kind());
    base->mutable_token()->set_service(block.blocktoken().service());
    expected.mutable_header()->set_clientname("Quor");
    addTargets(block, &expected);
    expected.set_stage(OpWriteBlockProto::PIPELINE_SETUP_CREATE);
    expected.set_pipelinesize(static_cast<std::uint32_t>(block.locs_size() - 1));
    expected.set_minbytesrcvd(request.minbytesrcvd());
    expected.set_maxbytesrcvd(request.maxbytesrcvd());
    expected.set_latestgenerationstamp(0);
    expected.mutable_requestedchecksum()->set_type(CHECKSUM_CRC32C);
    expected.mutable_requestedchecksum()->set_bytesperchecksum(request.requestedchecksum().bytesperchecksum());
    return expected;
}

/// A packet's header as it must be behind what has come so far.
PacketHeaderProto expectedHeader(const WrittenBlock &block, const PacketHeaderProto &header)
{
    const std::uint64_t packetData = std::uint64_t(kMostChunks) * block.request.requestedchecksum().bytesperchecksum();
    const std::uint64_t left = block.length() - block.data.size();
    PacketHeaderProto expected =
        packetHeader(static_cast<std::int64_t>(block.data.size()), static_cast<std::int64_t>(block.packets.size()),
                     static_cast<std::int32_t>(std::min(packetData, left)), left == 0);
    // Always there in the last one; in the others only when it is true.
    if (left == 0 || header.has_syncblock())
        expected.set_syncblock(true);
    return expected;
}

/// How many packets the block takes, the empty one included.
std::size_t packetCount(const WrittenBlock &block)
{
    const std::uint64_t packetData = std::uint64_t(kMostChunks) * block.request.requestedchecksum().bytesperchecksum();
    return static_cast<std::size_t>((block.length() + packetData - 1) / packetData + 1);
}

} // namespace

std::string pipelineAnswer()
{
    return pipelineAnswer(SUCCESS, "", "");
}

std::string pipelineAnswer(std::uint32_t status, const std::string &firstBadLink, const std::string &message)
{
    BlockOpResponseProto answer;
    answer.set_status(static_cast<Status>(status));
    answer.set_firstbadlink(firstBadLink);
    if (!message.empty())
        answer.set_message(message);
    return lengthDelimited(answer);
}

std::string pipelineAck(std::int64_t seqno, const std::vector<std::uint32_t> &replies)
{
    PipelineAckProto ack;
    ack.set_seqno(seqno);
    for (std::uint32_t reply : replies) {
        ack.add_reply(static_cast<Status>(reply));
        ack.add_flag(reply << 8);
    }
    ack.set_downstreamacktimenanos(1234567);
    return lengthDelimited(ack);
}

ScriptedWriteNode::Serving::Serving()
    : closesBehind(Nowhere), resetsBehind(Nowhere), answer(pipelineAnswer()), acksAhead(0),
      sendsEverythingAtOnce(false), withholdsUntil(0), silence(0), keepsConnection(false)
{
}

ScriptedWriteNode::ScriptedWriteNode(const std::string &address) : m_firstNext(0), m_peer(address)
{
    m_peer.addScript([this](ScriptedConnection &connection) { handle(connection); });
}

void ScriptedWriteNode::expect(const LocatedBlockProto &block)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_expected[block.b().blockid()] = block;
}

void ScriptedWriteNode::serve(const Serving &serving)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_serving = serving;
}

void ScriptedWriteNode::serveNext(const std::vector<Serving> &servings)
{
    const std::size_t count = m_peer.connectionCount();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_firstNext = count;
    m_next = servings;
}

DatanodeInfoProto ScriptedWriteNode::location(const std::string &uuid) const
{
    DatanodeInfoProto info;
    info.mutable_id()->set_ipaddr(m_peer.address());
    info.mutable_id()->set_hostname(m_peer.address());
    info.mutable_id()->set_datanodeuuid(uuid);
    info.mutable_id()->set_xferport(static_cast<std::uint32_t>(m_peer.port()));
    info.mutable_id()->set_infoport(9864);
    info.mutable_id()->set_ipcport(9867);
    info.mutable_id()->set_infosecureport(9865);
    info.set_capacity(1000000);
    info.set_location("/default-rack");
    info.set_adminstate(DatanodeInfoProto::NORMAL);
    return info;
}

std::vector<WrittenBlock> ScriptedWriteNode::blocks() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_blocks;
}

WrittenBlock ScriptedWriteNode::written(std::size_t block) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_blocks[block];
}

ScriptedWriteNode::Serving ScriptedWriteNode::servingOf(const ScriptedConnection &connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t place = connection.index() - m_firstNext;
    return connection.index() >= m_firstNext && place < m_next.size() ? m_next[place] : m_serving;
}

void ScriptedWriteNode::handle(ScriptedConnection &connection)
{
    const Serving serving = servingOf(connection);
    const auto endBehind = [&](Serving::End place) {
        if (serving.closesBehind == place)
            connection.close();
        if (serving.resetsBehind == place)
            connection.reset();
    };
    endBehind(Serving::Connect);
    std::string first = connection.receive(1);
    for (;;) {
        const std::size_t block = receiveRequest(connection, first);
        endBehind(Serving::Request);
        takeBlock(connection, serving, block);
        if (!connection.waitForMore())
            return;
        first = connection.receive(1);
        if (!serving.keepsConnection)
            ADD_FAILURE() << "bytes behind the last packet";
    }
}

std::size_t ScriptedWriteNode::receiveRequest(ScriptedConnection &connection, const std::string &first)
{
    const std::string prefix = first + connection.receive(kPrefixSize - 1);
    EXPECT_EQ(std::string(kVersionAndWriteBlock, kPrefixSize), prefix) << "the start of a request";
    const std::string message = receiveDelimited(connection);
    WrittenBlock block = {connection.index(), OpWriteBlockProto(), {}, std::string(), false};
    if (!block.request.ParseFromString(message)) {
        ADD_FAILURE() << "a request does not decode";
        connection.close();
    }
    checkRequest(block.request, message);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_blocks.push_back(block);
    return m_blocks.size() - 1;
}

void ScriptedWriteNode::checkRequest(const OpWriteBlockProto &request, const std::string &message)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto block = m_expected.find(request.header().baseheader().block().blockid());
    if (block == m_expected.end()) {
        ADD_FAILURE() << "a block that was not given: " << request.ShortDebugString();
        return;
    }
    EXPECT_EQ(static_cast<std::uint32_t>(port()), block->second.locs(0).id().xferport())
        << "the first DataNode of the block is another one";
    EXPECT_LE(request.minbytesrcvd(), request.maxbytesrcvd());
    EXPECT_NE(0u, request.requestedchecksum().bytesperchecksum());
    // The same fields in the same order and nothing else: then the bytes are the same.
    EXPECT_EQ(expectedRequest(block->second, request).SerializeAsString(), message)
        << "a request has other bytes than it should: " << request.ShortDebugString();
}

void ScriptedWriteNode::takeBlock(ScriptedConnection &connection, const Serving &serving, std::size_t block)
{
    const WrittenBlock asked = written(block);
    const std::size_t packets = packetCount(asked);
    const std::vector<std::uint32_t> allWell(static_cast<std::size_t>(asked.request.targets_size()) + 1, SUCCESS);
    const auto ack = [&](std::size_t seqno) {
        const std::int64_t number = static_cast<std::int64_t>(seqno);
        return serving.ack ? serving.ack(number) : pipelineAck(number, allWell);
    };
    const std::size_t ahead = serving.sendsEverythingAtOnce ? packets : serving.acksAhead;
    std::string start = serving.answer;
    for (std::size_t seqno = 0; seqno < ahead; ++seqno)
        start += ack(seqno);
    connection.send(start);
    if (serving.closesBehind == Serving::Answer || serving.sendsEverythingAtOnce)
        connection.close();
    if (serving.resetsBehind == Serving::Answer)
        connection.reset();

    std::size_t checked = 0;
    std::size_t acknowledged = ahead;
    for (std::size_t arrived = 1; arrived <= packets; ++arrived) {
        takePacket(connection, block);
        if (arrived == packets)
            break;
        if (arrived < serving.withholdsUntil)
            continue;
        if (serving.withholdsUntil > 0 && checked++ < kCheckedSilences && !connection.isSilentFor(serving.silence))
            ADD_FAILURE() << "more than " << arrived << " packets came with " << acknowledged << " acknowledged";
        if (acknowledged < arrived)
            connection.send(ack(acknowledged++));
    }
    for (; acknowledged < packets; ++acknowledged)
        connection.send(ack(acknowledged));
}

void ScriptedWriteNode::takePacket(ScriptedConnection &connection, std::size_t index)
{
    const WrittenBlock block = written(index);
    const std::string lengths = connection.receive(6);
    const std::uint32_t packetLength = bigEndianAt(lengths, 0, 4);
    const std::string headerBytes = connection.receive(bigEndianAt(lengths, 4, 2));
    PacketHeaderProto header;
    EXPECT_TRUE(header.ParseFromString(headerBytes)) << "the header of packet " << block.packets.size();
    const PacketHeaderProto expected = expectedHeader(block, header);
    if (expected.SerializeAsString() != headerBytes) {
        ADD_FAILURE() << "the header of packet " << block.packets.size() << " is " << header.ShortDebugString()
                      << " instead of " << expected.ShortDebugString();
        connection.reset();
    }
    const std::size_t dataSize = static_cast<std::size_t>(header.datalen());
    const std::uint32_t chunkSize = block.request.requestedchecksum().bytesperchecksum();
    const std::size_t checksumsSize = (dataSize + chunkSize - 1) / chunkSize * kChecksumSize;
    EXPECT_EQ(4 + checksumsSize + dataSize, packetLength) << "of packet " << block.packets.size();
    const std::string checksums = connection.receive(checksumsSize);
    const std::string data = connection.receive(dataSize);
    EXPECT_TRUE(chunkChecksums(data, chunkSize) == checksums) << "the checksums of packet " << block.packets.size();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_blocks[index].packets.push_back(header);
    m_blocks[index].data += data;
    m_blocks[index].isWhole = header.lastpacketinblock();
}
