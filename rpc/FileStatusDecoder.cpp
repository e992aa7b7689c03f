#include "rpc/FileStatusDecoder.h"

#include "rpc/PbText.h"

#include "HdfsMessages.pb.h"

#include <cstdlib>
#include <cstring>

namespace {

const std::uint32_t kFileTypeDirectory = 1; ///< HdfsFileStatusProto.FileType IS_DIR

ByteString copyText(char **position, const ByteString &text)
{
    const ByteString copy = {*position, text.size};
    std::memcpy(*position, text.data, text.size);
    (*position)[text.size] = '\0';
    *position += text.size + 1;
    return copy;
}

HdfsFileStatus *newRecord(const ByteString &path, const ByteString &owner, const ByteString &group)
{
    void *block = std::malloc(sizeof(HdfsFileStatus) + path.size + owner.size + group.size + 3);
    if (!block)
        return nullptr;
    HdfsFileStatus *record = static_cast<HdfsFileStatus *>(block);
    char *texts = static_cast<char *>(block) + sizeof(HdfsFileStatus);
    record->path = copyText(&texts, path);
    record->owner = copyText(&texts, owner);
    record->group = copyText(&texts, group);
    record->next = nullptr;
    return record;
}

} // namespace

bool appendFileStatus(pb_istream_t *stream, FileStatusList *list)
{
    ByteString path = emptyByteString();
    ByteString owner = emptyByteString();
    ByteString group = emptyByteString();
    HdfsFileStatusProto status = HdfsFileStatusProto_init_default;
    status.path = collectTo(&path);
    status.owner = collectTo(&owner);
    status.group = collectTo(&group);
    if (!decodeInitialised(stream, HdfsFileStatusProto_fields, &status))
        return false;

    HdfsFileStatus *record = newRecord(path, owner, group);
    if (!record)
        PB_RETURN_ERROR(stream, "out of memory");
    const bool isDirectory = status.fileType == kFileTypeDirectory;
    record->kind = isDirectory ? 'D' : 'F';
    record->modificationTime = status.modification_time;
    record->length = isDirectory ? 0 : status.length;
    record->replication = static_cast<std::uint16_t>(status.block_replication);
    record->blockSize = status.blocksize;
    record->permission = static_cast<std::uint16_t>(status.permission.perm);
    record->accessTime = status.access_time;
    if (list->tail)
        list->tail->next = record;
    else
        list->head = record;
    list->tail = record;
    ++list->count;
    return true;
}

void freeFileStatusList(HdfsFileStatus *head)
{
    while (head) {
        HdfsFileStatus *next = head->next;
        std::free(head);
        head = next;
    }
}
