// The plug-in, loaded, and one connection through it.
#ifndef HOST_MARROWBY_SESSION_H
#define HOST_MARROWBY_SESSION_H

#include "plugin/QuorHDFSPluginInterface.h"
#include "rpc/HdfsFileStatus.h"

#include <QtCore/QPluginLoader>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// One entry of the namespace, copied out of the plug-in's record.
struct Entry {
    std::string name; ///< without the directory's path
    bool isDirectory;
    std::uint64_t length;
    unsigned replication;
    std::uint64_t blockSize;
    std::string owner;
    std::string group;
    unsigned permission; ///< mode bits and, at 010000, whether there is an access control list
    std::uint64_t modificationTime;
    std::uint64_t accessTime;
};

const unsigned kModeBits = 01777;
const unsigned kAclBit = 010000;

/// Every operation throws Failure with the NameNode's own words when it is refused, `path` naming what was asked for
/// when the NameNode has none.
class Session
{
public:
    /// Loads the library. Throws Failure.
    explicit Session(const QString &library);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Connects with the settings in force. Throws Failure.
    void connect();

    /// The user name of the settings.
    const std::string &user() const { return m_user; }

    /// False when there is no such path.
    bool status(const std::string &path, Entry *entry);
    std::vector<Entry> list(const std::string &path);
    void makeDirectory(const std::string &path, unsigned permission, bool withParents);
    /// False when there was no such path.
    bool remove(const std::string &path, bool recursive);
    void rename(const std::string &source, const std::string &destination);
    bool setReplication(const std::string &path, unsigned replication);
    void setPermission(const std::string &path, unsigned mode);
    void setOwner(const std::string &path, const std::string &user, const std::string &group);

    QuorHDFSPluginInterface *hdfs() { return m_hdfs; }
    NameNodeConnection *connection() { return m_connection; }

    /// Throws Failure with what the log has said since the last call: the NameNode's words, or `otherwise`.
    void fail(const std::string &otherwise);

private:
    QPluginLoader m_loader;
    QuorHDFSPluginInterface *m_hdfs;
    NameNodeConnection *m_connection;
    std::string m_user;
};

/// An open file. Throws Failure when it cannot be opened.
class FileForReading
{
public:
    FileForReading(Session &session, const std::string &path);
    ~FileForReading();
    FileForReading(const FileForReading &) = delete;
    FileForReading &operator=(const FileForReading &) = delete;

    std::uint64_t length() const { return m_length; }

    /// Reads up to `length` bytes at `offset`; less only at the end of the file. A block whose DataNodes all failed is
    /// tried again with fresh locations, three times; then throws Failure.
    std::uint32_t read(std::uint64_t offset, char *buffer, std::uint32_t length);

private:
    void open();

    Session &m_session;
    std::string m_path;
    HdfsFileReader *m_reader;
    std::uint64_t m_length;
};

#endif
