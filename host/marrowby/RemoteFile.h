// One HDFS file, read from front to back.
#ifndef HOST_MARROWBY_REMOTEFILE_H
#define HOST_MARROWBY_REMOTEFILE_H

#include "host/marrowby/FileSystem.h"

#include <QtCore/QByteArray>

class RemoteFile
{
public:
    /// Throws Failure when it cannot be opened. `blockSize`: of the file, in bytes. `shown`: how messages call it.
    RemoteFile(FileSystem &files, const QByteArray &path, quint64 blockSize, const QByteArray &shown);
    ~RemoteFile();
    RemoteFile(const RemoteFile &) = delete;
    RemoteFile &operator=(const RemoteFile &) = delete;

    /// Bytes, as of the opening.
    quint64 length() const { return m_length; }

    void seek(quint64 offset) { m_offset = offset; }

    /// Reads the next bytes: `count`, or what is left of the file, or less. 0 at its end. A failed read is tried again
    /// with fresh block locations: several times at once, because the NameNode names a block's DataNodes in another
    /// order each time and the plug-in does not get past a first one that refuses connections; and three times after
    /// growing pauses. Then it throws Failure; at once when no DataNode has the block or nothing could be asked for.
    quint32 read(char *buffer, quint32 count);

private:
    void open();
    void close();
    quint32 atMostOneBlock(quint32 count) const;

    FileSystem &m_files;
    const QByteArray m_path;
    const quint64 m_blockSize;
    const QByteArray m_shown;
    bool m_hasFailed; ///< from then on blocks are read one by one: each needs luck of its own
    HdfsFileReader *m_reader;
    quint64 m_length;
    quint64 m_offset;
};

#endif
