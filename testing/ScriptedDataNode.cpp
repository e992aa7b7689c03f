#include "testing/ScriptedDataNode.h"

#include "testing/ScriptedNameNode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <random>

using namespace hadoop::oracle;

namespace {

const char kVersionAndReadBlock[] = "\x00\x1C\x51";
const char kStatusSuccess[] = "\x02\x08\x00";
const std::size_t kStatusSize = 3;
const std::uint32_t kErrorStatus = 1;

std::string hex(const std::string &bytes)
{
    std::string text;
    for (char byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(byte));
        text += digits;
    }
    return text;
}

std::string bigEndian(std::uint32_t value, int bytes)
{
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift);
    return text;
}

/// The bytes that say nothing to an older client: a varint and a text under numbers that no schema uses yet.
template <class Message> void addNewerFields(Message *message)
{
    google::protobuf::UnknownFieldSet *fields = message->GetReflection()->MutableUnknownFields(message);
    fields->AddVarint(4000, 77);
    fields->AddLengthDelimited(4001, "of a newer server");
}

std::string answerFor(const ScriptedDataNode::Serving &serving, std::uint64_t chunkOffset)
{
    BlockOpResponseProto answer;
    answer.set_status(decltype(answer.status())(0));
    ReadOpChecksumInfoProto *info = answer.mutable_readopchecksuminfo();
    const bool withoutChunkSize = serving.checksumType == 0 && !serving.statesChunkSizeWithoutChecksums;
    info->mutable_checksum()->set_type(static_cast<decltype(info->checksum().type())>(serving.checksumType));
    info->mutable_checksum()->set_bytesperchecksum(withoutChunkSize ? 0 : serving.bytesPerChecksum);
    info->set_chunkoffset(chunkOffset);
    if (serving.speaksLikeANewerServer)
        addNewerFields(&answer);
    return lengthDelimited(answer);
}

std::string errorAnswer(const std::string &message)
{
    BlockOpResponseProto answer;
    answer.set_status(decltype(answer.status())(kErrorStatus));
    answer.set_message(message);
    return lengthDelimited(answer);
}

/// As a DataNode cuts a block: whole chunks around the range that was asked for, so many of them in each packet.
WireRead wireRead(const ScriptedDataNode::Serving &serving, const ReadRequest &request, const std::string &bytes)
{
    const std::uint64_t chunk = serving.bytesPerChecksum > 0 ? serving.bytesPerChecksum : serving.packetData;
    const std::uint64_t packetData = std::max<std::uint64_t>(chunk, serving.packetData / chunk * chunk);
    const std::uint64_t start = request.offset / chunk * chunk;
    const std::uint64_t end =
        std::min<std::uint64_t>((request.offset + request.length + chunk - 1) / chunk * chunk, bytes.size());
    WireRead read;
    read.answer = answerFor(serving, start);
    std::int64_t seqno = 0;
    for (std::uint64_t at = start; at < end; at += packetData) {
        const std::string data = bytes.substr(at, std::min(packetData, end - at));
        PacketHeaderProto header =
            packetHeader(static_cast<std::int64_t>(at), seqno++, static_cast<std::int32_t>(data.size()));
        if (serving.speaksLikeANewerServer)
            addNewerFields(&header);
        const std::string checksums =
            serving.checksumType != 0 ? chunkChecksums(data, static_cast<std::uint32_t>(chunk)) : std::string();
        read.packets.push_back(dataPacket(header, checksums, data));
    }
    read.dataPackets = read.packets.size();
    if (serving.endsWithEmptyPacket)
        read.packets.push_back(dataPacket(packetHeader(static_cast<std::int64_t>(end), seqno, 0, true), "", ""));
    return read;
}

OpReadBlockProto expectedRequest(const ReadRequest &request, const ScriptedBlock &block)
{
    OpReadBlockProto expected;
    BaseHeaderProto *base = expected.mutable_header()->mutable_baseheader();
    base->mutable_block()->set_poolid(block.poolId);
    base->mutable_block()->set_blockid(block.blockId);
    base->mutable_block()->set_generationstamp(block.generationStamp);
    base->mutable_token()->set_identifier(block.tokenIdentifier);
    base->mutable_token()->set_password(block.tokenPassword);
    base->mutable_token()->set_kind(block.tokenKind);
    base->mutable_token()->set_service(block.tokenService);
    expected.mutable_header()->set_clientname("Quor");
    expected.set_offset(request.offset);
    expected.set_len(request.length);
    return expected;
}

int millisecondsSince(std::chrono::steady_clock::time_point start)
{
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
}

} // namespace

