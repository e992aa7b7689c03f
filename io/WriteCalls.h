// The calls of org.apache.hadoop.hdfs.protocol.ClientProtocol by which a file is written: create, addBlock,
// abandonBlock, fsync and complete. Failures are logged, but for a response to addBlock that cannot be decoded.
#ifndef IO_WRITECALLS_H
#define IO_WRITECALLS_H

#include "io/LocatedBlock.h"
#include "rpc/NameNodeConnection.h"

#include <QtCore/QByteArray>

#include <cstdint>

/// How a new file is stored.
struct NewFile {
    QByteArray path;          ///< UTF-8
    std::uint32_t permission; ///< mode bits
    std::uint16_t replication;
    std::uint32_t blockSize; ///< bytes
};

/// Creates the file, or empties the one that is there, and its missing parent directories. 0 = created, 1 = the call
/// could not be started, 2 = not encoded, 3 = not sent, 4 = the response could not be received or is an exception.
std::int32_t callCreate(NameNodeConnection *connection, const NewFile &file);

/// Gets a further block of the file, somewhere else than on the `excluded` DataNodes (null: none). `previous` (null:
/// none) is the block before it with the bytes written into it. An exception is answered with the same call again,
/// after 200, 400, 800 and 1600 ms. The caller owns the block; null when there is none.
LocatedBlock *callAddBlock(NameNodeConnection *connection, const QByteArray &path, const LocatedBlock *previous,
                           const DataNodeLocation *excluded);

/// Gives a block back that could not be written. What comes of it is of no matter to the caller.
void callAbandonBlock(NameNodeConnection *connection, const QByteArray &path, const LocatedBlock &block);

/// Makes what was written visible to readers. 0 = done, 1 = the response could not be received or is an exception, 2 =
/// the call could not be started, 3 = not encoded.
std::int32_t callFsync(NameNodeConnection *connection, const QByteArray &path);

/// Closes the file, whose last block is `last` with the bytes written into it (null: a file without blocks). As long as
/// the NameNode answers that the DataNodes have not reported that block yet it is asked again, for
/// kCompletePatience at the most. 0 = closed, also when the answer is empty or cannot be decoded; 1 = the response
/// could not be received or is an exception, 4 = the call could not be started, 5 = not encoded, 6 = still not
/// complete.
std::int32_t callComplete(NameNodeConnection *connection, const QByteArray &path, const LocatedBlock *last);

/// How long a file may take to become complete, in milliseconds.
const std::int64_t kCompletePatience = 30000;

#endif
