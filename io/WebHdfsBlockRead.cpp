#include "io/WebHdfsBlockRead.h"

#include "io/BlockWalk.h"
#include "io/DataNodeSocket.h"
#include "io/HdfsFileReader.h"
#include "rpc/HostLog.h"

#include <algorithm>
#include <cstring>

namespace {

/// Where an exchange with a DataNode failed, numbered as in the log.
enum Step { NoFailure = 0, SendRequest = 1, ReceiveHead = 2, FindBody = 3, ReceiveBody = 4 };

const std::uint32_t kAttemptsPerLocation = 3;
/// Bytes of the first receive: a DataNode's head takes most of them, the body's first bytes may take the rest.
const std::size_t kFirstReceiveSize = 180;
/// No answer with data is shorter than this, head and body together.
const std::size_t kShortestAnswer = 164;
/// Where the blank line behind the head is searched for; no head with data ends before.
const std::size_t kBlankLineSearchStart = 150;
/// A body comes in many small pieces; waking up for each would cost more than taking it.
const std::uint32_t kBodyLowWater = 256 * 1024;
const std::size_t kStatusCodeOffset = 9; ///< behind "HTTP/1.1 "
const char kStatusOk[] = "200";
const char kBlankLine[] = "\r\n\r\n";

void logFailure(Step step)
{
    switch (step) {
    case NoFailure:
        break;
    case SendRequest:
        logToHost("Warning WebHDFS: TCPIP send failed (1)");
        break;
    case ReceiveHead:
        logToHost("Warning WebHDFS: TCPIP received failed (2)");
        break;
    case FindBody:
        logToHost("Warning WebHDFS: corrupted data (3)");
        break;
    case ReceiveBody:
        logToHost("Warning WebHDFS: TCPIP received failed (4)");
        break;
    }
}

/// Naming the NameNode spares the DataNode the redirect. Path and user are deliberately not escaped.
QByteArray encodeRequest(const HdfsFileReader &reader, std::uint64_t fileOffset, std::uint32_t wanted)
{
    const NameNodeConnection &connection = *reader.connection;
    QByteArray request("GET /webhdfs/v1");
    request += reader.path;
    request += "?op=OPEN&user.name=";
    request += connection.user;
    request += "&namenoderpcaddress=";
    request += connection.host;
    request += ':';
    request += QByteArray::number(static_cast<int>(connection.port));
    request += "&length=";
    request += QByteArray::number(static_cast<qlonglong>(wanted));
    request += "&offset=";
    request += QByteArray::number(static_cast<qlonglong>(fileOffset));
    request += " HTTP/1.1\r\nUser-Agent: Marrowby\r\nAccept: */*\r\n\r\n";
    return request;
}

/// The position behind the blank line that ends the head; 0: there is none.
std::size_t findBody(const char *answer, std::size_t size)
{
    const char *blankLineEnd = kBlankLine + std::strlen(kBlankLine);
    const char *found = std::search(answer + kBlankLineSearchStart, answer + size, kBlankLine, blankLineEnd);
    return found == answer + size ? 0 : static_cast<std::size_t>(found - answer) + std::strlen(kBlankLine);
}

/// One request and its answer, of which the first `wanted` bytes of the body go to `output`.
Step exchange(TcpSocket *socket, const QByteArray &request, std::uint32_t wanted, char *output)
{
    if (socket->sendAll(request.constData(), static_cast<std::uint32_t>(request.size())) != 0)
        return SendRequest;
    char answer[kFirstReceiveSize];
    // Waits for all of it: an answer that is shorter comes complete only when the DataNode closes the connection.
    const std::int32_t received = socket->receiveWaitAll(answer, sizeof answer);
    if (received < static_cast<std::int32_t>(kShortestAnswer) ||
        std::memcmp(answer + kStatusCodeOffset, kStatusOk, std::strlen(kStatusOk)) != 0)
        return ReceiveHead;
    const std::size_t size = static_cast<std::size_t>(received);
    const std::size_t body = findBody(answer, size);
    if (body == 0)
        return FindBody;
    // A DataNode may send more than it was asked for.
    const std::uint32_t early = std::min(static_cast<std::uint32_t>(size - body), wanted);
    std::memcpy(output, answer + body, early);
    platform::setReceiveLowWater(socket->handle, kBodyLowWater);
    const int failed = socket->receiveExactly(output + early, wanted - early);
    platform::setReceiveLowWater(socket->handle, 1);
    return failed == 0 ? NoFailure : ReceiveBody;
}

DataNodeLocation *nextLocation(const LocatedBlock &block, const DataNodeLocation *node)
{
    return node->next ? node->next : block.firstLocation;
}

/// Reads `wanted` bytes at `fileOffset`, all of one block, from whichever of its DataNodes gives them. 0 or
/// kReadFailed.
std::uint32_t readBlock(const HdfsFileReader &reader, LocatedBlock *block, std::uint64_t fileOffset,
                        std::uint32_t wanted, char *output)
{
    NameNodeConnection *connection = reader.connection;
    const QByteArray request = encodeRequest(reader, fileOffset, wanted);
    DataNodeLocation *node = block->currentLocation;
    bool quietRetry = true;
    for (std::uint64_t left = static_cast<std::uint64_t>(block->locationCount) * kAttemptsPerLocation; left > 0;
         --left) {
        if (TcpSocket *socket = getDataNodeSocket(connection, *node, node->infoPort)) {
            const Step failure = exchange(socket, request, wanted, output);
            if (failure == NoFailure)
                return 0;
            if (quietRetry) {
                quietRetry = false;
                releaseDataNodeSocket(connection, node, false);
            } else {
                logFailure(failure);
                quietRetry = true;
                releaseDataNodeSocket(connection, node, true);
                node = nextLocation(*block, node);
            }
        }
        // Deliberately also behind a logged failure, which so moves on by two.
        node = nextLocation(*block, node);
    }
    logToHost(
        QString::fromLatin1("ERROR WebHDFS: All the data nodes that contains block %1 are down").arg(block->blockId));
    return kReadFailed;
}

/// A name, or a user, that a DataNode may read as another one, because it decodes what it takes for escapes, queries
/// and Latin-1.
bool mayMeanAnother(const QByteArray &text, const char *meaningful)
{
    for (int i = 0; i < text.size(); ++i) {
        if (static_cast<unsigned char>(text.at(i)) >= 0x80 || std::strchr(meaningful, text.at(i)))
            return true;
    }
    return false;
}

} // namespace

std::uint32_t readThroughWebHdfs(HdfsFileReader &reader, std::int32_t *blockIndex, std::uint64_t offsetInBlock,
                                 std::uint32_t length, char *buffer)
{
    if (!reader.isNameDoubted &&
        (mayMeanAnother(reader.path, "%?#") || mayMeanAnother(reader.connection->user, "%?#&+"))) {
        reader.isNameDoubted = true;
        logToHost(QLatin1String("Warning WebHDFS: data nodes may take this name for another one: ") +
                  QString::fromUtf8(reader.path.constData(), reader.path.size()));
    }
    return walkBlocks(
        reader, blockIndex, offsetInBlock, length, buffer, "ERROR WebHDFS: No data node that contains block %1 (5)",
        [&](LocatedBlock *block, std::uint64_t offset, std::uint32_t wanted, char *output) {
            return readBlock(reader, block, static_cast<std::uint64_t>(block->offset) + offset, wanted, output);
        });
}
