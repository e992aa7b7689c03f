// Files of this machine, as sources of a transfer. Paths are in the local encoding.
#ifndef HOST_MARROWBY_LOCALSOURCE_H
#define HOST_MARROWBY_LOCALSOURCE_H

#include <QtCore/QByteArray>

#include <cstddef>
#include <vector>

/// The names of what is in a directory, sorted, without links that lead nowhere. Throws Failure.
std::vector<QByteArray> localNames(const QByteArray &directory);

/// Deletes a file, a link or an empty directory. Throws Failure. `shown`: how messages call it.
void removeLocal(const QByteArray &path, const QByteArray &shown);

/// A local file, read from front to back.
class LocalFileReader
{
public:
    /// Throws Failure when it cannot be opened.
    explicit LocalFileReader(const QByteArray &path);
    /// Standard input.
    LocalFileReader();
    ~LocalFileReader();
    LocalFileReader(const LocalFileReader &) = delete;
    LocalFileReader &operator=(const LocalFileReader &) = delete;

    /// Bytes, as of the opening; kUnknownTotal for a device or a pipe.
    quint64 length() const { return m_length; }

    /// Reads up to `count` of the next bytes: as many as are there, waiting for the first. 0 at the end. Throws
    /// Failure.
    std::size_t read(char *buffer, std::size_t count);

private:
    [[noreturn]] void fail(int error);
    void findLength();

    const QByteArray m_shown;
    int m_descriptor;
    quint64 m_length;
};

#endif
