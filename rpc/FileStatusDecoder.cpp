#include "rpc/FileStatusDecoder.h"

#include "rpc/FileStatusRecord.h"
#include "rpc/MemoryStream.h"
#include "rpc/PbText.h"

#include "HdfsMessages.pb.h"

#include <cstdlib>

namespace {

const std::uint32_t kFileTypeDirectory = 1; ///< HdfsFileStatusProto.FileType IS_DIR

/// What a record keeps of an `HdfsFileStatusProto`.
struct StatusFields {
    StatusFields()
        : path(emptyByteString()), owner(emptyByteString()), group(emptyByteString()), fileType(0), permission(0),
          replication(0), length(0), modificationTime(0), accessTime(0), blockSize(0)
    {
    }
    ByteString path;
    ByteString owner;
    ByteString group;
    std::uint32_t fileType;
    std::uint32_t permission;
    std::uint32_t replication;
    std::uint64_t length;
    std::uint64_t modificationTime;
    std::uint64_t accessTime;
    std::uint64_t blockSize;
};

bool decodeText(pb_istream_t *stream, ByteString *view)
{
    std::uint32_t size;
    return pb_decode_varint32(stream, &size) && viewBytes(stream, size, view);
}

bool decodeUint32(pb_istream_t *stream, std::uint32_t *value)
{
    std::uint64_t wide;
    if (!pb_decode_varint(stream, &wide))
        return false;
    *value = static_cast<std::uint32_t>(wide);
    if (*value != wide)
        PB_RETURN_ERROR(stream, "integer too large");
    return true;
}

bool decodePermission(pb_istream_t *stream, std::uint32_t *mode)
{
    pb_istream_t message;
    if (!pb_make_string_substream(stream, &message))
        return false;
    FsPermissionProto permission = FsPermissionProto_init_default;
    const bool decoded = decodeInitialised(&message, FsPermissionProto_fields, &permission);
    *mode = permission.perm;
    // Closing hands the nested stream's error over.
    return pb_close_string_substream(stream, &message) && decoded;
}

/// The wire type of a field that a record keeps; for any other field `actual`, whatever it is.
pb_wire_type_t expectedWireType(std::uint32_t tag, pb_wire_type_t actual)
{
    switch (tag) {
    case HdfsFileStatusProto_fileType_tag:
    case HdfsFileStatusProto_length_tag:
    case HdfsFileStatusProto_modification_time_tag:
    case HdfsFileStatusProto_access_time_tag:
    case HdfsFileStatusProto_block_replication_tag:
    case HdfsFileStatusProto_blocksize_tag:
        return PB_WT_VARINT;
    case HdfsFileStatusProto_path_tag:
    case HdfsFileStatusProto_permission_tag:
    case HdfsFileStatusProto_owner_tag:
    case HdfsFileStatusProto_group_tag:
        return PB_WT_STRING;
    default:
        return actual;
    }
}

bool decodeField(pb_istream_t *stream, std::uint32_t tag, pb_wire_type_t wireType, StatusFields *status)
{
    if (wireType != expectedWireType(tag, wireType))
        PB_RETURN_ERROR(stream, "wrong wire type");
    switch (tag) {
    case HdfsFileStatusProto_fileType_tag:
        return decodeUint32(stream, &status->fileType);
    case HdfsFileStatusProto_path_tag:
        return decodeText(stream, &status->path);
    case HdfsFileStatusProto_length_tag:
        return pb_decode_varint(stream, &status->length);
    case HdfsFileStatusProto_permission_tag:
        return decodePermission(stream, &status->permission);
    case HdfsFileStatusProto_owner_tag:
        return decodeText(stream, &status->owner);
    case HdfsFileStatusProto_group_tag:
        return decodeText(stream, &status->group);
    case HdfsFileStatusProto_modification_time_tag:
        return pb_decode_varint(stream, &status->modificationTime);
    case HdfsFileStatusProto_access_time_tag:
        return pb_decode_varint(stream, &status->accessTime);
    case HdfsFileStatusProto_block_replication_tag:
        return decodeUint32(stream, &status->replication);
    case HdfsFileStatusProto_blocksize_tag:
        return pb_decode_varint(stream, &status->blockSize);
    default:
        return pb_skip_field(stream, wireType);
    }
}

/// Tags 1 to 8 are required.
const std::uint32_t kRequiredTags = 0x1FE;

/// Decodes an `HdfsFileStatusProto` field by field. Listings are long and this is most of what they cost: pb_decode
/// with the message's field list takes twice as long, mainly for the fields of newer servers, which it looks for in the
/// whole list.
bool decodeStatusFields(pb_istream_t *stream, StatusFields *status)
{
    std::uint32_t seenTags = 0;
    while (stream->bytes_left > 0) {
        pb_wire_type_t wireType;
        std::uint32_t tag;
        bool atEnd;
        if (!pb_decode_tag(stream, &wireType, &tag, &atEnd))
            return false;
        if (tag == 0)
            PB_RETURN_ERROR(stream, "zero tag");
        if (!decodeField(stream, tag, wireType, status))
            return false;
        if (tag < 32)
            seenTags |= 1u << tag;
    }
    if ((seenTags & kRequiredTags) != kRequiredTags)
        PB_RETURN_ERROR(stream, "missing required field");
    return true;
}

} // namespace

bool appendFileStatus(pb_istream_t *stream, FileStatusList *list)
{
    StatusFields status;
    if (!decodeStatusFields(stream, &status))
        return false;
    HdfsFileStatus *record = newFileStatusRecord(status.path, status.owner, status.group);
    if (!record)
        PB_RETURN_ERROR(stream, "out of memory");
    const bool isDirectory = status.fileType == kFileTypeDirectory;
    record->kind = isDirectory ? 'D' : 'F';
    record->modificationTime = status.modificationTime;
    record->length = isDirectory ? 0 : status.length;
    record->replication = static_cast<std::uint16_t>(status.replication);
    record->blockSize = status.blockSize;
    record->permission = static_cast<std::uint16_t>(status.permission);
    record->accessTime = status.accessTime;
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
