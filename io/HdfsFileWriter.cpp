#include "io/HdfsFileWriter.h"

#include "io/DataNodeSocket.h"
#include "io/WritePipeline.h"
#include "rpc/ClientProtocolCall.h"
#include "rpc/HostLog.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

const std::uint32_t kFirstChunkSize = 1024;
const int kBlockAttempts = 5;
const std::int32_t kMaximumRetryReached = 7;
const std::int32_t kNoBlock = 8;

/// The DataNodes that a block write has failed on.
struct ExcludedNodes {
    ExcludedNodes() : first(nullptr) {}
    ~ExcludedNodes() { freeLocations(first); }
    ExcludedNodes(const ExcludedNodes &) = delete;
    ExcludedNodes &operator=(const ExcludedNodes &) = delete;

    DataNodeLocation *first;
};

} // namespace

void HdfsFileWriter::Freeing::operator()(char *bytes) const
{
    std::free(bytes);
}

HdfsFileWriter::HdfsFileWriter(NameNodeConnection *connection, const NewFile &file)
    : m_connection(connection), m_file(file), m_buffered(0), m_chunkSize(kFirstChunkSize), m_bytesInBlocks(0),
      m_totalWritten(0), m_created(false), m_ended(false), m_result(0), m_syncBlock(0)
{
}

HdfsFileWriter::~HdfsFileWriter() {}

HdfsFileWriter *HdfsFileWriter::create(NameNodeConnection *connection, const QByteArray &path, std::uint32_t permission,
                                       std::uint16_t replication, std::int64_t blockSize)
{
    if (!isConnectedToNameNode(connection))
        return nullptr;
    const NewFile file = {path, permission, replication, static_cast<std::uint32_t>(blockSize)};
    if (file.blockSize == 0) {
        // What is left of 4 GiB in 32 bits is a multiple of everything, but no block could ever be filled.
        logUnfitBlockSize(0, static_cast<std::int32_t>(kFirstChunkSize));
        return nullptr;
    }
    std::unique_ptr<HdfsFileWriter> writer(new HdfsFileWriter(connection, file));
    return writer->setChunkSize(kFirstChunkSize) ? nullptr : writer.release();
}

bool HdfsFileWriter::setChunkSize(std::uint32_t chunkSize)
{
    if (chunkSize != 0)
        m_chunkSize = chunkSize;
    return isBlockSizeUnfit(static_cast<std::int32_t>(m_file.blockSize), static_cast<std::int32_t>(chunkSize));
}

std::int32_t HdfsFileWriter::write(const char *data, std::uint32_t length)
{
    m_totalWritten += length;
    if (m_ended)
        return kWriteFailed;
    const std::uint32_t blockSize = m_file.blockSize;
    if (m_buffered > 0 && length >= blockSize - m_buffered) {
        const std::uint32_t part = blockSize - m_buffered;
        std::memcpy(m_blockBuffer.get() + m_buffered, data, part);
        if (writeBlock(m_blockBuffer.get(), blockSize) != 0)
            return kWriteFailed;
        m_buffered = 0;
        data += part;
        length -= part;
    }
    for (; length >= blockSize; data += blockSize, length -= blockSize) {
        if (writeBlock(data, blockSize) != 0)
            return kWriteFailed;
    }
    return buffer(data, length) ? 0 : kWriteNoMemory;
}

/// Puts less than what fills a block behind what is gathered. False when there is no room: bytes are lost then.
bool HdfsFileWriter::buffer(const char *data, std::uint32_t length)
{
    if (length == 0)
        return true;
    if (!m_blockBuffer)
        m_blockBuffer.reset(static_cast<char *>(std::malloc(m_file.blockSize)));
    if (!m_blockBuffer) {
        logToHost("memory allocation error");
        end(kWriteNoMemory);
        return false;
    }
    std::memcpy(m_blockBuffer.get() + m_buffered, data, length);
    m_buffered += length;
    return true;
}

