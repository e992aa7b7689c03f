#include "rpc/ClientProtocol.h"

#include "rpc/ClientProtocolCall.h"
#include "rpc/FileStatusDecoder.h"
#include "rpc/HostLog.h"
#include "rpc/MemoryStream.h"
#include "rpc/PbText.h"

#include "ClientProtocolMessages.pb.h"

#include <algorithm>
#include <cstring>

namespace {

const std::uint32_t kFileTypeFile = 2;    ///< HdfsFileStatusProto.FileType IS_FILE
const std::uint32_t kFileStatusField = 1; ///< GetFileInfoResponseProto.fs

void logDecodingFailure(const char *format, pb_istream_t *stream)
{
    logToHost(QString::fromLatin1(format).arg(codecErrorText(PB_GET_ERROR(stream))));
}

/// One call on a live connection, up to the received response: Done with `*stream` at the response message, or the
/// status of the step that failed.
std::int32_t exchange(NameNodeConnection *connection, const char *method, PbFieldList fields, const void *request,
                      std::size_t limit, pb_istream_t *stream)
{
    ClientProtocolCall call(connection, method);
    if (!call.isStarted())
        return ClientProtocol::NotStarted;
    if (!call.encode(fields, request, limit))
        return ClientProtocol::NotEncoded;
    call.send();
    return call.receive(stream) ? ClientProtocol::Done : ClientProtocol::CallFailed;
}

/// The same, behind the liveness check.
std::int32_t call(NameNodeConnection *connection, const char *method, PbFieldList fields, const void *request,
                  std::size_t limit, pb_istream_t *stream)
{
    if (!isConnectedToNameNode(connection))
        return ClientProtocol::NotConnected;
    return exchange(connection, method, fields, request, limit, stream);
}

/// The question of `fileExists` and `fileInfo`. On a connection that is gone nothing is sent, but the response is
/// awaited all the same: the failing receive is what their callers report.
bool askFileInfo(NameNodeConnection *connection, const QByteArray &path, pb_istream_t *stream)
{
    if (!isConnectedToNameNode(connection))
        return connection->receiveResponse(stream) == 0;
    ClientProtocolCall call(connection, "getFileInfo");
    GetFileInfoRequestProto request = GetFileInfoRequestProto_init_default;
    request.src = sendBytes(&path);
    if (!call.isStarted() || !call.encode(GetFileInfoRequestProto_fields, &request, kRequestLimit))
        return false;
    call.send();
    return call.receive(stream);
}

bool decodeListingEntry(pb_istream_t *stream, const pb_field_t *, void **argument)
{
    return appendFileStatus(stream, static_cast<FileStatusList *>(*argument));
}

/// Decodes one page behind the records of `list` and returns how many entries the NameNode has left.
std::uint32_t decodeListingPage(pb_istream_t *stream, FileStatusList *list)
{
    GetListingResponseProto response = GetListingResponseProto_init_default;
    response.dirList.partialListing = decodeEach(decodeListingEntry, list);
    if (!pb_decode(stream, GetListingResponseProto_fields, &response))
        logDecodingFailure("WARNING: List Decoding failed: %1", stream);
    return response.dirList.remainingEntries;
}

QByteArray lastName(const FileStatusList &list)
{
    return list.tail ? QByteArray(list.tail->path.data, static_cast<int>(list.tail->path.size)) : QByteArray();
}

/// Whether a name comes after another one in a NameNode's order, which is that of their bytes.
bool isBehind(const QByteArray &name, const QByteArray &other)
{
    const int common = std::min(name.size(), other.size());
    const int order = std::memcmp(name.constData(), other.constData(), static_cast<std::size_t>(common));
    return order > 0 || (order == 0 && name.size() > other.size());
}

/// Decodes the `fs` field of a GetFileInfoResponseProto into a record.
bool decodeFileStatusField(pb_istream_t stream, FileStatusList *list)
{
    pb_wire_type_t wireType;
    std::uint32_t tag;
    bool atEnd;
    while (pb_decode_tag(&stream, &wireType, &tag, &atEnd)) {
        if (tag != kFileStatusField || wireType != PB_WT_STRING) {
            if (!pb_skip_field(&stream, wireType))
                return false;
            continue;
        }
        pb_istream_t field;
        return pb_make_string_substream(&stream, &field) && appendFileStatus(&field, list);
    }
    return false;
}

} // namespace

