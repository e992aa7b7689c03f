// One HDFS file, read from front to back.
#ifndef HOST_MARROWBY_REMOTEFILE_H
#define HOST_MARROWBY_REMOTEFILE_H

#include "host/marrowby/FileSystem.h"

#include <QtCore/QByteArray>

class RemoteFile
{
public:
    /// Throws Failure when it cannot be opened. `shown`: how messages call it.
    RemoteFile(FileSystem &files, const QByteArray &path, const QByteArray &shown);
    ~RemoteFile();
    RemoteFile(const RemoteFile &) = delete;
    RemoteFile &operator=(const RemoteFile &) = delete;

    /// Bytes, as of the opening.
    quint64 length() const { return m_length; }

    void seek(quint64 offset) { m_offset = offset; }

    /// Reads the next bytes: `count`, or what is left of the file. 0 at its end. A failed read is tried again with fresh
    /// block locations, three times and at growing intervals, before it throws Failure.
    quint32 read(char *buffer, quint32 count);

private:
    void open();
    void close();

    FileSystem &m_files;
    const QByteArray m_path;
    const QByteArray m_shown;
    HdfsFileReader *m_reader;
    quint64 m_length;
    quint64 m_offset;
};

#endif
