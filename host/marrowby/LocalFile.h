// Files of this machine, as targets of a transfer. Paths are in the local encoding.
#ifndef HOST_MARROWBY_LOCALFILE_H
#define HOST_MARROWBY_LOCALFILE_H

#include "host/marrowby/FileSystem.h"

#include <QtCore/QByteArray>

enum class LocalKind {
    Missing,
    Directory,
    File,
    BelowFile, ///< missing, and what should be its directory is none
    Other      ///< a device, a pipe
};

LocalKind localKind(const QByteArray &path);

/// The directory that a path is in. A "/" at the end of the path changes nothing.
QByteArray localParent(const QByteArray &path);

/// "file:/absolute/path", without "." and "..". For any bytes, also those that are no text in the local encoding.
QByteArray localUri(const QByteArray &path);

/// Throws Failure. `shown`: how messages call it.
void makeLocalDirectory(const QByteArray &path, const QByteArray &shown);

/// Gives a file or directory the times and the permissions of `entry`, and owner and group as far as this process may.
void keepAttributes(const QByteArray &path, const FileEntry &entry);

/// A local file in the making. It is written under the name PATH._COPYING_ and gets its own one in `finish`; until then
/// nothing is at PATH that was not there before, and when there is no `finish` nothing stays behind. Whatever is at
/// PATH._COPYING_ is deleted first. A device or a pipe at PATH is written to directly.
class LocalFileWriter
{
public:
    /// Throws Failure. `shown`: how messages call it.
    LocalFileWriter(const QByteArray &path, const QByteArray &shown);
    ~LocalFileWriter();
    LocalFileWriter(const LocalFileWriter &) = delete;
    LocalFileWriter &operator=(const LocalFileWriter &) = delete;

    /// Throws Failure, as for a full disk.
    void write(const char *bytes, std::size_t count);
    /// Closes it and gives it its name. Throws Failure.
    void finish();

private:
    [[noreturn]] void fail(int error);

    const QByteArray m_path;
    const QByteArray m_shown;
    const bool m_direct;
    const QByteArray m_partial;
    int m_descriptor;
};

#endif