std::int32_t HdfsFileWriter::close(const char *data, std::uint32_t length)
{
    m_totalWritten += length;
    if (m_ended)
        return m_result == 0 && length > 0 ? kNoBlock : m_result;
    std::int32_t result = writeRest(data, length);
    if (result == 0)
        result = completeFile();
    return end(result);
}

std::int32_t HdfsFileWriter::finish()
{
    if (!m_created && m_buffered == 0)
        return m_result;
    return close(nullptr, 0);
}

std::int32_t HdfsFileWriter::writeRest(const char *data, std::uint32_t length)
{
    const std::uint32_t blockSize = m_file.blockSize;
    if (m_buffered > 0) {
        const std::uint32_t part = std::min(length, blockSize - m_buffered);
        if (part > 0)
            std::memcpy(m_blockBuffer.get() + m_buffered, data, part);
        const std::int32_t result = writeBlock(m_blockBuffer.get(), m_buffered + part);
        if (result != 0)
            return result;
        m_buffered = 0;
        data += part;
        length -= part;
    }
    if (length == 0)
        return m_created ? 0 : createFile();
    for (; length >= blockSize; data += blockSize, length -= blockSize) {
        const std::int32_t result = writeBlock(data, blockSize);
        if (result != 0)
            return result;
    }
    // Data that end with a block are deliberately followed by an empty one.
    return writeBlock(data, length);
}

std::int32_t HdfsFileWriter::completeFile()
{
    if (m_previousBlock) {
        const std::int32_t result = callFsync(m_connection, m_file.path);
        if (result != 0)
            return result;
    }
    return callComplete(m_connection, m_file.path, m_previousBlock.get());
}

/// Nothing more will be written.
std::int32_t HdfsFileWriter::end(std::int32_t result)
{
    m_ended = true;
    m_result = result;
    m_buffered = 0;
    m_blockBuffer.reset();
    m_previousBlock.reset();
    return result;
}

std::int32_t HdfsFileWriter::createFile()
{
    const std::int32_t result = callCreate(m_connection, m_file);
    m_created = result == 0;
    return result;
}

std::int32_t HdfsFileWriter::writeBlock(const char *data, std::uint32_t length)
{
    std::int32_t result = m_created ? 0 : createFile();
    if (result == 0) {
        result = writeBlockSomewhere(data, length);
        closeDataNodeSocketUnlessKept(m_connection);
    }
    return result == 0 ? 0 : end(result);
}

std::int32_t HdfsFileWriter::writeBlockSomewhere(const char *data, std::uint32_t length)
{
    const BlockWrite write = {data, length, m_chunkSize, m_syncBlock != 0, m_bytesInBlocks, &m_checksumState};
    PacketBuffer packets;
    ExcludedNodes excluded;
    for (int failures = 0;;) {
        OwnedBlock block(callAddBlock(m_connection, m_file.path, m_previousBlock.get(), excluded.first));
        if (!block)
            return kNoBlock;
        std::uint32_t suspect = 0;
        const PipelineResult result = runWritePipeline(m_connection, *block, write, &packets, &suspect);
        if (result == BlockWritten) {
            block->numBytes = length;
            m_bytesInBlocks += length;
            m_previousBlock = std::move(block);
            return 0;
        }
        if (result != AttemptFailed)
            return result;
        if (block->firstLocation)
            releaseDataNodeSocket(m_connection, block->firstLocation, true);
        // Only for a block that is given back does the NameNode look at what is excluded: then it pays to name the
        // DataNode that the others blame.
        moveLocation(block.get(), m_connection->abandonsFailedBlocks ? suspect : 0, &excluded.first);
        if (++failures == kBlockAttempts) {
            logToHost("Maximum retry reached");
            return kMaximumRetryReached;
        }
        if (m_connection->abandonsFailedBlocks)
            callAbandonBlock(m_connection, m_file.path, *block);
    }
}