std::string patternBytes(std::size_t size, unsigned seed)
{
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string dataPacket(const std::string &header, const std::string &checksums, const std::string &data)
{
    // The length counts itself, the checksums and the data.
    const std::uint32_t length = static_cast<std::uint32_t>(4 + checksums.size() + data.size());
    return bigEndian(length, 4) + bigEndian(static_cast<std::uint32_t>(header.size()), 2) + header + checksums + data;
}

std::string dataPacket(const PacketHeaderProto &header, const std::string &checksums, const std::string &data)
{
    return dataPacket(header.SerializeAsString(), checksums, data);
}

PacketHeaderProto packetHeader(std::int64_t offsetInBlock, std::int64_t seqno, std::int32_t dataLength, bool isLast)
{
    PacketHeaderProto header;
    header.set_offsetinblock(offsetInBlock);
    header.set_seqno(seqno);
    header.set_lastpacketinblock(isLast);
    header.set_datalen(dataLength);
    return header;
}

std::string chunkChecksums(const std::string &data, std::uint32_t bytesPerChecksum)
{
    static const std::vector<std::uint32_t> table = [] {
        std::vector<std::uint32_t> entries(256);
        for (std::uint32_t i = 0; i < 256; ++i) {
            entries[i] = i;
            for (int bit = 0; bit < 8; ++bit)
                entries[i] = entries[i] & 1 ? entries[i] >> 1 ^ 0x82F63B78u : entries[i] >> 1;
        }
        return entries;
    }();
    std::string checksums;
    for (std::size_t at = 0; at < data.size(); at += bytesPerChecksum) {
        const std::size_t end = std::min<std::size_t>(at + bytesPerChecksum, data.size());
        std::uint32_t crc = 0xFFFFFFFFu;
        for (std::size_t i = at; i < end; ++i)
            crc = table[(crc ^ static_cast<unsigned char>(data[i])) & 0xFF] ^ crc >> 8;
        checksums += bigEndian(~crc, 4);
    }
    return checksums;
}

ScriptedDataNode::Serving::Serving()
    : checksumType(2), bytesPerChecksum(512), statesChunkSizeWithoutChecksums(true), packetData(64 * 1024),
      endsWithEmptyPacket(true), speaksLikeANewerServer(false), worksInLockStep(false), resetsOnEarlyStatus(false),
      listensBetweenPackets(0), keepsConnection(false), closesBehindRange(false)
{
}

ScriptedDataNode::ScriptedDataNode(const std::string &address) : m_firstNext(0), m_all(Serves), m_peer(address)
{
    m_peer.addScript([this](ScriptedConnection &connection) { handle(connection); });
}

void ScriptedDataNode::addBlock(const ScriptedBlock &block)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_blocks[block.blockId] = block;
}

void ScriptedDataNode::serve(const Serving &serving)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_serving = serving;
}

ScriptedDataNode::Serving ScriptedDataNode::serving() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_serving;
}

void ScriptedDataNode::nextConnections(const std::vector<Conduct> &conducts)
{
    const std::size_t count = m_peer.connectionCount();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_firstNext = count;
    m_next = conducts;
}

void ScriptedDataNode::allConnections(Conduct conduct)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_all = conduct;
}

DatanodeInfoProto ScriptedDataNode::location(const std::string &uuid) const
{
    DatanodeInfoProto info;
    info.mutable_id()->set_ipaddr(m_peer.address());
    info.mutable_id()->set_hostname(m_peer.address());
    info.mutable_id()->set_datanodeuuid(uuid);
    info.mutable_id()->set_xferport(static_cast<std::uint32_t>(m_peer.port()));
    info.mutable_id()->set_infoport(9864);
    info.mutable_id()->set_ipcport(9867);
    return info;
}

std::vector<ReadRequest> ScriptedDataNode::requests() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

std::vector<StatusArrival> ScriptedDataNode::statuses() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_statuses;
}

void ScriptedDataNode::forget()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.clear();
    m_statuses.clear();
}

ScriptedDataNode::Conduct ScriptedDataNode::conductOf(const ScriptedConnection &connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t place = connection.index() - m_firstNext;
    return connection.index() >= m_firstNext && place < m_next.size() ? m_next[place] : m_all;
}

void ScriptedDataNode::handle(ScriptedConnection &connection)
{
    const Conduct conduct = conductOf(connection);
    if (conduct == ClosesAtOnce)
        connection.close();
    if (conduct == ResetsAtOnce)
        connection.reset();
    std::string first = connection.receive(1);
    for (;;) {
        const ReadRequest request = receiveRequest(connection, first);
        if (conduct == ClosesAfterRequest)
            connection.close();
        if (conduct == ResetsAfterRequest)
            connection.reset();
        const Serving serving = this->serving();
        first = answer(connection, serving, request);
        if (!serving.keepsConnection)
            ADD_FAILURE() << "bytes behind the statuses: " << hex(first);
    }
}

