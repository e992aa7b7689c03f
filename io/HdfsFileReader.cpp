#include "io/HdfsFileReader.h"

#include "io/DataNodeBlockRead.h"
#include "io/DataNodeSocket.h"
#include "io/WebHdfsBlockRead.h"
#include "rpc/ClientProtocolCall.h"
#include "rpc/HostLog.h"

#include "ClientProtocolMessages.pb.h"

#include <algorithm>
#include <cstdlib>

namespace {

const std::uint64_t kWholeFile = 0x7FFFFFFFFFFFFFFFull;

bool decodeBlock(pb_istream_t *stream, const pb_field_t *, void **argument)
{
    return appendLocatedBlock(stream, static_cast<LocatedBlockList *>(*argument));
}

void freeList(const LocatedBlockList &list)
{
    LocatedBlock *block = list.head;
    while (block) {
        LocatedBlock *next = block->next;
        freeLocatedBlock(block);
        block = next;
    }
}

std::int32_t searchBlock(LocatedBlock *const *blocks, std::int32_t low, std::int32_t high, std::int64_t position)
{
    while (low + 1 < high) {
        const std::int32_t middle = low + (high - low) / 2;
        if (blocks[middle]->offset <= position)
            low = middle;
        else
            high = middle;
    }
    return low;
}

} // namespace

std::int32_t findBlock(LocatedBlock *const *blocks, std::int32_t count, std::int32_t start, std::int64_t position)
{
    if (position < blocks[start]->offset)
        return searchBlock(blocks, 0, start, position);
    if (position < blocks[start + 1]->offset)
        return start;
    std::int32_t low = 0;
    std::int32_t high = count;
    for (std::int64_t step = 1; start + step < count; step *= 2) {
        const std::int32_t probe = static_cast<std::int32_t>(start + step);
        if (blocks[probe]->offset > position) {
            high = probe;
            break;
        }
        low = probe;
    }
    return searchBlock(blocks, low, high, position);
}

HdfsFileReader::HdfsFileReader(NameNodeConnection *connection_, const QByteArray &path_)
    : connection(connection_), blocks(nullptr), blockCount(0), blockIndex(0), position(0), fileLength(0), path(path_),
      isNameDoubted(false)
{
}

HdfsFileReader::~HdfsFileReader()
{
    freeBlockList();
}

HdfsFileReader *HdfsFileReader::open(NameNodeConnection *connection, const QByteArray &path)
{
    if (!isConnectedToNameNode(connection))
        return nullptr;
    HdfsFileReader *reader = new HdfsFileReader(connection, path);
    if (!reader->fetchBlockLocations()) {
        delete reader;
        return nullptr;
    }
    return reader;
}

bool HdfsFileReader::fetchBlockLocations()
{
    ClientProtocolCall call(connection, "getBlockLocations");
    if (!call.isStarted())
        return true; // a reader of no bytes
    GetBlockLocationsRequestProto request = GetBlockLocationsRequestProto_init_default;
    request.src = sendBytes(&path);
    request.offset = 0;
    request.length = kWholeFile;
    if (!call.encode(GetBlockLocationsRequestProto_fields, &request, kPathRequestLimit))
        return false;
    call.send();
    pb_istream_t stream;
    if (!call.receive(&stream))
        return false;

    LocatedBlockList list;
    GetBlockLocationsResponseProto response = GetBlockLocationsResponseProto_init_default;
    response.locations.blocks = decodeEach(decodeBlock, &list);
    if (!pb_decode(&stream, GetBlockLocationsResponseProto_fields, &response))
        logToHost(QString::fromLatin1("WARNING: Block Decoding failed: %1").arg(codecErrorText(PB_GET_ERROR(&stream))));
    connection->trimResponseBuffer();
    if (response.locations.underConstruction)
        logToHost("WARNING: HDFS File under construction");
    if (!response.has_locations) {
        logToHost("WARNING: Empty File");
        freeList(list);
        return true;
    }
    return storeBlocks(list, response.locations.fileLength);
}

bool HdfsFileReader::storeBlocks(const LocatedBlockList &list, std::uint64_t length)
{
    LocatedBlock *sentinel = newSentinelBlock(length);
    LocatedBlock **array =
        static_cast<LocatedBlock **>(std::malloc((static_cast<std::size_t>(list.count) + 1) * sizeof *array));
    if (!sentinel || !array) {
        freeLocatedBlock(sentinel);
        std::free(array);
        freeList(list);
        return false;
    }
    LocatedBlock **entry = array;
    for (LocatedBlock *block = list.head; block; block = block->next)
        *entry++ = block;
    *entry = sentinel;
    blocks = array;
    blockCount = list.count;
    fileLength = length;
    blockIndex = 0;
    position = 0;
    return true;
}

void HdfsFileReader::freeBlockList()
{
    if (!blocks)
        return;
    for (std::int32_t i = blockCount; i >= 0; --i)
        freeLocatedBlock(blocks[i]);
    std::free(blocks);
    blocks = nullptr;
}

std::uint32_t HdfsFileReader::read(char *buffer, std::uint32_t length, std::int32_t *cursor)
{
    // Also a position below 0 lies past every end when it is taken as unsigned.
    if (static_cast<std::uint64_t>(position) >= fileLength)
        return 0;
    if (!cursor)
        cursor = &blockIndex;
    std::int32_t index = 0;
    if (blocks && blockCount > 0)
        index = findBlock(blocks, blockCount, std::max(0, std::min(*cursor, blockCount - 1)), position);
    *cursor = index;
    const std::uint64_t left = fileLength - static_cast<std::uint64_t>(position);
    const std::uint32_t wanted = static_cast<std::uint32_t>(std::min<std::uint64_t>(length, left));
    if (wanted == 0)
        return 0;
    const LocatedBlock *block = blocks ? blocks[index] : nullptr;
    // A list that does not cover the position, because it was not understood or has been freed, has no DataNode for it.
    if (!block || block->locationCount == 0 || position < block->offset || position >= blocks[index + 1]->offset) {
        logToHost(
            QString::fromLatin1("ERROR HDFS: No data node that contains block %1").arg(block ? block->blockId : 0));
        return kReadNoLocation;
    }

    const std::uint64_t offsetInBlock = static_cast<std::uint64_t>(position - block->offset);
    const std::uint32_t result = connection->useWebHdfs
                                     ? readThroughWebHdfs(*this, &index, offsetInBlock, wanted, buffer)
                                     : readFromDataNodes(*this, &index, offsetInBlock, wanted, buffer);
    if (result == wanted) {
        *cursor = index;
        position += wanted;
    }
    closeDataNodeSocketUnlessKept(connection);
    return result;
}
