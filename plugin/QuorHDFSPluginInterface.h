// The service interface of the QuorHDFS plug-in, as a host sees it.
//
// A host needs this header, rpc/HdfsFileStatus.h and Qt; it never links to the plug-in:
//
//     QPluginLoader loader("QuorHDFS");
//     QuorHDFSPluginInterface *hdfs = qobject_cast<QuorHDFSPluginInterface *>(loader.instance());
//     hdfs->initialize();
//     NameNodeConnection *connection = hdfs->connect();
//
// Everything runs on the calling thread and blocks it. Diagnostics go to the host's log through
// MainUI::addLog; no operation throws.
#ifndef PLUGIN_QUORHDFSPLUGININTERFACE_H
#define PLUGIN_QUORHDFSPLUGININTERFACE_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QtPlugin>

class HdfsFileReader;
class HdfsFileWriter;
class NameNodeConnection;
class QWidget;
struct HdfsFileStatus;

/// The 34 operations, in the order of the binary contract: the virtual destructor is entry 0 of the
/// table, `initialize` entry 1, `getExistingDirectory` entry 34. Entries are never inserted,
/// removed or reordered.
///
/// Paths, user and group names are byte strings (UTF-8) of absolute HDFS paths and names. A handle
/// (connection, reader, writer, listing, status record) belongs to the host from the call that
/// returns it until the host passes it to the matching delete or free operation. Only those
/// accept a null handle. Readers and writers must be deleted before their connection.
///
/// Status results of the namespace operations (slots 12 to 14, 16 and 17):
///   0 done (the NameNode's `result` was true)
///   1 the NameNode answered `result` false, or its answer could not be decoded
///   2 not connected
///   3 the call headers could not be written
///   4 the request could not be encoded
///   5 the call failed: send, receive or a remote exception (the log has its class and message)
class QuorHDFSPluginInterface
{
public:
    virtual ~QuorHDFSPluginInterface() {}

    /// Starts the network layer and collects this machine's IPv4 addresses; call it once, before
    /// the first `connect`. Further calls do nothing. Returns 0 when ready, 1 on failure.
    virtual qint32 initialize() = 0;

    /// Connects to the NameNode of the user's settings (values "hdfs", "webhdfs" and
    /// "abandonBlock"). Returns null
    /// when nothing is configured (no message) or when the connection failed (logged). A
    /// connection that was reached at another of its host's addresses than remembered is noted in
    /// the settings. Release with `deleteConnection`.
    virtual NameNodeConnection *connect() = 0;

    /// Closes and destroys a connection; null is allowed.
    virtual void deleteConnection(NameNodeConnection *connection) = 0;

    /// Closes the network side of a connection and keeps the object. Always returns 0; a second
    /// call does nothing.
    virtual qint32 disconnect(NameNodeConnection *connection) = 0;

    /// Opens a file for reading and fetches its whole block list. Returns null when not connected
    /// or when the NameNode refuses. Release with `deleteReader`, before the connection.
    virtual HdfsFileReader *openReader(NameNodeConnection *connection, QByteArray path) = 0;

    /// Creates a writer for a new file; nothing is sent. The file comes into being, with its missing parent
    /// directories and in place of one that is there, with the first block or with a `closeWriter` without
    /// data. `permission` in mode bits (0644). Of `blockSize`, in bytes, the low 32 bits count; they must be a
    /// multiple of 1024 and not 0. Returns null on failure. Release with `deleteWriter`, before the connection.
    /// Nothing renews the NameNode's lease on an open file: one to which no block has been written for minutes
    /// may be lost to another writer or to the cluster's recovery, and the next write or the close fails then.
    virtual HdfsFileWriter *createWriter(NameNodeConnection *connection, QByteArray path, quint32 permission,
                                         quint16 replication, qint64 blockSize) = 0;

    /// Asks whether a path exists and whether it is a regular file. Returns 0 when answered, 1 when
    /// the question was not sent or not answered, 2 when the answer could not be decoded.
    /// `*exists` is false on failure; `*isFile` is set only on success.
    virtual qint32 fileExists(NameNodeConnection *connection, QByteArray path, bool *exists, bool *isFile) = 0;

    /// The status record of one path; null when there is no such path (`*failed` false) or the call
    /// failed (`*failed` true). `failed` may be null. Release the record with `freeListing`.
    virtual HdfsFileStatus *fileInfo(NameNodeConnection *connection, QByteArray path, bool *failed) = 0;

    /// Lists a directory: the head of a chain of records in the NameNode's order, null when empty or
    /// failed. `*count` (may be null) is the number of records, or -1 on failure. A missing directory
    /// looks like an empty one; a file gives one record with an empty name. Release with
    /// `freeListing`.
    virtual HdfsFileStatus *getListing(NameNodeConnection *connection, QByteArray path, qint32 *count) = 0;

    /// Copies one HDFS file to another HDFS path through this machine, with its block size, replication and
    /// permission; an existing destination is replaced. 0 copied, also when closing the destination failed (see
    /// the log); 1 not connected; 2 no status of the source; 3 the source does not exist; 4 out of memory; 5 the
    /// source could not be opened; 6 the destination could not be opened, or is the source; 7 a read failed; 8 a
    /// write failed. After 7 and 8 the destination has been deleted.
    virtual qint32 copy(NameNodeConnection *connection, QByteArray source, QByteArray destination) = 0;

