// The file system as commands see it: values and exceptions in place of the plug-in's records, codes and handles.
#ifndef HOST_MARROWBY_FILESYSTEM_H
#define HOST_MARROWBY_FILESYSTEM_H

#include "host/marrowby/Session.h"
#include "host/marrowby/WriteSettings.h"

#include <QtCore/QByteArray>

#include <vector>

/// One file or directory.
struct FileEntry {
    bool isDirectory = false;
    QByteArray name; ///< without its directory; empty for a path that was asked for itself
    quint64 length = 0;
    quint32 replication = 0; ///< 0 for a directory
    quint64 blockSize = 0;   ///< bytes; 0 for a directory
    QByteArray owner;
    QByteArray group;
    quint32 mode = 0;             ///< permission bits and the sticky bit
    bool hasAcl = false;          ///< an access control list adds to the permissions
    quint64 modificationTime = 0; ///< milliseconds since 1970-01-01 UTC
    quint64 accessTime = 0;
};

/// Paths are absolute. Everything throws Failure, with the NameNode's own message where it has one, when the NameNode
/// refuses or cannot be asked, and Interrupted when the user ended it.
class FileSystem
{
public:
    explicit FileSystem(Session &session) : m_session(session) {}

    /// False when there is no such path.
    bool find(const QByteArray &path, FileEntry *entry);
    /// What is in a directory, in the NameNode's order. Empty for one that has gone. Refuses a listing with anything in
    /// place of a name.
    std::vector<FileEntry> list(const QByteArray &directory);

    void makeDirectory(const QByteArray &path, quint32 mode, bool withParents);
    /// False when the NameNode did not do it and gave no reason.
    bool remove(const QByteArray &path, bool recursively);
    bool rename(const QByteArray &source, const QByteArray &destination);
    bool setReplication(const QByteArray &path, quint16 replication);
    void setMode(const QByteArray &path, quint32 mode);
    /// An empty name stays as it is.
    void setOwner(const QByteArray &path, const QByteArray &user, const QByteArray &group);

    /// Never null; the caller returns it with the interface's `deleteReader`.
    HdfsFileReader *openReader(const QByteArray &path);

    /// Deletes `path` and gives its name to the file `by`. Nothing that the user wants comes between the two.
    /// `*removed`: whether it came to the second step.
    void replace(const QByteArray &path, const QByteArray &by, bool *removed);

    /// A writer for a new file, which is not made yet. Never null; the caller returns it with the interface's
    /// `deleteWriter`.
    HdfsFileWriter *createWriter(const QByteArray &path, const WriteSettings &settings);

    /// Makes an empty file, in place of an empty one that is there.
    void makeEmptyFile(const QByteArray &path, const WriteSettings &settings);

    /// Copies a file of `length` bytes, with its permission and replication.
    void copy(const QByteArray &source, quint64 length, const QByteArray &destination);

    Session &session() const { return m_session; }

private:
    void begin();
    [[noreturn]] void fail(const QByteArray &path);
    bool check(qint32 status, const QByteArray &path);

    Session &m_session;
};

#endif
