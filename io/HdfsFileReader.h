// Random-access reading of one HDFS file as it stood when it was opened.
#ifndef IO_HDFSFILEREADER_H
#define IO_HDFSFILEREADER_H

#include "io/LocatedBlock.h"
#include "rpc/NameNodeConnection.h"

#include <QtCore/QByteArray>

#include <cstdint>

/// The two results of a read that are no byte counts.
const std::uint32_t kReadFailed = 0xFFFFFFFFu;     ///< -1: every location of a block failed
const std::uint32_t kReadNoLocation = 0xFFFFFFFEu; ///< -2: a block has no locations

class HdfsFileReader
{
public:
    /// Opens `path`: fetches the locations of all its blocks in one `getBlockLocations` call. Null after logging when
    /// the NameNode is not connected, the request cannot be encoded or the NameNode refuses. A file without
    /// blocks, under construction or with a list that could only partly be decoded gives a reader, with a warning.
    static HdfsFileReader *open(NameNodeConnection *connection, const QByteArray &path);
    ~HdfsFileReader();
    HdfsFileReader(const HdfsFileReader &) = delete;
    HdfsFileReader &operator=(const HdfsFileReader &) = delete;

    /// Frees the block list; no `read` can succeed afterwards.
    void freeBlockList();

    /// Reads `length` bytes, cut to what is left of the file, at `position` into `buffer`; moves `position` only on
    /// success. Returns the byte count (0 at or past the end), kReadFailed or kReadNoLocation. `cursor` (may be null)
    /// is used instead of blockIndex as the search hint and gets the index of the last block read.
    std::uint32_t read(char *buffer, std::uint32_t length, std::int32_t *cursor);

    NameNodeConnection *connection; ///< not owned
    LocatedBlock **blocks;          ///< blockCount blocks in ascending offset order and a sentinel; null: none
    std::int32_t blockCount;        ///< without the sentinel
    std::int32_t blockIndex;        ///< block of the last read
    std::int64_t position;          ///< next byte to read; any value
    std::uint64_t fileLength;       ///< bytes, as the NameNode reported them
    QByteArray path;                ///< UTF-8
    bool isNameDoubted;             ///< it has been logged that WebHDFS may take the path for another one

private:
    HdfsFileReader(NameNodeConnection *connection, const QByteArray &path);
    bool fetchBlockLocations();
    bool storeBlocks(const LocatedBlockList &list, std::uint64_t length);
};

/// The index of the block that holds `position`, starting the search at the hint `start`. `blocks` holds `count` blocks
/// (at least one) and the sentinel. Of blocks with equal offsets the last one is meant.
std::int32_t findBlock(LocatedBlock *const *blocks, std::int32_t count, std::int32_t start, std::int64_t position);

#endif
