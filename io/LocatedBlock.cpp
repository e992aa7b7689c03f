#include "io/LocatedBlock.h"

#include "rpc/PbText.h"

#include "ClientProtocolMessages.pb.h"
#include "HdfsMessages.pb.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

const std::size_t kMostTextBytes = std::numeric_limits<std::uint32_t>::max();

/// The text at `position`; moves behind it and its NUL byte.
ByteString nextText(const char **position, std::uint32_t size)
{
    const ByteString text = {*position, size};
    *position += size + 1;
    return text;
}

template <class Record> const char *texts(const Record *record)
{
    return reinterpret_cast<const char *>(record + 1);
}

/// A zero-filled record with room for copies of `count` texts, which are made; null when there is no memory.
template <class Record> Record *newRecord(const ByteString *const *sources, int count)
{
    std::size_t size = sizeof(Record);
    for (int i = 0; i < count; ++i) {
        if (sources[i]->size > kMostTextBytes)
            return nullptr;
        size += sources[i]->size + 1;
    }
    void *block = std::malloc(size);
    if (!block)
        return nullptr;
    std::memset(block, 0, sizeof(Record));
    char *position = static_cast<char *>(block) + sizeof(Record);
    for (int i = 0; i < count; ++i) {
        std::memcpy(position, sources[i]->data, sources[i]->size);
        position[sources[i]->size] = '\0';
        position += sources[i]->size + 1;
    }
    return static_cast<Record *>(block);
}

struct LocationList {
    explicit LocationList(bool keepsNetworkLocations_)
        : head(nullptr), tail(nullptr), count(0), keepsNetworkLocations(keepsNetworkLocations_)
    {
    }
    DataNodeLocation *head;
    DataNodeLocation *tail;
    std::uint32_t count;
    bool keepsNetworkLocations;
};

bool decodeLocation(pb_istream_t *stream, const pb_field_t *, void **argument)
{
    LocationList *list = static_cast<LocationList *>(*argument);
    ByteString ipAddr = emptyByteString();
    ByteString hostName = emptyByteString();
    ByteString datanodeUuid = emptyByteString();
    ByteString networkLocation = emptyByteString();
    DatanodeInfoProto info = DatanodeInfoProto_init_default;
    info.id.ipAddr = collectTo(&ipAddr);
    info.id.hostName = collectTo(&hostName);
    info.id.datanodeUuid = collectTo(&datanodeUuid);
    if (list->keepsNetworkLocations)
        info.location = collectTo(&networkLocation);
    if (!decodeInitialised(stream, DatanodeInfoProto_fields, &info))
        return false;

    const ByteString *sources[] = {&ipAddr, &hostName, &datanodeUuid, &networkLocation};
    DataNodeLocation *location = newRecord<DataNodeLocation>(sources, 4);
    if (!location)
        PB_RETURN_ERROR(stream, "out of memory");
    location->xferPort = info.id.xferPort;
    location->ipcPort = info.id.ipcPort;
    location->infoPort = info.id.infoPort;
    location->ipAddrSize = static_cast<std::uint32_t>(ipAddr.size);
    location->hostNameSize = static_cast<std::uint32_t>(hostName.size);
    location->datanodeUuidSize = static_cast<std::uint32_t>(datanodeUuid.size);
    location->networkLocationSize = static_cast<std::uint32_t>(networkLocation.size);
    if (list->tail)
        list->tail->next = location;
    else
        list->head = location;
    list->tail = location;
    ++list->count;
    return true;
}

/// The collected texts of a `LocatedBlockProto`.
struct BlockTexts {
    BlockTexts()
        : poolId(emptyByteString()), identifier(emptyByteString()), password(emptyByteString()),
          kind(emptyByteString()), service(emptyByteString())
    {
    }
    ByteString poolId;
    ByteString identifier;
    ByteString password;
    ByteString kind;
    ByteString service;
};

void collect(LocatedBlockProto *message, BlockTexts *texts, LocationList *locations)
{
    message->b.poolId = collectTo(&texts->poolId);
    message->blockToken.identifier = collectTo(&texts->identifier);
    message->blockToken.password = collectTo(&texts->password);
    message->blockToken.kind = collectTo(&texts->kind);
    message->blockToken.service = collectTo(&texts->service);
    message->locs = decodeEach(decodeLocation, locations);
}

LocatedBlock *newBlock(const LocatedBlockProto &message, const BlockTexts &texts, const LocationList &locations)
{
    const ByteString *sources[] = {&texts.poolId, &texts.identifier, &texts.password, &texts.kind, &texts.service};
    LocatedBlock *block = newRecord<LocatedBlock>(sources, 5);
    if (!block)
        return nullptr;
    block->firstLocation = locations.head;
    block->currentLocation = locations.head;
    block->locationCount = locations.count;
    block->offset = static_cast<std::int64_t>(message.offset);
    block->blockId = message.b.blockId;
    block->generationStamp = message.b.generationStamp;
    block->numBytes = message.b.numBytes;
    block->poolIdSize = static_cast<std::uint32_t>(texts.poolId.size);
    block->tokenIdentifierSize = static_cast<std::uint32_t>(texts.identifier.size);
    block->tokenPasswordSize = static_cast<std::uint32_t>(texts.password.size);
    block->tokenKindSize = static_cast<std::uint32_t>(texts.kind.size);
    block->tokenServiceSize = static_cast<std::uint32_t>(texts.service.size);
    return block;
}

