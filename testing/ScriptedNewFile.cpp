#include "testing/ScriptedNewFile.h"

#include "rpc/MemoryStream.h"
#include "testing/NamespaceMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

using namespace hadoop::oracle;

namespace {

bool isExcluded(const AddBlockRequestProto &request, const std::string &uuid)
{
    return std::any_of(request.excludenodes().begin(), request.excludenodes().end(),
                       [&uuid](const DatanodeInfoProto &node) { return node.id().datanodeuuid() == uuid; });
}

/// Takes note of a block that the writer vouches for. A repetition names the same one again.
void addNamed(const ExtendedBlockProto &block, std::vector<ExtendedBlockProto> *named)
{
    if (named->empty() || named->back().blockid() != block.blockid())
        named->push_back(block);
}

} // namespace

LocatedBlockProto givenBlock(std::size_t index, const std::vector<DatanodeInfoProto> &locations)
{
    LocatedBlockProto block;
    block.mutable_b()->set_poolid("BP-1234567890-127.0.0.1-1700000000000");
    block.mutable_b()->set_blockid(ScriptedNewFile::blockId(index));
    block.mutable_b()->set_generationstamp(1001 + index);
    block.mutable_b()->set_numbytes(0);
    block.set_offset(0);
    block.set_corrupt(false);
    block.mutable_blocktoken()->set_identifier(std::string("identifier\0of ", 14) + std::to_string(index));
    block.mutable_blocktoken()->set_password(std::string("\xFF\x00\x80password", 11));
    block.mutable_blocktoken()->set_kind("HDFS_BLOCK_TOKEN");
    block.mutable_blocktoken()->set_service("");
    for (const DatanodeInfoProto &location : locations) {
        *block.add_locs() = location;
        block.add_iscached(false);
        block.add_storagetypes(DISK);
        block.add_storageids("DS-" + location.id().datanodeuuid());
    }
    return block;
}

OwnedLocatedBlock located(const LocatedBlockProto &block)
{
    AddBlockResponseProto response;
    *response.mutable_block() = block;
    const std::string bytes = response.SerializeAsString();
    pb_istream_t stream = memoryStream(bytes.data(), bytes.size());
    return OwnedLocatedBlock(decodeAddedBlock(&stream));
}

