#include "io/HdfsFileCopy.h"

#include "io/HdfsFileReader.h"
#include "io/HdfsFileWriter.h"
#include "rpc/ClientProtocol.h"
#include "rpc/ClientProtocolCall.h"
#include "rpc/HostLog.h"

#include <cstdlib>
#include <memory>

namespace {

enum CopyResult {
    Copied = 0,
    NotConnected = 1,
    NoStatus = 2,
    NoSource = 3,
    NoMemory = 4,
    SourceNotOpened = 5,
    DestinationNotOpened = 6,
    ReadFailed = 7,
    WriteFailed = 8
};

struct Freeing {
    void operator()(char *bytes) const { std::free(bytes); }
};

/// Writers are never dropped without being closed.
struct Finishing {
    void operator()(HdfsFileWriter *writer) const
    {
        writer->finish();
        delete writer;
    }
};

/// The source's status; null when there is none. The record is deliberately never released.
const HdfsFileStatus *statusToCopy(NameNodeConnection *connection, const QByteArray &source, bool *failed)
{
    return ClientProtocol::fileInfo(connection, source, failed);
}

/// Whether two paths lead to the same file; a slash behind a name means nothing.
bool isSamePath(QByteArray one, QByteArray other)
{
    while (one.endsWith('/'))
        one.chop(1);
    while (other.endsWith('/'))
        other.chop(1);
    return one == other;
}

/// Moves the file's bytes, with both ends open.
CopyResult moveBytes(HdfsFileReader *reader, HdfsFileWriter *writer, char *buffer, std::uint32_t size)
{
    for (;;) {
        const std::int32_t count = static_cast<std::int32_t>(reader->read(buffer, size, nullptr));
        if (count < 0)
            return ReadFailed;
        if (static_cast<std::uint32_t>(count) < size) {
            // Whether that succeeds is deliberately not looked at.
            writer->close(buffer, static_cast<std::uint32_t>(count));
            return Copied;
        }
        if (writer->write(buffer, size) != 0)
            return WriteFailed;
    }
}

} // namespace

std::int32_t copyHdfsFile(NameNodeConnection *connection, const QByteArray &source, const QByteArray &destination)
{
    if (!isConnectedToNameNode(connection))
        return NotConnected;
    bool failed = false;
    const HdfsFileStatus *const status = statusToCopy(connection, source, &failed);
    if (failed) {
        logToHost(QLatin1String("Cannot get info on File '%s'"));
        return NoStatus;
    }
    if (!status) {
        logToHost("File not found");
        return NoSource;
    }
    if (isSamePath(source, destination)) {
        // Creating the destination would destroy what is still to be read.
        logToHost("ERROR HDFS: source and destination of a copy are the same file");
        return DestinationNotOpened;
    }
    std::unique_ptr<char, Freeing> buffer(static_cast<char *>(std::malloc(status->blockSize ? status->blockSize : 1)));
    if (!buffer) {
        logToHost("Memory Allocation Error");
        return NoMemory;
    }
    std::unique_ptr<HdfsFileReader> reader(HdfsFileReader::open(connection, source));
    if (!reader)
        return SourceNotOpened;
    const std::int32_t permission = static_cast<std::int16_t>(status->permission);
    std::unique_ptr<HdfsFileWriter, Finishing> writer(
        HdfsFileWriter::create(connection, destination, static_cast<std::uint32_t>(permission), status->replication,
                               static_cast<std::int64_t>(status->blockSize)));
    if (!writer)
        return DestinationNotOpened;

    const CopyResult result =
        moveBytes(reader.get(), writer.get(), buffer.get(), static_cast<std::uint32_t>(status->blockSize));
    buffer.reset();
    reader.reset();
    writer.reset();
    if (result == ReadFailed || result == WriteFailed) {
        logToHost(result == ReadFailed ? "Error-read in copy HDFS." : "Error-write in copy HDFS.");
        ClientProtocol::delete_(connection, destination, false);
    }
    return result;
}
