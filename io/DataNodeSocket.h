// The one DataNode socket of a connection: which DataNode it leads to and when it may be used again.
#ifndef IO_DATANODESOCKET_H
#define IO_DATANODESOCKET_H

#include "io/LocatedBlock.h"
#include "rpc/NameNodeConnection.h"

#include <cstdint>

/// Gives the connection's socket, connected to `node` at `port`: the open one when it is kept, leads to this DataNode
/// and is alive, else a new one. Null when the DataNode cannot be reached.
TcpSocket *getDataNodeSocket(NameNodeConnection *connection, const DataNodeLocation &node, std::uint32_t port);

/// After a failure: marks the node down if asked to, and closes the socket, unless it is kept and leads to another
/// DataNode.
void releaseDataNodeSocket(NameNodeConnection *connection, DataNodeLocation *node, bool markDown);

/// At the end of an operation.
void closeDataNodeSocketUnlessKept(NameNodeConnection *connection);

#endif
