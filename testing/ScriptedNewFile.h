// A file that comes into being: a scripted NameNode that gives blocks, and scripted DataNodes that take them. The world
// of a test that writes.
#ifndef TESTING_SCRIPTEDNEWFILE_H
#define TESTING_SCRIPTEDNEWFILE_H

#include "io/HdfsFileWriter.h"
#include "io/LocatedBlock.h"
#include "rpc/NameNodeConnection.h"
#include "testing/ScriptedNameNode.h"
#include "testing/ScriptedWriteNode.h"

#include "testing/proto/OracleClientProtocol.pb.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

struct LocatedBlockFreeing {
    void operator()(LocatedBlock *block) const { freeLocatedBlock(block); }
};
typedef std::unique_ptr<LocatedBlock, LocatedBlockFreeing> OwnedLocatedBlock;

/// A block as a NameNode gives it to a writer, with the fields of newer servers. `index` makes it differ from others.
hadoop::oracle::LocatedBlockProto givenBlock(std::size_t index,
                                             const std::vector<hadoop::oracle::DatanodeInfoProto> &locations);

/// What the product makes of it.
OwnedLocatedBlock located(const hadoop::oracle::LocatedBlockProto &block);

/// All of `bytes` in one call.
std::int32_t writeBytes(HdfsFileWriter *writer, const std::string &bytes);
std::int32_t closeWith(HdfsFileWriter *writer, const std::string &bytes);

/// `text`, so many times.
std::string repeated(const std::string &text, std::size_t count);

class ScriptedNewFile
{
public:
    static std::uint64_t blockId(std::size_t block) { return 1073741825 + block; }
    static std::string uuid(std::size_t dataNode) { return "uuid-of-datanode-" + std::to_string(dataNode); }

    /// Each addBlock gives a further block on the first `replicas` DataNodes that it does not exclude, in order, and
    /// ends in an exception when there are none. Connects to the NameNode.
    explicit ScriptedNewFile(std::size_t dataNodes = 1, std::size_t replicas = 1);
    ~ScriptedNewFile();
    ScriptedNewFile(const ScriptedNewFile &) = delete;
    ScriptedNewFile &operator=(const ScriptedNewFile &) = delete;

    /// A writer of /some/file, mode 0644, with as many replicas as the blocks have; null when the product gives none.
    /// It must be gone before this object.
    std::unique_ptr<HdfsFileWriter> open(std::int64_t blockSize);

    /// The next answer to addBlock. What these do not answer is answered as said above.
    void answerAddBlock(ScriptedNameNode::Responder responder);
    /// Gives the next block to a writer: what addBlock does unless told otherwise.
    void giveBlock(ScriptedConnection &connection, const NameNodeCall &call);

    ScriptedWriteNode &dataNode(std::size_t index = 0) { return *m_dataNodes[index]; }
    void serve(const ScriptedWriteNode::Serving &serving); ///< all DataNodes
    std::size_t connectionCount() const;                   ///< to all DataNodes so far
    void waitUntilOver();                                  ///< all of them

    /// Requests of a method, in order.
    template <class Message> std::vector<Message> requests(const std::string &method) const
    {
        std::vector<Message> messages;
        for (const NameNodeCall &call : nameNode.calls(method))
            messages.push_back(call.as<Message>());
        return messages;
    }
    std::vector<hadoop::oracle::AddBlockRequestProto> addBlocks() const;
    std::vector<hadoop::oracle::CompleteRequestProto> completes() const;
    /// The names of all calls, in order, with a blank between them.
    std::string callNames() const;

    /// The blocks that DataNodes have taken whole, in the order in which they were given.
    std::vector<WrittenBlock> wholeBlocks() const;
    /// What a reader of the file would get: the blocks that the writer has named to the NameNode as `previous` or
    /// `last`, with the lengths named there.
    std::string content() const;

    ScriptedNameNode nameNode;
    NameNodeConnection connection;

private:
    mutable std::mutex m_mutex;
    std::size_t m_replicas;
    std::size_t m_given;
    std::vector<std::unique_ptr<ScriptedWriteNode>> m_dataNodes;
};

#endif