/// Positions are found by binary search over the offsets, so they must ascend. Equal ones are empty blocks.
bool isOffsetInOrder(std::uint64_t offset, const LocatedBlockList &list)
{
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        return false;
    return !list.tail || static_cast<std::int64_t>(offset) >= list.tail->offset;
}

} // namespace

ByteString DataNodeLocation::ipAddr() const
{
    const char *position = texts(this);
    return nextText(&position, ipAddrSize);
}

ByteString DataNodeLocation::hostName() const
{
    const char *position = texts(this) + ipAddrSize + 1;
    return nextText(&position, hostNameSize);
}

ByteString DataNodeLocation::datanodeUuid() const
{
    const char *position = texts(this) + ipAddrSize + 1 + hostNameSize + 1;
    return nextText(&position, datanodeUuidSize);
}

ByteString DataNodeLocation::networkLocation() const
{
    const char *position = datanodeUuid().data + datanodeUuidSize + 1;
    return nextText(&position, networkLocationSize);
}

ByteString LocatedBlock::poolId() const
{
    const char *position = texts(this);
    return nextText(&position, poolIdSize);
}

ByteString LocatedBlock::tokenIdentifier() const
{
    const char *position = texts(this) + poolIdSize + 1;
    return nextText(&position, tokenIdentifierSize);
}

ByteString LocatedBlock::tokenPassword() const
{
    const char *position = tokenIdentifier().data + tokenIdentifierSize + 1;
    return nextText(&position, tokenPasswordSize);
}

ByteString LocatedBlock::tokenKind() const
{
    const char *position = tokenPassword().data + tokenPasswordSize + 1;
    return nextText(&position, tokenKindSize);
}

ByteString LocatedBlock::tokenService() const
{
    const char *position = tokenKind().data + tokenKindSize + 1;
    return nextText(&position, tokenServiceSize);
}

bool appendLocatedBlock(pb_istream_t *stream, LocatedBlockList *list)
{
    LocatedBlockProto message = LocatedBlockProto_init_default;
    BlockTexts texts;
    LocationList locations(false);
    collect(&message, &texts, &locations);
    if (!decodeInitialised(stream, LocatedBlockProto_fields, &message)) {
        freeLocations(locations.head);
        return false;
    }
    if (!isOffsetInOrder(message.offset, *list)) {
        freeLocations(locations.head);
        PB_RETURN_ERROR(stream, "block offset out of order");
    }
    LocatedBlock *block = newBlock(message, texts, locations);
    if (!block) {
        freeLocations(locations.head);
        PB_RETURN_ERROR(stream, "out of memory");
    }
    if (list->tail)
        list->tail->next = block;
    else
        list->head = block;
    list->tail = block;
    ++list->count;
    return true;
}

LocatedBlock *decodeAddedBlock(pb_istream_t *stream)
{
    AddBlockResponseProto response = AddBlockResponseProto_init_default;
    BlockTexts texts;
    LocationList locations(true);
    collect(&response.block, &texts, &locations);
    LocatedBlock *block = nullptr;
    if (decodeInitialised(stream, AddBlockResponseProto_fields, &response)) {
        block = newBlock(response.block, texts, locations);
        if (!block)
            PB_SET_ERROR(stream, "out of memory");
    }
    if (!block)
        freeLocations(locations.head);
    return block;
}

void moveLocation(LocatedBlock *block, std::uint32_t position, DataNodeLocation **list)
{
    DataNodeLocation **link = &block->firstLocation;
    for (; position > 0 && *link; --position)
        link = &(*link)->next;
    DataNodeLocation *location = *link;
    if (!location)
        return;
    *link = location->next;
    block->currentLocation = block->firstLocation;
    --block->locationCount;
    location->next = nullptr;
    while (*list)
        list = &(*list)->next;
    *list = location;
}

LocatedBlock *newSentinelBlock(std::uint64_t fileLength)
{
    LocatedBlock *sentinel = static_cast<LocatedBlock *>(std::calloc(1, sizeof(LocatedBlock) + 5));
    if (sentinel)
        sentinel->offset = static_cast<std::int64_t>(fileLength);
    return sentinel;
}

void freeLocations(DataNodeLocation *first)
{
    while (first) {
        DataNodeLocation *next = first->next;
        std::free(first);
        first = next;
    }
}

void freeLocatedBlock(LocatedBlock *block)
{
    if (!block)
        return;
    freeLocations(block->firstLocation);
    std::free(block);
}
