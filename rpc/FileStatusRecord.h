#ifndef RPC_FILESTATUSRECORD_H
#define RPC_FILESTATUSRECORD_H

#include "rpc/HdfsFileStatus.h"

/// A record as one heap block with copies of the texts, `next` null and its other fields not set. Released with
/// ClientProtocol::freeListing. Null when there is no memory for it.
HdfsFileStatus *newFileStatusRecord(const ByteString &path, const ByteString &owner, const ByteString &group);

#endif
