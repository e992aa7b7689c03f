// The status record of one file or directory. It crosses the plug-in's boundary as it stands: the
// host reads its fields directly, so its layout is part of the binary contract.
#ifndef RPC_HDFSFILESTATUS_H
#define RPC_HDFSFILESTATUS_H

#include <cstddef>
#include <cstdint>

/// Bytes that belong to somebody else (a record, a receive buffer). Not necessarily text; where it
/// is a member of a record, a NUL byte follows the last byte.
struct ByteString {
    const char *data;
    std::size_t size;
};

/// One file or directory, as `HdfsFileStatusProto` describes it. One heap block: the three texts
/// stand behind the fixed part, each followed by a NUL byte, in the order path, owner, group.
/// Made by the plug-in's `fileInfo` and `getListing`, released only by its `freeListing`.
struct HdfsFileStatus {
    std::uint32_t kind;             ///< 'D' a directory, 'F' anything else (files, symbolic links)
    ByteString path;                ///< the name as the NameNode sent it: without the directory's path
    std::uint64_t modificationTime; ///< milliseconds since 1970-01-01 UTC
    std::uint64_t length;           ///< bytes; 0 for a directory
    std::uint16_t replication;      ///< 0 for a directory
    std::uint64_t blockSize;        ///< bytes; 0 for a directory
    ByteString owner;
    ByteString group;
    std::uint16_t permission; ///< mode bits, as 0755, with the sticky bit 01000
    std::uint64_t accessTime; ///< milliseconds since 1970-01-01 UTC
    HdfsFileStatus *next;     ///< next record of the listing; null at its end
};

static_assert(sizeof(void *) != 8 || sizeof(HdfsFileStatus) == 112, "the host reads this layout");

#endif
