// One new HDFS file, written from front to back.
#ifndef HOST_MARROWBY_REMOTEFILEWRITER_H
#define HOST_MARROWBY_REMOTEFILEWRITER_H

#include "host/marrowby/PartialFile.h"

#include <QtCore/QByteArray>

#include <cstddef>

class RemoteFileWriter
{
public:
    /// Sends nothing. `shown`: how messages call it. Throws Failure.
    RemoteFileWriter(FileSystem &files, const QByteArray &path, const QByteArray &shown, const WriteSettings &settings);
    /// Nothing of the file stays behind, unless it was finished.
    ~RemoteFileWriter();
    RemoteFileWriter(const RemoteFileWriter &) = delete;
    RemoteFileWriter &operator=(const RemoteFileWriter &) = delete;

    /// Throws Failure. `count` is below 4 GiB.
    void write(const char *bytes, std::size_t count);

    /// Closes the file and gives it its name; see PartialFile. Throws Failure.
    void finish(bool overwrite);

private:
    void check(qint32 result);
    void close();

    FileSystem &m_files;
    const QByteArray m_shown;
    PartialFile m_partial;
    HdfsFileWriter *m_writer;
};

#endif
