#include "testing/ScriptedWebFile.h"

ScriptedWebFile::ScriptedWebFile(const std::vector<std::size_t> &blockSizes, std::size_t dataNodes)
    : ScriptedFile(blockSizes, dataNodes)
{
    connection.useWebHdfs = true;
    for (std::size_t i = 0; i < dataNodes; ++i) {
        m_webNodes.emplace_back(new ScriptedWebNode(bytes()));
        setWebPort(i, web(i).port());
    }
    expect("/some/file");
}

std::size_t ScriptedWebFile::webConnectionCount() const
{
    std::size_t count = 0;
    for (const std::unique_ptr<ScriptedWebNode> &node : m_webNodes)
        count += node->connectionCount();
    return count;
}

void ScriptedWebFile::alter(const ScriptedWebNode::Alter &alter)
{
    for (const std::unique_ptr<ScriptedWebNode> &node : m_webNodes)
        node->alter(alter);
}

void ScriptedWebFile::allConnections(ScriptedWebNode::Conduct conduct)
{
    for (const std::unique_ptr<ScriptedWebNode> &node : m_webNodes)
        node->allConnections(conduct);
}

void ScriptedWebFile::setWebPort(std::size_t dataNode, int port)
{
    for (hadoop::oracle::LocatedBlockProto &block : *response.mutable_locations()->mutable_blocks())
        block.mutable_locs(static_cast<int>(dataNode))->mutable_id()->set_infoport(static_cast<std::uint32_t>(port));
}

std::unique_ptr<HdfsFileReader> ScriptedWebFile::openAs(const QByteArray &path)
{
    std::unique_ptr<HdfsFileReader> reader = open();
    // A path may be longer than what a request to the NameNode holds.
    reader->path = path;
    expect(path);
    return reader;
}

void ScriptedWebFile::setUser(const QByteArray &user)
{
    connection.user = user;
    expect(m_path);
}

std::string ScriptedWebFile::nameNodeAddress() const
{
    return "127.0.0.1:" + std::to_string(nameNode.port());
}

void ScriptedWebFile::expect(const QByteArray &path)
{
    m_path = path;
    for (const std::unique_ptr<ScriptedWebNode> &node : m_webNodes)
        node->expect(path.toStdString(), connection.user.toStdString(), nameNodeAddress());
}
