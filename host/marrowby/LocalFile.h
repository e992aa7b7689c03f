// The local side of a transfer.
#ifndef HOST_MARROWBY_LOCALFILE_H
#define HOST_MARROWBY_LOCALFILE_H

#include <QtCore/QFile>

#include <cstdint>
#include <string>

/// A local file that comes to be under a temporary name beside its own, with "._COPYING_" behind it, and gets its name
/// when it is complete. Unless `finish` has been called the temporary file is removed with the object. All operations
/// throw Failure.
class LocalFile
{
public:
    explicit LocalFile(const std::string &path);
    ~LocalFile();
    LocalFile(const LocalFile &) = delete;
    LocalFile &operator=(const LocalFile &) = delete;

    void write(const char *bytes, std::uint32_t count);

    /// Gives the file its name, in place of one that is there.
    void finish();

private:
    std::string m_path;
    QFile m_file;
};

#endif