namespace ClientProtocol {

HdfsFileStatus *getListing(NameNodeConnection *connection, const QByteArray &path, std::int32_t *count)
{
    if (count)
        *count = -1;
    if (!isConnectedToNameNode(connection))
        return nullptr;
    FileStatusList list;
    QByteArray startAfter;
    for (;;) {
        GetListingRequestProto request = GetListingRequestProto_init_default;
        request.src = sendBytes(&path);
        request.startAfter = sendBytes(&startAfter);
        request.needLocation = false;
        pb_istream_t stream;
        if (exchange(connection, "getListing", GetListingRequestProto_fields, &request, kPathRequestLimit, &stream) !=
            Done) {
            freeFileStatusList(list.head);
            return nullptr;
        }
        const std::uint32_t remaining = decodeListingPage(&stream, &list);
        // A page that leads nowhere ends the listing, whatever it claims to come: asking again would go on for ever.
        const QByteArray last = lastName(list);
        if (remaining == 0 || !isBehind(last, startAfter))
            break;
        startAfter = last;
    }
    connection->trimResponseBuffer();
    if (count)
        *count = list.count;
    return list.head;
}

std::int32_t fileExists(NameNodeConnection *connection, const QByteArray &path, bool *exists, bool *isFile)
{
    *exists = false;
    pb_istream_t stream = memoryStream(nullptr, 0);
    if (!askFileInfo(connection, path, &stream))
        return 1;
    GetFileInfoResponseProto response = GetFileInfoResponseProto_init_default;
    if (!pb_decode(&stream, GetFileInfoResponseProto_fields, &response)) {
        logDecodingFailure("WARNING: fileExists Decoding failed: %1", &stream);
        return 2;
    }
    *exists = response.has_fs;
    *isFile = response.has_fs && response.fs.fileType == kFileTypeFile;
    return 0;
}

HdfsFileStatus *fileInfo(NameNodeConnection *connection, const QByteArray &path, bool *failed)
{
    bool ignored;
    if (!failed)
        failed = &ignored;
    *failed = true;
    pb_istream_t stream = memoryStream(nullptr, 0);
    if (!askFileInfo(connection, path, &stream))
        return nullptr;
    const pb_istream_t message = stream;
    GetFileInfoResponseProto response = GetFileInfoResponseProto_init_default;
    if (!pb_decode(&stream, GetFileInfoResponseProto_fields, &response)) {
        logDecodingFailure("WARNING: FileInfo Decoding failed: %1", &stream);
        return nullptr;
    }
    if (!response.has_fs) {
        *failed = false;
        return nullptr;
    }
    FileStatusList list;
    if (!decodeFileStatusField(message, &list)) {
        freeFileStatusList(list.head);
        return nullptr;
    }
    *failed = false;
    return list.head;
}

std::int32_t mkdirs(NameNodeConnection *connection, const QByteArray &path, std::uint32_t permission, bool createParent)
{
    MkdirsRequestProto request = MkdirsRequestProto_init_default;
    request.src = sendBytes(&path);
    request.masked.perm = permission;
    request.createParent = createParent;
    pb_istream_t stream;
    const std::int32_t status = call(connection, "mkdirs", MkdirsRequestProto_fields, &request, kRequestLimit, &stream);
    if (status != Done)
        return status;
    MkdirsResponseProto response = MkdirsResponseProto_init_default;
    if (!pb_decode(&stream, MkdirsResponseProto_fields, &response)) {
        logDecodingFailure("WARNING: mkdir Decoding failed: %1", &stream);
        return Refused;
    }
    return response.result ? Done : Refused;
}

std::int32_t delete_(NameNodeConnection *connection, const QByteArray &path, bool recursive)
{
    DeleteRequestProto request = DeleteRequestProto_init_default;
    request.src = sendBytes(&path);
    request.recursive = recursive;
    pb_istream_t stream;
    const std::int32_t status = call(connection, "delete", DeleteRequestProto_fields, &request, kRequestLimit, &stream);
    if (status != Done)
        return status;
    DeleteResponseProto response = DeleteResponseProto_init_default;
    if (!pb_decode(&stream, DeleteResponseProto_fields, &response)) {
        logDecodingFailure("WARNING: delete Decoding failed: %1", &stream);
        return Refused;
    }
    return response.result ? Done : Refused;
}

std::int32_t rename(NameNodeConnection *connection, const QByteArray &source, const QByteArray &destination)
{
    RenameRequestProto request = RenameRequestProto_init_default;
    request.src = sendBytes(&source);
    request.dst = sendBytes(&destination);
    pb_istream_t stream;
    // The response is not decoded: that the call succeeded is the whole result.
    return call(connection, "rename", RenameRequestProto_fields, &request, kPathRequestLimit, &stream) == Done ? 0 : 1;
}

std::int32_t setReplication(NameNodeConnection *connection, const QByteArray &path, std::int16_t replication)
{
    SetReplicationRequestProto request = SetReplicationRequestProto_init_default;
    request.src = sendBytes(&path);
    request.replication = static_cast<std::uint32_t>(static_cast<std::int32_t>(replication));
    pb_istream_t stream;
    const std::int32_t status =
        call(connection, "setReplication", SetReplicationRequestProto_fields, &request, kRequestLimit, &stream);
    if (status != Done)
        return status;
    SetReplicationResponseProto response = SetReplicationResponseProto_init_default;
    if (!pb_decode(&stream, SetReplicationResponseProto_fields, &response)) {
        logDecodingFailure("WARNING: replicationResponse Decoding failed: %1", &stream);
        return Refused;
    }
    return response.result ? Done : Refused;
}

std::int32_t setPermission(NameNodeConnection *connection, const QByteArray &path, std::int16_t permission)
{
    SetPermissionRequestProto request = SetPermissionRequestProto_init_default;
    request.src = sendBytes(&path);
    request.permission.perm = static_cast<std::uint32_t>(static_cast<std::int32_t>(permission));
    pb_istream_t stream;
    const std::int32_t status =
        call(connection, "setPermission", SetPermissionRequestProto_fields, &request, kRequestLimit, &stream);
    if (status != Done)
        return status;
    SetPermissionResponseProto response = SetPermissionResponseProto_init_default;
    if (!pb_decode(&stream, SetPermissionResponseProto_fields, &response))
        logDecodingFailure("WARNING: chmod Decoding failed: %1", &stream);
    return Refused;
}

std::int32_t setOwner(NameNodeConnection *connection, const QByteArray &path, const QByteArray &user,
                      const QByteArray &group)
{
    SetOwnerRequestProto request = SetOwnerRequestProto_init_default;
    request.src = sendBytes(&path);
    // A NameNode that receives an empty name would write it into the file's record.
    if (!user.isEmpty())
        request.username = sendBytes(&user);
    if (!group.isEmpty())
        request.groupname = sendBytes(&group);
    pb_istream_t stream;
    const std::int32_t status =
        call(connection, "setOwner", SetOwnerRequestProto_fields, &request, kRequestLimit, &stream);
    if (status != Done)
        return status;
    SetOwnerResponseProto response = SetOwnerResponseProto_init_default;
    if (!pb_decode(&stream, SetOwnerResponseProto_fields, &response))
        logDecodingFailure("WARNING: chown Decoding failed: %1", &stream);
    return Refused;
}

std::int32_t getFsStats(NameNodeConnection *connection, std::uint64_t *counters)
{
    const GetFsStatusRequestProto request = GetFsStatusRequestProto_init_default;
    pb_istream_t stream;
    const std::int32_t status =
        call(connection, "getFsStats", GetFsStatusRequestProto_fields, &request, kEmptyRequestLimit, &stream);
    if (status != Done)
        return status;
    GetFsStatsResponseProto response = GetFsStatsResponseProto_init_default;
    if (!pb_decode(&stream, GetFsStatsResponseProto_fields, &response)) {
        logDecodingFailure("WARNING: fsStats Decoding failed: %1", &stream);
        return Refused;
    }
    counters[0] = response.capacity;
    counters[1] = response.used;
    counters[2] = response.remaining;
    counters[3] = response.under_replicated;
    counters[4] = response.corrupt_blocks;
    counters[5] = response.missing_blocks;
    return Done;
}

void freeListing(HdfsFileStatus *head)
{
    freeFileStatusList(head);
}

} // namespace ClientProtocol
