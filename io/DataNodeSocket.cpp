#include "io/DataNodeSocket.h"

#include <cstring>

namespace {

bool leadsTo(const NameNodeConnection &connection, const DataNodeLocation &node)
{
    const ByteString uuid = node.datanodeUuid();
    return static_cast<std::size_t>(connection.dataNodeId.size()) == uuid.size &&
           std::memcmp(connection.dataNodeId.constData(), uuid.data, uuid.size) == 0;
}

} // namespace

TcpSocket *getDataNodeSocket(NameNodeConnection *connection, const DataNodeLocation &node, std::uint32_t port)
{
    TcpSocket &socket = connection->dataNodeSocket;
    if (connection->keepDataNodeConnection && leadsTo(*connection, node) && socket.isAlive())
        return &socket;
    socket.close();
    // The index that was good for the NameNode's host is deliberately the first choice for DataNodes too.
    if (socket.connectTo(node.hostName().data, static_cast<std::int32_t>(port),
                         static_cast<std::int32_t>(connection->preferredAddressIndex)) != 0)
        return nullptr;
    const ByteString uuid = node.datanodeUuid();
    connection->dataNodeId = QByteArray(uuid.data, static_cast<int>(uuid.size));
    return &socket;
}

void releaseDataNodeSocket(NameNodeConnection *connection, DataNodeLocation *node, bool markDown)
{
    if (markDown)
        node->down = 1;
    if (connection->keepDataNodeConnection && !leadsTo(*connection, *node))
        return;
    if (connection->keepDataNodeConnection)
        connection->dataNodeId.clear();
    connection->dataNodeSocket.close();
}

void closeDataNodeSocketUnlessKept(NameNodeConnection *connection)
{
    if (!connection->keepDataNodeConnection)
        connection->dataNodeSocket.close();
}
