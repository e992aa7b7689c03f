// The namespace operations of org.apache.hadoop.hdfs.protocol.ClientProtocol. Each is one call on the
// connection, on the caller's thread. Paths and names are UTF-8 byte strings.
#ifndef RPC_CLIENTPROTOCOL_H
#define RPC_CLIENTPROTOCOL_H

#include "rpc/HdfsFileStatus.h"
#include "rpc/NameNodeConnection.h"

#include <QtCore/QByteArray>

#include <cstdint>

namespace ClientProtocol {

/// What most operations return.
enum Status {
    Done = 0,         ///< the NameNode's `result` was true
    Refused = 1,      ///< `result` was false, or the answer could not be decoded
    NotConnected = 2, ///< "Not connected any more to NameNode"
    NotStarted = 3,   ///< the call headers could not be written
    NotEncoded = 4,   ///< the request could not be encoded
    CallFailed = 5    ///< send, receive or a remote exception
};

/// Lists a directory, page by page. The head of the list (released with freeListing), null when it is empty, missing
/// or the listing failed; `*count` (may be null) is the number of records, -1 on failure.
HdfsFileStatus *getListing(NameNodeConnection *connection, const QByteArray &path, std::int32_t *count);

/// 0 = answered: `*exists` and `*isFile` are set; 1 = the call failed; 2 = the answer could not be decoded. `*exists`
/// is false on failure, `*isFile` untouched.
std::int32_t fileExists(NameNodeConnection *connection, const QByteArray &path, bool *exists, bool *isFile);

/// One record (released with freeListing); null when there is no such path (`*failed` false) or the call failed
/// (`*failed` true). `failed` may be null.
HdfsFileStatus *fileInfo(NameNodeConnection *connection, const QByteArray &path, bool *failed);

/// `permission` in mode bits.
std::int32_t mkdirs(NameNodeConnection *connection, const QByteArray &path, std::uint32_t permission,
                    bool createParent);

std::int32_t delete_(NameNodeConnection *connection, const QByteArray &path, bool recursive);

/// 0 = the call succeeded, whatever the NameNode's `result`; 1 = any failure.
std::int32_t rename(NameNodeConnection *connection, const QByteArray &source, const QByteArray &destination);

std::int32_t setReplication(NameNodeConnection *connection, const QByteArray &path, std::int16_t replication);

/// The answers of these two have no `result`: a call that succeeded ends in Refused (1).
std::int32_t setPermission(NameNodeConnection *connection, const QByteArray &path, std::int16_t permission);
/// An empty name is not sent: the NameNode leaves that one as it is.
std::int32_t setOwner(NameNodeConnection *connection, const QByteArray &path, const QByteArray &user,
                      const QByteArray &group);

const int kFsStatsCount = 6;
/// Fills six counters: capacity, used, remaining (bytes), under-replicated, corrupt and missing blocks. 0 = filled,
/// 1 = the answer could not be decoded, 2 to 5 as Status.
std::int32_t getFsStats(NameNodeConnection *connection, std::uint64_t *counters);

/// Frees a listing or a single record; null is allowed.
void freeListing(HdfsFileStatus *head);

} // namespace ClientProtocol

#endif
