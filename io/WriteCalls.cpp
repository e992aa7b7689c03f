#include "io/WriteCalls.h"

#include "io/DataTransferProtocol.h"
#include "io/OpRequest.h"
#include "platform/Pause.h"
#include "rpc/ClientProtocolCall.h"
#include "rpc/HostLog.h"

#include "ClientProtocolMessages.pb.h"

#include <algorithm>

namespace {

const std::uint32_t kCreateAndOverwrite = 3; ///< CreateFlagProto CREATE | OVERWRITE
const int kAddBlockTries = 5;
const int kFirstAddBlockPause = 200; // milliseconds
const int kLongestAddBlockPause = 5000;
const int kFirstCompletePause = 50;
const int kLongestCompletePause = 1000;

enum CallResult { Answered, NotStarted, NotEncoded, NotAnswered };

/// One call up to its response. A failed send shows in the response.
CallResult call(NameNodeConnection *connection, const char *method, PbFieldList fields, const void *request,
                pb_istream_t *response)
{
    if (!isConnectedToNameNode(connection))
        return NotStarted;
    ClientProtocolCall call(connection, method);
    if (!call.isStarted())
        return NotStarted;
    if (!call.encode(fields, request, kRequestLimit))
        return NotEncoded;
    call.send();
    return call.receive(response) ? Answered : NotAnswered;
}

/// Whether the NameNode says that the file is not complete. An answer that says nothing is taken for a yes.
bool isIncomplete(pb_istream_t *stream)
{
    CompleteResponseProto response = CompleteResponseProto_init_default;
    return pb_decode(stream, CompleteResponseProto_fields, &response) && !response.result;
}

} // namespace

std::int32_t callCreate(NameNodeConnection *connection, const NewFile &file)
{
    if (!isConnectedToNameNode(connection))
        return 1;
    ClientProtocolCall call(connection, "create");
    if (!call.isStarted())
        return 1;
    CreateRequestProto request = CreateRequestProto_init_default;
    request.src = sendBytes(&file.path);
    request.masked.perm = file.permission;
    request.clientName = sendCString(kClientName);
    request.createFlag = kCreateAndOverwrite;
    request.createParent = true;
    request.replication = file.replication;
    request.blockSize = file.blockSize;
    if (!call.encode(CreateRequestProto_fields, &request, kRequestLimit))
        return 2;
    // Unlike other calls: whether a file that could not be asked for is there does not matter.
    if (!call.send())
        return 3;
    pb_istream_t response;
    return call.receive(&response) ? 0 : 4;
}

LocatedBlock *callAddBlock(NameNodeConnection *connection, const QByteArray &path, const LocatedBlock *previous,
                           const DataNodeLocation *excluded)
{
    if (!isConnectedToNameNode(connection))
        return nullptr;
    ClientProtocolCall call(connection, "addBlock");
    if (!call.isStarted())
        return nullptr;
    AddBlockRequestProto request = AddBlockRequestProto_init_default;
    request.src = sendBytes(&path);
    request.clientName = sendCString(kClientName);
    const BlockIdentity identity(previous);
    if (previous) {
        request.has_previous = true;
        identity.describe(&request.previous);
        request.previous.has_numBytes = true;
        request.previous.numBytes = previous->numBytes;
    }
    if (excluded)
        // A NameNode that looks for other DataNodes, as it does for a block that was given back, must know their place.
        request.excludeNodes =
            connection->abandonsFailedBlocks ? sendIdentitiesAndPlaces(excluded) : sendIdentities(excluded);
    if (!call.encode(AddBlockRequestProto_fields, &request, kRequestLimit))
        return nullptr;

    int pause = kFirstAddBlockPause;
    for (int tries = 1;; ++tries) {
        call.send();
        pb_istream_t response;
        if (call.receive(&response))
            return decodeAddedBlock(&response);
        if (tries == kAddBlockTries)
            return nullptr;
        platform::pauseFor(pause);
        pause = std::min(2 * pause, kLongestAddBlockPause);
    }
}

void callAbandonBlock(NameNodeConnection *connection, const QByteArray &path, const LocatedBlock &block)
{
    AbandonBlockRequestProto request = AbandonBlockRequestProto_init_default;
    const BlockIdentity identity(&block);
    identity.describe(&request.b);
    request.src = sendBytes(&path);
    request.holder = sendCString(kClientName);
    pb_istream_t response;
    call(connection, "abandonBlock", AbandonBlockRequestProto_fields, &request, &response);
}

std::int32_t callFsync(NameNodeConnection *connection, const QByteArray &path)
{
    FsyncRequestProto request = FsyncRequestProto_init_default;
    request.src = sendBytes(&path);
    request.client = sendCString(kClientName);
    pb_istream_t response;
    switch (call(connection, "fsync", FsyncRequestProto_fields, &request, &response)) {
    case NotStarted:
        return 2;
    case NotEncoded:
        return 3;
    case NotAnswered:
        return 1;
    case Answered:
        break;
    }
    return 0;
}

std::int32_t callComplete(NameNodeConnection *connection, const QByteArray &path, const LocatedBlock *last)
{
    CompleteRequestProto request = CompleteRequestProto_init_default;
    request.src = sendBytes(&path);
    request.clientName = sendCString(kClientName);
    const BlockIdentity identity(last);
    if (last) {
        request.has_last = true;
        identity.describe(&request.last);
        request.last.has_numBytes = true;
        request.last.numBytes = last->numBytes;
    }

    const std::int64_t start = platform::steadyMilliseconds();
    int pause = kFirstCompletePause;
    for (;;) {
        pb_istream_t response;
        switch (call(connection, "complete", CompleteRequestProto_fields, &request, &response)) {
        case NotStarted:
            return 4;
        case NotEncoded:
            return 5;
        case NotAnswered:
            return 1;
        case Answered:
            break;
        }
        if (!isIncomplete(&response))
            return 0;
        if (platform::steadyMilliseconds() - start + pause > kCompletePatience) {
            logToHost("WARNING: HDFS File is not complete");
            return 6;
        }
        platform::pauseFor(pause);
        pause = std::min(2 * pause, kLongestCompletePause);
    }
}
