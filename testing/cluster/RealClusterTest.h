// What the tests on the real servers have in common.
#ifndef TESTING_CLUSTER_REALCLUSTERTEST_H
#define TESTING_CLUSTER_REALCLUSTERTEST_H

#include "io/HdfsFileReader.h"
#include "rpc/ClientProtocol.h"
#include "rpc/NameNodeConnection.h"
#include "testing/LogCapture.h"
#include "testing/RealCluster.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

const std::int64_t kKiB = 1 << 10;
const std::int64_t kMiB = 1 << 20;
const std::int64_t kGiB = 1 << 30;

struct StatusListDeleter {
    void operator()(HdfsFileStatus *head) const { ClientProtocol::freeListing(head); }
};
typedef std::unique_ptr<HdfsFileStatus, StatusListDeleter> StatusList;
typedef std::unique_ptr<HdfsFileReader> Reader;

class RealClusterTest : public ::testing::Test
{
protected:
    RealClusterTest();

    StatusList list(const QByteArray &path, std::int32_t *count) const;
    /// Null also when the call failed; expects it not to fail.
    StatusList info(const QByteArray &path) const;
    /// The same as the Java client describes it ("status", "list"): one line for a record.
    QByteArray javaStatus(const QByteArray &path) const;
    Reader open(const QByteArray &path) const;
    /// A directory of this test's own, made at the first call.
    QByteArray directory();

    RealCluster cluster;
    LogCapture log;
    std::unique_ptr<NameNodeConnection> connection; ///< the superuser's

private:
    QByteArray m_directory;
};

/// As ClusterClient.java prints a FileStatus.
QByteArray describe(const HdfsFileStatus &status);
QByteArray describeAll(const HdfsFileStatus *head);

/// Reads at `offset`; an empty result with a failed expectation when not exactly `length` bytes came.
QByteArray readAt(HdfsFileReader *reader, std::int64_t offset, std::uint32_t length);

/// Reads at `offset` and compares with the pattern files' bytes; also expects the position to follow.
::testing::AssertionResult readsPattern(HdfsFileReader *reader, std::int64_t offset, std::uint32_t length);
/// The same with memory of the caller's own, for reads of a size that is not allocated again and again.
::testing::AssertionResult readsPattern(HdfsFileReader *reader, std::int64_t offset, std::uint32_t length,
                                        std::vector<char> *buffer);

#endif