ReadRequest ScriptedDataNode::receiveRequest(ScriptedConnection &connection, const std::string &first)
{
    const std::string prefix = first + connection.receive(2);
    if (prefix != std::string(kVersionAndReadBlock, 3))
        ADD_FAILURE() << "a request starts with " << hex(prefix);
    std::uint64_t size = 0;
    int shift = 0;
    for (;; shift += 7) {
        const unsigned char byte = static_cast<unsigned char>(connection.receive(1)[0]);
        size |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
        if (!(byte & 0x80))
            break;
    }
    const std::string message = connection.receive(size);
    OpReadBlockProto decoded;
    if (!decoded.ParseFromString(message)) {
        ADD_FAILURE() << "a request does not decode: " << hex(message);
        connection.close();
    }
    const ReadRequest request = {connection.index(), decoded.header().baseheader().block().blockid(), decoded.offset(),
                                 decoded.len()};
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.push_back(request);
    const std::map<std::uint64_t, ScriptedBlock>::const_iterator block = m_blocks.find(request.blockId);
    // The same fields in the same order and nothing else: then the bytes are the same.
    if (block != m_blocks.end() && message != expectedRequest(request, block->second).SerializeAsString())
        ADD_FAILURE() << "a request has other bytes than it should: " << decoded.ShortDebugString();
    return request;
}

std::string ScriptedDataNode::answer(ScriptedConnection &connection, const Serving &serving, const ReadRequest &request)
{
    WireRead read = replyTo(serving, request);
    const bool isRefused = read.packets.empty();
    if (serving.alter)
        serving.alter(request, &read);
    Progress progress = {0, 0, false, std::chrono::steady_clock::now()};
    connection.send(read.answer);
    for (const std::string &packet : read.packets)
        sendPacket(connection, serving, packet, read, &progress);
    if (serving.closesBehindRange || (isRefused && !serving.alter))
        connection.close();
    for (;;) {
        const std::string first = connection.receive(1);
        if (first[0] != kStatusSuccess[0])
            return first;
        receiveStatus(connection, first, &progress);
    }
}

WireRead ScriptedDataNode::replyTo(const Serving &serving, const ReadRequest &request) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::map<std::uint64_t, ScriptedBlock>::const_iterator block = m_blocks.find(request.blockId);
    WireRead refusal = {};
    if (block == m_blocks.end()) {
        refusal.answer = errorAnswer("no such replica");
        return refusal;
    }
    const std::string &bytes = block->second.bytes;
    if (request.length == 0 || request.offset > bytes.size() || request.length > bytes.size() - request.offset) {
        refusal.answer = errorAnswer("offset and length don't match the block");
        return refusal;
    }
    return wireRead(serving, request, bytes);
}

void ScriptedDataNode::sendPacket(ScriptedConnection &connection, const Serving &serving, const std::string &packet,
                                  const WireRead &read, Progress *progress)
{
    const bool isLastData = progress->packetsSent + 1 == read.dataPackets;
    if (isLastData && serving.listensBetweenPackets > 0 && !packet.empty()) {
        connection.send(packet.substr(0, packet.size() - 1));
        listen(connection, serving, progress);
        connection.send(packet.substr(packet.size() - 1));
    } else {
        connection.send(packet);
    }
    progress->sentAt = std::chrono::steady_clock::now();
    progress->allDataSent = progress->allDataSent || isLastData;
    ++progress->packetsSent;
    if (serving.worksInLockStep && progress->packetsSent <= read.dataPackets)
        receiveStatus(connection, connection.receive(1), progress);
    if (progress->packetsSent < read.packets.size())
        listen(connection, serving, progress);
}

void ScriptedDataNode::listen(ScriptedConnection &connection, const Serving &serving, Progress *progress)
{
    if (serving.listensBetweenPackets == 0 && !serving.resetsOnEarlyStatus)
        return;
    // However slow the client's machine is: the first status must come without anything more from here.
    if (serving.listensBetweenPackets > 0 && progress->packetsSent == 1 && progress->statuses == 0)
        receiveStatus(connection, connection.receive(1), progress);
    while (!connection.isSilentFor(serving.listensBetweenPackets)) {
        receiveStatus(connection, connection.receive(1), progress);
        if (serving.resetsOnEarlyStatus && progress->statuses > 1 && !progress->allDataSent)
            connection.reset();
    }
}

void ScriptedDataNode::receiveStatus(ScriptedConnection &connection, const std::string &first, Progress *progress)
{
    const std::string status = first + connection.receive(kStatusSize - 1);
    if (status != std::string(kStatusSuccess, kStatusSize))
        ADD_FAILURE() << "a read status is " << hex(status);
    ++progress->statuses;
    const StatusArrival arrival = {connection.index(), progress->packetsSent, progress->allDataSent,
                                   millisecondsSince(progress->sentAt)};
    std::lock_guard<std::mutex> lock(m_mutex);
    m_statuses.push_back(arrival);
}
