// Writing one new HDFS file from its start to its end.
#ifndef IO_HDFSFILEWRITER_H
#define IO_HDFSFILEWRITER_H

#include "io/Checksums.h"
#include "io/LocatedBlock.h"
#include "io/WriteCalls.h"
#include "rpc/NameNodeConnection.h"

#include <QtCore/QByteArray>

#include <cstdint>
#include <memory>

/// Results of `HdfsFileWriter::write`.
const std::int32_t kWriteNoMemory = 1; ///< "memory allocation error": there is no room for a block
const std::int32_t kWriteFailed = 2;   ///< a block could not be written

/// Gathers bytes until they fill a block, and writes that through a pipeline of DataNodes. The file comes into being,
/// or an existing one is emptied, with the first block or with a `close` without any bytes.
///
/// A failed `write` ends the file: what was written before stays at the NameNode, open and short, and every later
/// `write` and `close` fails too. Nothing renews the NameNode's lease on an open file: a writer that pauses for longer
/// than the cluster's soft limit (one minute as a rule) can lose the file to another writer, beyond the hard limit to
/// the cluster's recovery; the next block write or the `close` then fails with the NameNode's LeaseExpiredException in
/// the log.
class HdfsFileWriter
{
public:
    /// A writer for `path`, UTF-8; nothing is sent. `permission` in mode bits. Of `blockSize`, bytes, the low 32 bits
    /// count, and they must be a multiple of 1024 and not 0: null after a log line when they are not, and when the
    /// NameNode is not connected.
    static HdfsFileWriter *create(NameNodeConnection *connection, const QByteArray &path, std::uint32_t permission,
                                  std::uint16_t replication, std::int64_t blockSize);
    /// Frees the memory. Sends nothing: see `finish`.
    ~HdfsFileWriter();
    HdfsFileWriter(const HdfsFileWriter &) = delete;
    HdfsFileWriter &operator=(const HdfsFileWriter &) = delete;

    /// Appends `length` bytes. Whole blocks are sent from `data` itself. 0 = taken, kWriteNoMemory, kWriteFailed.
    std::int32_t write(const char *data, std::uint32_t length);

    /// Appends the last `length` bytes, writes what is gathered and completes the file at the NameNode. 0 = the file is
    /// closed. Else the code of what failed:
    ///   1 create could not be started, or the NameNode did not answer fsync or complete or answered with an exception,
    ///     or there was no memory for a `write` before
    ///   2 create could not be encoded, or fsync not be started
    ///   3 create could not be sent, or fsync not be encoded
    ///   4 the NameNode refused create, or complete could not be started
    ///   5 complete could not be encoded
    ///   6 the file was still not complete after 30 s ("WARNING: HDFS File is not complete")
    ///   7 five attempts to write a block failed ("Maximum retry reached")
    ///   8 no block from addBlock, or bytes for a file that is closed already
    ///   9, 10, 12 a write request, a packet header or the header of a last packet could not be encoded
    ///   11 unsupported checksum type
    /// Another close gives the same result without sending anything.
    std::int32_t close(const char *data, std::uint32_t length);

    /// What happens when a writer is dropped: a `close` without data, but a file of which nothing was written does not
    /// come into being.
    std::int32_t finish();

    /// Sets the bytes that one checksum covers. False when the block size is a multiple of it; true after a log line
    /// when it is not, and the size is set all the same, unless it is 0.
    bool setChunkSize(std::uint32_t chunkSize);
    std::uint32_t chunkSize() const { return m_chunkSize; }

    /// Whether the DataNodes flush every packet to disk.
    void setSyncBlock(std::uint8_t flag) { m_syncBlock = flag; }
    std::uint8_t syncBlock() const { return m_syncBlock; }

    /// Bytes handed to `write` and `close` so far.
    std::uint64_t totalWritten() const { return m_totalWritten; }

private:
    struct Freeing {
        void operator()(LocatedBlock *block) const { freeLocatedBlock(block); }
        void operator()(char *bytes) const;
    };
    typedef std::unique_ptr<LocatedBlock, Freeing> OwnedBlock;

    HdfsFileWriter(NameNodeConnection *connection, const NewFile &file);
    std::int32_t createFile();
    std::int32_t writeBlock(const char *data, std::uint32_t length);
    std::int32_t writeBlockSomewhere(const char *data, std::uint32_t length);
    std::int32_t writeRest(const char *data, std::uint32_t length);
    std::int32_t completeFile();
    std::int32_t end(std::int32_t result);
    bool buffer(const char *data, std::uint32_t length);

    NameNodeConnection *m_connection; ///< not owned
    NewFile m_file;
    std::uint32_t m_buffered; ///< bytes waiting in m_blockBuffer
    std::uint32_t m_chunkSize;
    std::uint64_t m_bytesInBlocks; ///< of the blocks written so far
    std::uint64_t m_totalWritten;
    std::unique_ptr<char, Freeing> m_blockBuffer; ///< room for a block; null until it is needed
    bool m_created;                               ///< the NameNode has the file
    bool m_ended;                                 ///< closed or failed, with m_result
    std::int32_t m_result;
    std::uint8_t m_syncBlock;
    OwnedBlock m_previousBlock; ///< the last one written, with its numBytes
    Crc32cState m_checksumState;
};

#endif
