// A file whose block list a scripted NameNode gives and whose blocks scripted DataNodes hold: the world of a test that
// reads.
#ifndef TESTING_SCRIPTEDFILE_H
#define TESTING_SCRIPTEDFILE_H

#include "io/HdfsFileReader.h"
#include "rpc/NameNodeConnection.h"
#include "testing/ScriptedDataNode.h"
#include "testing/ScriptedNameNode.h"

#include "testing/proto/OracleClientProtocol.pb.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What a read gave.
struct ReadOutcome {
    std::uint32_t result; ///< HdfsFileReader::read's
    std::string bytes;    ///< the whole buffer that it was given, whatever was read
};

class ScriptedFile
{
public:
    /// Blocks of these sizes, each on all of the DataNodes, in order. Connects to the NameNode.
    explicit ScriptedFile(const std::vector<std::size_t> &blockSizes, std::size_t dataNodes = 1);
    ~ScriptedFile();
    ScriptedFile(const ScriptedFile &) = delete;
    ScriptedFile &operator=(const ScriptedFile &) = delete;

    static std::uint64_t blockId(std::size_t block) { return 1073741825 + block; }
    static std::string uuid(std::size_t dataNode) { return "uuid-of-datanode-" + std::to_string(dataNode); }

    /// What getBlockLocations answers; may be changed before `open`.
    hadoop::oracle::GetBlockLocationsResponseProto response;
    hadoop::oracle::LocatedBlockProto *block(std::size_t index)
    {
        return response.mutable_locations()->mutable_blocks(static_cast<int>(index));
    }

    /// Another token for a block, at the NameNode and at the DataNodes.
    void setTokenIdentifier(std::size_t block, const std::string &identifier);

    /// A reader of the file; null when the product gives none. It must be gone before this object.
    std::unique_ptr<HdfsFileReader> open();

    const std::string &bytes() const { return m_bytes; }
    ScriptedDataNode &dataNode(std::size_t index = 0) { return *m_dataNodes[index]; }
    std::size_t connectionCount() const; ///< to all DataNodes so far

    ScriptedNameNode nameNode;
    NameNodeConnection connection;

private:
    std::string m_bytes;
    std::vector<ScriptedBlock> m_blocks;
    std::vector<std::unique_ptr<ScriptedDataNode>> m_dataNodes;
};

/// One location of a block list that leads nowhere in particular.
hadoop::oracle::DatanodeInfoProto someLocation(const std::string &host, std::uint32_t port, const std::string &uuid);

/// Sets the position and reads. Behind the buffer lie bytes that must not change; the test fails when they do.
ReadOutcome readAt(HdfsFileReader *reader, std::int64_t position, std::uint32_t length);

#endif