    /// Renames or moves a path. 0 when the call succeeded, also when the NameNode refused the rename
    /// without an exception; 1 on any failure.
    virtual qint32 rename(NameNodeConnection *connection, QByteArray source, QByteArray destination) = 0;

    /// Deletes a path (ClientProtocol `delete`). `recursive` non-zero deletes a directory's content
    /// too. 1 also when there was no such path.
    virtual qint32 delete_(NameNodeConnection *connection, QByteArray path, quint8 recursive) = 0;

    /// Makes a directory with `permission` mode bits; `createParents` non-zero makes missing parents.
    virtual qint32 mkdirs(NameNodeConnection *connection, QByteArray path, quint32 permission,
                          quint8 createParents) = 0;

    /// Sets a file's replication.
    virtual qint32 setReplication(NameNodeConnection *connection, QByteArray path, quint16 replication) = 0;

    /// Frees a listing or a single status record; null is allowed.
    virtual void freeListing(HdfsFileStatus *head) = 0;

    /// Sets a path's permission in mode bits. A successful call ends in 1 (its answer has no
    /// `result`): read 0 and 1 as accepted, 2 to 5 as failure.
    virtual qint32 setPermission(NameNodeConnection *connection, QByteArray path, quint16 permission) = 0;

    /// Sets a path's owner and group; an empty name leaves that one as it is. Read 0 and 1 as accepted,
    /// 2 to 5 as failure.
    virtual qint32 setOwner(NameNodeConnection *connection, QByteArray path, QByteArray user, QByteArray group) = 0;

    /// Destroys a reader; null is allowed.
    virtual void deleteReader(HdfsFileReader *reader) = 0;

    /// Frees a reader's block list early; no `read` may follow.
    virtual void freeBlockList(HdfsFileReader *reader) = 0;

    /// Sets the byte offset of the next `read`. Any value is accepted; reading at or past the end
    /// yields 0 bytes.
    virtual void setPosition(HdfsFileReader *reader, qint64 offset) = 0;

    /// The file's length in bytes as the NameNode reported it at the open.
    virtual qint64 fileLength(HdfsFileReader *reader) = 0;

    /// The byte offset of the next `read`.
    virtual qint64 position(HdfsFileReader *reader) = 0;

    /// Reads `length` bytes, or what is left of the file, into `buffer` and moves the position behind
    /// them. Returns the number of bytes, 0 at the end of the file; 0xFFFFFFFE when no DataNode
    /// holds a block that is needed; 0xFFFFFFFF when every DataNode of a block failed. A failed read
    /// leaves the position; the buffer's content is undefined then. `blockIndex` (may be null) is the
    /// caller's own search hint, read and written back; 0 is a good first value.
    virtual quint32 read(HdfsFileReader *reader, char *buffer, quint32 length, qint32 *blockIndex) = 0;

    /// Closes a writer (as `closeWriter` without data, but without making a file of which nothing was written)
    /// and destroys it; null is allowed. The result of that close is lost: call `closeWriter` before.
    virtual void deleteWriter(HdfsFileWriter *writer) = 0;

    /// Writes the last `length` bytes, makes everything durable and completes the file. 0: the file is closed and
    /// complete at the NameNode. Else it is not (the log says why):
    ///   1 to 4 the file could not be created (1, 2: or not be flushed, 4: or not be completed; 1: or memory ran
    ///   out before)
    ///   5 the request to complete it could not be encoded
    ///   6 its last block was not reported to the NameNode within 30 s
    ///   7 five attempts to write a block failed
    ///   8 the NameNode gave no block, or the writer is closed already
    ///   9, 10, 12 a message to a DataNode could not be encoded; 11 the checksum type is not supported
    /// After a failed `write` this fails too, with the code of that failure. Calling it again repeats its result.
    virtual qint32 closeWriter(HdfsFileWriter *writer, const char *buffer, quint32 length) = 0;

    /// The number of bytes handed to `write` and `closeWriter` so far.
    virtual qint64 bytesWritten(HdfsFileWriter *writer) = 0;

    /// Appends `length` bytes; whole blocks are sent from `buffer` itself. 0 success, 1 out of memory, 2 a block
    /// could not be written. After a failure the file cannot be finished any more.
    virtual qint32 write(HdfsFileWriter *writer, const char *buffer, quint32 length) = 0;

    /// Non-zero makes the DataNodes flush every packet to disk.
    virtual void setSyncBlock(HdfsFileWriter *writer, quint8 flag) = 0;
    virtual quint8 syncBlock(HdfsFileWriter *writer) = 0;

    /// Sets the bytes covered by one checksum, 1024 at first. True (and a log line) when the block size is not
    /// a multiple of it; the new size is set even then, unless it is 0.
    virtual bool setChunkSize(HdfsFileWriter *writer, quint32 chunkSize) = 0;
    virtual quint32 chunkSize(HdfsFileWriter *writer) = 0;

    /// File dialogs over HDFS and local disks. `parent` may be null; each returns the chosen path,
    /// empty when cancelled. They need neither `initialize` nor a connection.
    virtual QString getOpenFileName(QWidget *parent, QString caption, QString directory, QString filter) = 0;
    virtual QString getSaveFileName(QWidget *parent, QString caption, QString directory, QString filter) = 0;
    virtual QString getExistingDirectory(QWidget *parent, QString caption, QString directory) = 0;
};

Q_DECLARE_INTERFACE(QuorHDFSPluginInterface, "QuorHDFSPluginInterface/1.0")

#endif
