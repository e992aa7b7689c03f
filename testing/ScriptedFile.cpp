#include "testing/ScriptedFile.h"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>

using namespace hadoop::oracle;

namespace {

const char kUntouched = '\xA5';

ScriptedBlock scriptedBlock(std::size_t index, const std::string &bytes)
{
    ScriptedBlock block;
    block.poolId = "BP-1234567890-127.0.0.1-1700000000000";
    block.blockId = ScriptedFile::blockId(index);
    block.generationStamp = 1001 + index;
    block.tokenIdentifier = std::string("identifier\0of ", 14) + std::to_string(index);
    block.tokenPassword = std::string("\xFF\x00\x80password", 11);
    block.tokenKind = "HDFS_BLOCK_TOKEN";
    block.tokenService = "";
    block.bytes = bytes;
    return block;
}

void describe(const ScriptedBlock &block, std::uint64_t offset, LocatedBlockProto *message)
{
    message->mutable_b()->set_poolid(block.poolId);
    message->mutable_b()->set_blockid(block.blockId);
    message->mutable_b()->set_generationstamp(block.generationStamp);
    message->mutable_b()->set_numbytes(block.bytes.size());
    message->set_offset(offset);
    message->set_corrupt(false);
    message->mutable_blocktoken()->set_identifier(block.tokenIdentifier);
    message->mutable_blocktoken()->set_password(block.tokenPassword);
    message->mutable_blocktoken()->set_kind(block.tokenKind);
    message->mutable_blocktoken()->set_service(block.tokenService);
}

} // namespace

ScriptedFile::ScriptedFile(const std::vector<std::size_t> &blockSizes, std::size_t dataNodes)
{
    m_bytes = patternBytes(std::accumulate(blockSizes.begin(), blockSizes.end(), std::size_t(0)));
    for (std::size_t i = 0; i < dataNodes; ++i)
        m_dataNodes.emplace_back(new ScriptedDataNode);
    LocatedBlocksProto *locations = response.mutable_locations();
    locations->set_filelength(m_bytes.size());
    locations->set_underconstruction(false);
    locations->set_islastblockcomplete(true);
    std::size_t offset = 0;
    for (std::size_t i = 0; i < blockSizes.size(); ++i) {
        m_blocks.push_back(scriptedBlock(i, m_bytes.substr(offset, blockSizes[i])));
        const ScriptedBlock &block = m_blocks.back();
        LocatedBlockProto *message = locations->add_blocks();
        describe(block, offset, message);
        for (std::size_t node = 0; node < dataNodes; ++node) {
            m_dataNodes[node]->addBlock(block);
            *message->add_locs() = m_dataNodes[node]->location(uuid(node));
            message->add_storagetypes(DISK);
        }
        offset += blockSizes[i];
    }
    if (connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false, false, 10000,
                           10000) != 0)
        throw std::runtime_error("no connection to the scripted NameNode");
}

ScriptedFile::~ScriptedFile()
{
    connection.disconnect();
}

void ScriptedFile::setTokenIdentifier(std::size_t index, const std::string &identifier)
{
    m_blocks[index].tokenIdentifier = identifier;
    block(index)->mutable_blocktoken()->set_identifier(identifier);
    for (const std::unique_ptr<ScriptedDataNode> &node : m_dataNodes)
        node->addBlock(m_blocks[index]);
}

std::unique_ptr<HdfsFileReader> ScriptedFile::open()
{
    nameNode.forget("getBlockLocations");
    nameNode.answer("getBlockLocations", response);
    return std::unique_ptr<HdfsFileReader>(HdfsFileReader::open(&connection, "/some/file"));
}

std::size_t ScriptedFile::connectionCount() const
{
    std::size_t count = 0;
    for (const std::unique_ptr<ScriptedDataNode> &node : m_dataNodes)
        count += node->connectionCount();
    return count;
}

DatanodeInfoProto someLocation(const std::string &host, std::uint32_t port, const std::string &uuid)
{
    DatanodeInfoProto info;
    info.mutable_id()->set_ipaddr(host);
    info.mutable_id()->set_hostname(host);
    info.mutable_id()->set_datanodeuuid(uuid);
    info.mutable_id()->set_xferport(port);
    info.mutable_id()->set_infoport(9864);
    info.mutable_id()->set_ipcport(9867);
    return info;
}

ReadOutcome readAt(HdfsFileReader *reader, std::int64_t position, std::uint32_t length)
{
    const std::size_t kGuard = 64;
    std::string buffer(length + kGuard, kUntouched);
    reader->position = position;
    ReadOutcome outcome;
    outcome.result = reader->read(&buffer[0], length, nullptr);
    EXPECT_EQ(std::string(kGuard, kUntouched), buffer.substr(length)) << "bytes behind the buffer were written";
    buffer.resize(length);
    outcome.bytes = buffer;
    return outcome;
}
