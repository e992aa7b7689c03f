// The private HDFS that a run of the tests shares: where it is, its own Java client to make files with and to compare
// with, and faults of its servers. Whatever goes wrong with any of these throws std::runtime_error, which fails the
// test.
#ifndef TESTING_REALCLUSTER_H
#define TESTING_REALCLUSTER_H

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QString>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

class NameNodeConnection;

/// What a command of the Java client ended with.
struct CommandResult {
    int status;
    QByteArray out;
    QByteArray err;
};

/// How a file is stored.
struct FileLayout {
    FileLayout(std::int64_t blockSize_, int replication_) : blockSize(blockSize_), replication(replication_) {}
    std::int64_t blockSize;
    int replication;
    int chunkSize = 512;            ///< bytes that one checksum covers
    QByteArray checksum = "CRC32C"; ///< or "CRC32", "NULL"
};

class RealCluster
{
public:
    /// Finds the cluster that `testing/cluster/real-cluster start` has left a note about; ctest runs it before the
    /// tests.
    RealCluster();

    QByteArray host() const;
    std::uint32_t port() const;
    /// The user who may do everything.
    QByteArray superuser() const;

    /// A connection as `user` (the superuser when it is empty), by the name or address `host`.
    std::unique_ptr<NameNodeConnection> connect(const QByteArray &user = QByteArray(),
                                                const QByteArray &host = QByteArray()) const;

    /// `hdfs dfs ARGUMENTS` and `hdfs dfsadmin ARGUMENTS` as `user`. A status that is not 0 throws only in `dfs`.
    QByteArray dfs(const QList<QByteArray> &arguments, const QByteArray &user = QByteArray()) const;
    CommandResult tryDfs(const QList<QByteArray> &arguments, const QByteArray &user = QByteArray()) const;
    QByteArray dfsadmin(const QList<QByteArray> &arguments) const;
    /// Any verb of the Java client (ClusterClient.java). Throws when its status is not 0.
    QByteArray client(const QList<QByteArray> &verbAndArguments) const;
    /// Any program of the machine that the servers run on; gives what it printed. Throws when its status is not 0.
    QByteArray run(const QList<QByteArray> &programAndArguments) const;

    /// A new directory of this test's own, empty, which everybody may write to.
    QByteArray freshDirectory() const;
    /// A file of pattern bytes that tests share: made by the first one that asks for it. Returns its path.
    QByteArray patternFile(const QByteArray &name, std::int64_t length, const FileLayout &layout) const;

    /// Whether a file that was written as a pattern file is one for every other client too; says what is wrong.
    ::testing::AssertionResult holdsPattern(const QByteArray &path, std::int64_t length) const;
    /// Whether `hdfs fsck` finds everything below a path healthy, and no file that is open for write.
    ::testing::AssertionResult isHealthy(const QByteArray &path) const;

    /// The node ("datanode1", …) that listens at a data port.
    QByteArray nodeAtPort(std::uint32_t xferPort) const;
    /// The files that hold the replicas of a block on disk, one for each DataNode that has it, as this process names
    /// them.
    QList<QString> replicaFiles(std::uint64_t blockId) const;

    /// Faults, by the node's name ("namenode", "datanode1", …). They return when it is so.
    void kill(const QByteArray &node) const;
    void pause(const QByteArray &node) const;
    void resume(const QByteArray &node) const;
    void restart(const QByteArray &node) const;
    /// Waits until the NameNode has given up a DataNode that was killed.
    void waitUntilDead(const QByteArray &node) const;
    /// Lets a DataNode write no file beyond `bytes`, as on a disk that is full; a negative number lets it write again.
    void limitFiles(const QByteArray &node, std::int64_t bytes) const;
    /// Undoes all faults.
    void mend() const;

private:
    QByteArray value(const char *name) const;
    CommandResult ask(const QByteArray &user, const QList<QByteArray> &verbAndArguments) const;
    /// Its complaints are part of what it printed.
    CommandResult runPrivateHdfs(const QList<QByteArray> &arguments) const;
    void privateHdfs(const QList<QByteArray> &arguments) const;

    QJsonObject m_state;
};

/// The byte at `offset` of every pattern file.
char patternByte(std::int64_t offset);
/// `size` bytes of a pattern file from `offset` on.
QByteArray patternFileBytes(std::int64_t offset, int size);
/// Where `size` bytes first differ from the pattern file's at `offset`, as an index into `bytes`; -1 when they are
/// right.
std::int64_t firstDifferenceFromPattern(const char *bytes, std::int64_t size, std::int64_t offset);

#endif
