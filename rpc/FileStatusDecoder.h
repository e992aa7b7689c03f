// From `HdfsFileStatusProto` on the wire to `HdfsFileStatus` records in memory.
#ifndef RPC_FILESTATUSDECODER_H
#define RPC_FILESTATUSDECODER_H

#include "rpc/HdfsFileStatus.h"

#include <pb_decode.h>

#include <cstdint>

/// A chain of records under construction. Does not own them: whoever takes `head` releases it with
/// `freeFileStatusList`.
struct FileStatusList {
    FileStatusList() : head(nullptr), tail(nullptr), count(0) {}
    HdfsFileStatus *head;
    HdfsFileStatus *tail;
    std::int32_t count;
};

/// Decodes one `HdfsFileStatusProto`, all of `stream`, into a new record at the tail of `list`. False with the
/// stream's error set when it cannot be decoded or there is no memory for it; the list is unchanged then.
bool appendFileStatus(pb_istream_t *stream, FileStatusList *list);

/// Frees every record of a chain; null is allowed.
void freeFileStatusList(HdfsFileStatus *head);

#endif