std::int32_t writeBytes(HdfsFileWriter *writer, const std::string &bytes)
{
    return writer->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::int32_t closeWith(HdfsFileWriter *writer, const std::string &bytes)
{
    return writer->close(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::string repeated(const std::string &text, std::size_t count)
{
    std::string all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

ScriptedNewFile::ScriptedNewFile(std::size_t dataNodes, std::size_t replicas) : m_replicas(replicas), m_given(0)
{
    for (std::size_t i = 0; i < dataNodes; ++i)
        m_dataNodes.emplace_back(new ScriptedWriteNode);
    CreateResponseProto created;
    *created.mutable_fs() = fileStatus("");
    addNewerFields(created.mutable_fs());
    nameNode.answer("create", created);
    answerAddBlock([this](ScriptedConnection &link, const NameNodeCall &call) { giveBlock(link, call); });
    nameNode.answer("abandonBlock", AbandonBlockResponseProto());
    nameNode.answer("fsync", FsyncResponseProto());
    CompleteResponseProto completed;
    completed.set_result(true);
    nameNode.answer("complete", completed);
    if (connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false, false, 10000,
                           10000) != 0)
        throw std::runtime_error("no connection to the scripted NameNode");
}

ScriptedNewFile::~ScriptedNewFile()
{
    connection.disconnect();
}

std::unique_ptr<HdfsFileWriter> ScriptedNewFile::open(std::int64_t blockSize)
{
    return std::unique_ptr<HdfsFileWriter>(
        HdfsFileWriter::create(&connection, "/some/file", 0644, static_cast<std::uint16_t>(m_replicas), blockSize));
}

void ScriptedNewFile::answerAddBlock(ScriptedNameNode::Responder responder)
{
    nameNode.respond("addBlock", std::move(responder));
}

void ScriptedNewFile::giveBlock(ScriptedConnection &link, const NameNodeCall &call)
{
    const AddBlockRequestProto request = call.as<AddBlockRequestProto>();
    std::vector<DatanodeInfoProto> locations;
    ScriptedWriteNode *first = nullptr;
    for (std::size_t i = 0; i < m_dataNodes.size() && locations.size() < m_replicas; ++i) {
        if (isExcluded(request, uuid(i)))
            continue;
        if (!first)
            first = m_dataNodes[i].get();
        locations.push_back(m_dataNodes[i]->location(uuid(i)));
    }
    if (!first) {
        link.send(ScriptedNameNode::frame(
            ScriptedNameNode::exceptionHeader(call, "java.io.IOException", "no DataNode is left"), std::string()));
        return;
    }
    std::size_t index;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        index = m_given++;
    }
    AddBlockResponseProto response;
    *response.mutable_block() = givenBlock(index, locations);
    first->expect(response.block());
    link.send(ScriptedNameNode::frame(call, response));
}

void ScriptedNewFile::serve(const ScriptedWriteNode::Serving &serving)
{
    for (const std::unique_ptr<ScriptedWriteNode> &node : m_dataNodes)
        node->serve(serving);
}

std::size_t ScriptedNewFile::connectionCount() const
{
    std::size_t count = 0;
    for (const std::unique_ptr<ScriptedWriteNode> &node : m_dataNodes)
        count += node->connectionCount();
    return count;
}

void ScriptedNewFile::waitUntilOver()
{
    for (const std::unique_ptr<ScriptedWriteNode> &node : m_dataNodes)
        node->peer().waitUntilOver(node->connectionCount());
}

std::vector<AddBlockRequestProto> ScriptedNewFile::addBlocks() const
{
    return requests<AddBlockRequestProto>("addBlock");
}

std::vector<CompleteRequestProto> ScriptedNewFile::completes() const
{
    return requests<CompleteRequestProto>("complete");
}

std::string ScriptedNewFile::callNames() const
{
    std::string names;
    for (const NameNodeCall &call : nameNode.calls())
        names += (names.empty() ? "" : " ") + call.method;
    return names;
}

std::vector<WrittenBlock> ScriptedNewFile::wholeBlocks() const
{
    std::vector<WrittenBlock> whole;
    for (const std::unique_ptr<ScriptedWriteNode> &node : m_dataNodes) {
        for (const WrittenBlock &block : node->blocks()) {
            if (block.isWhole)
                whole.push_back(block);
        }
    }
    std::sort(whole.begin(), whole.end(),
              [](const WrittenBlock &a, const WrittenBlock &b) { return a.blockId() < b.blockId(); });
    return whole;
}

std::string ScriptedNewFile::content() const
{
    std::vector<ExtendedBlockProto> named;
    for (const AddBlockRequestProto &request : addBlocks()) {
        if (request.has_previous())
            addNamed(request.previous(), &named);
    }
    for (const CompleteRequestProto &request : completes()) {
        if (request.has_last())
            addNamed(request.last(), &named);
    }
    const std::vector<WrittenBlock> whole = wholeBlocks();
    std::string bytes;
    for (const ExtendedBlockProto &name : named) {
        const auto block = std::find_if(whole.begin(), whole.end(), [&name](const WrittenBlock &candidate) {
            return candidate.blockId() == name.blockid();
        });
        if (block == whole.end()) {
            ADD_FAILURE() << "block " << name.blockid() << " was named and not written";
            continue;
        }
        const ExtendedBlockProto &asked = block->request.header().baseheader().block();
        EXPECT_EQ(asked.poolid(), name.poolid());
        EXPECT_EQ(asked.generationstamp(), name.generationstamp());
        EXPECT_TRUE(name.has_numbytes());
        EXPECT_EQ(block->data.size(), name.numbytes());
        bytes += block->data;
    }
    return bytes;
}
