#include "rpc/FileStatusRecord.h"

#include <cstdlib>
#include <cstring>

namespace {

ByteString copyText(char **position, const ByteString &text)
{
    const ByteString copy = {*position, text.size};
    std::memcpy(*position, text.data, text.size);
    (*position)[text.size] = '\0';
    *position += text.size + 1;
    return copy;
}

} // namespace

HdfsFileStatus *newFileStatusRecord(const ByteString &path, const ByteString &owner, const ByteString &group)
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
