// A file whose blocks are read through the web ports of scripted DataNodes: the world of a test of WebHDFS reads.
#ifndef TESTING_SCRIPTEDWEBFILE_H
#define TESTING_SCRIPTEDWEBFILE_H

#include "testing/ScriptedFile.h"
#include "testing/ScriptedWebNode.h"

#include <memory>
#include <string>
#include <vector>

/// The connection's WebHDFS flag is set. The DataNodes of ScriptedFile are there too, at their data ports.
class ScriptedWebFile : public ScriptedFile
{
public:
    /// Blocks of these sizes, each on all of the DataNodes, in order.
    explicit ScriptedWebFile(const std::vector<std::size_t> &blockSizes, std::size_t dataNodes = 1);

    ScriptedWebNode &web(std::size_t dataNode = 0) { return *m_webNodes[dataNode]; }
    std::size_t webConnectionCount() const; ///< to all web ports so far

    /// All of them from now on, as with the same functions of ScriptedWebNode.
    void alter(const ScriptedWebNode::Alter &alter);
    void allConnections(ScriptedWebNode::Conduct conduct);

    /// The port of a DataNode's location, in every block. Before `open`.
    void setWebPort(std::size_t dataNode, int port);

    /// A reader of a file of this name, whatever it is; `open()` gives one of "/some/file".
    std::unique_ptr<HdfsFileReader> openAs(const QByteArray &path);
    /// Takes another user for the requests.
    void setUser(const QByteArray &user);

    /// "127.0.0.1:PORT" of the NameNode, as requests name it.
    std::string nameNodeAddress() const;

private:
    void expect(const QByteArray &path);

    QByteArray m_path;
    std::vector<std::unique_ptr<ScriptedWebNode>> m_webNodes;
};

#endif
