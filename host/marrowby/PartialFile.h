// An HDFS file in the making.
#ifndef HOST_MARROWBY_PARTIALFILE_H
#define HOST_MARROWBY_PARTIALFILE_H

#include "host/marrowby/FileSystem.h"

#include <QtCore/QByteArray>

/// A file that is called PATH._COPYING_ until it is complete. Until then nothing is at PATH that was not there before,
/// and when it does not come to that nothing stays behind, not even when the process is ended where it stands; unless
/// the NameNode cannot be reached any more.
class PartialFile
{
public:
    /// Sends nothing. `shown`: how messages call PATH. Throws Failure when the file could not get its name in the end,
    /// because that is too long.
    PartialFile(FileSystem &files, const QByteArray &path, const QByteArray &shown);
    /// Removes it, unless it was finished.
    ~PartialFile();
    PartialFile(const PartialFile &) = delete;
    PartialFile &operator=(const PartialFile &) = delete;

    static QByteArray pathFor(const QByteArray &path) { return path + "._COPYING_"; }

    /// PATH._COPYING_
    const QByteArray &path() const { return m_partial; }

    /// Gives the file, which is closed and should have `length` bytes, its name. With `overwrite` what is there under
    /// that name goes right before. Throws Failure.
    void finish(quint64 length, bool overwrite);

    /// Removes it now. Says nothing.
    void remove();

private:
    FileSystem &m_files;
    const QByteArray m_path;
    const QByteArray m_shown;
    const QByteArray m_partial;
    bool m_pending; ///< to be removed in the end
};

#endif
