// Changing the namespace, on the real NameNode. What a change has done is asked of the cluster's own client.
#include "testing/cluster/RealClusterTest.h"

#include <chrono>
#include <thread>

namespace {

using namespace ClientProtocol;

class RealNamespace : public RealClusterTest
{
protected:
    bool isThere(const QByteArray &path) const { return cluster.tryDfs({"-test", "-e", path}).status == 0; }

    /// As `hdfs dfs -stat FORMAT` prints it, without the line feed.
    QByteArray stat(const QByteArray &format, const QByteArray &path) const
    {
        return cluster.dfs({"-stat", format, path}).trimmed();
    }

    void touch(const QByteArray &path) const { cluster.dfs({"-touchz", path}); }
    void makeDirectory(const QByteArray &path) const { cluster.dfs({"-mkdir", "-p", path}); }
};

std::string exception(const char *className)
{
    return std::string("ExceptionClassName=") + className + "\nerrorMsg=*";
}

const char kAccessControl[] = "org.apache.hadoop.security.AccessControlException";
const char kFileNotFound[] = "java.io.FileNotFoundException";

} // namespace

TEST_F(RealNamespace, MkdirsMakesADirectoryWithExactlyThatPermission)
{
    EXPECT_EQ(Done, mkdirs(connection.get(), directory() + "/open", 0777, false));
    EXPECT_EQ("777 directory", stat("%a %F", directory() + "/open"));
    EXPECT_EQ(Done, mkdirs(connection.get(), directory() + "/closed", 0700, false));
    EXPECT_EQ("700 directory", stat("%a %F", directory() + "/closed"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, MkdirsMakesParentsOnlyWhenAskedTo)
{
    const QByteArray deep = directory() + "/a/b/c";
    EXPECT_EQ(CallFailed, mkdirs(connection.get(), deep, 0755, false));
    EXPECT_TRUE(log.takes({exception(kFileNotFound)}));
    EXPECT_FALSE(isThere(directory() + "/a"));

    EXPECT_EQ(Done, mkdirs(connection.get(), deep, 0755, true));
    EXPECT_TRUE(isThere(deep));
    EXPECT_EQ(Done, mkdirs(connection.get(), deep, 0755, false)); // it is there already
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, MkdirsOverAFileFails)
{
    touch(directory() + "/file");
    EXPECT_EQ(CallFailed, mkdirs(connection.get(), directory() + "/file", 0755, true));
    EXPECT_TRUE(log.takes({exception("org.apache.hadoop.fs.FileAlreadyExistsException")}));
    EXPECT_EQ(CallFailed, mkdirs(connection.get(), directory() + "/file/below", 0755, true));
    EXPECT_TRUE(log.takes({exception("org.apache.hadoop.fs.ParentNotDirectoryException")}));
}

TEST_F(RealNamespace, DeleteOfAFileOrAnEmptyDirectoryIsDone)
{
    touch(directory() + "/file");
    makeDirectory(directory() + "/empty");
    EXPECT_EQ(Done, delete_(connection.get(), directory() + "/file", false));
    EXPECT_EQ(Done, delete_(connection.get(), directory() + "/empty", false));
    EXPECT_FALSE(isThere(directory() + "/file"));
    EXPECT_FALSE(isThere(directory() + "/empty"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, DeleteOfAMissingPathIsRefusedWithoutAMessage)
{
    EXPECT_EQ(Refused, delete_(connection.get(), directory() + "/missing", false));
    EXPECT_EQ(Refused, delete_(connection.get(), directory() + "/missing", true));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, DeleteOfAFullDirectoryMustBeRecursive)
{
    const QByteArray full = directory() + "/full";
    makeDirectory(full + "/inner");
    touch(full + "/inner/file");
    EXPECT_EQ(CallFailed, delete_(connection.get(), full, false));
    EXPECT_TRUE(log.takes({exception("org.apache.hadoop.fs.PathIsNotEmptyDirectoryException")}));
    EXPECT_TRUE(isThere(full + "/inner/file"));
    EXPECT_EQ(Done, delete_(connection.get(), full, true));
    EXPECT_FALSE(isThere(full));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, RenameMovesFilesAndDirectories)
{
    makeDirectory(directory() + "/old");
    touch(directory() + "/old/file");
    EXPECT_EQ(0, rename(connection.get(), directory() + "/old", directory() + "/new"));
    EXPECT_FALSE(isThere(directory() + "/old"));
    EXPECT_TRUE(isThere(directory() + "/new/file"));
    EXPECT_EQ(0, rename(connection.get(), directory() + "/new/file", directory())); // into a directory
    EXPECT_TRUE(isThere(directory() + "/file"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, RefusedRenameEndsInZeroAndChangesNothing)
{
    touch(directory() + "/one");
    cluster.client({"pattern", directory() + "/two", "10", "1048576", "1", "512", "CRC32C"});
    makeDirectory(directory() + "/tree/branch");
    EXPECT_EQ(0, rename(connection.get(), directory() + "/missing", directory() + "/new"));
    EXPECT_EQ(0, rename(connection.get(), directory() + "/one", directory() + "/two"));
    EXPECT_EQ(0, rename(connection.get(), directory() + "/tree", directory() + "/tree/branch/tree"));
    EXPECT_FALSE(isThere(directory() + "/new"));
    EXPECT_EQ("0", stat("%b", directory() + "/one"));
    EXPECT_EQ("10", stat("%b", directory() + "/two"));
    EXPECT_TRUE(isThere(directory() + "/tree/branch"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealNamespace, ChangesWithoutPermissionFailAndChangeNothing)
{
    touch(directory() + "/file");
    cluster.dfs({"-chmod", "755", directory()});
    connection = cluster.connect("alice");
    EXPECT_EQ(1, rename(connection.get(), directory() + "/file", directory() + "/other"));
    EXPECT_EQ(CallFailed, delete_(connection.get(), directory() + "/file", false));
    EXPECT_EQ(CallFailed, mkdirs(connection.get(), directory() + "/new", 0755, false));
    EXPECT_EQ(CallFailed, setReplication(connection.get(), directory() + "/file", 1));
    EXPECT_EQ(CallFailed, setPermission(connection.get(), directory() + "/file", 0777));
    EXPECT_EQ(CallFailed, setOwner(connection.get(), directory() + "/file", "alice", ""));
    EXPECT_TRUE(log.holds(std::vector<std::string>(6, exception(kAccessControl))));
    EXPECT_EQ("644 " + cluster.superuser() + " 3", stat("%a %u %r", directory() + "/file"));
    EXPECT_FALSE(isThere(directory() + "/new"));
}

TEST_F(RealNamespace, SetReplicationChangesFilesAndNothingElse)
{
    touch(directory() + "/file");
    EXPECT_EQ(Done, setReplication(connection.get(), directory() + "/file", 2));
    EXPECT_EQ("2", stat("%r", directory() + "/file"));
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(CallFailed, setReplication(connection.get(), directory() + "/file", 0));
    EXPECT_EQ(CallFailed, setReplication(connection.get(), directory() + "/file", 513));
    EXPECT_EQ(2u, log.texts().size());
    log.clear();
    EXPECT_EQ("2", stat("%r", directory() + "/file"));
}

TEST_F(RealNamespace, SetReplicationOfADirectoryOrAMissingPathIsNotDone)
{
    const std::int32_t directoryStatus = setReplication(connection.get(), directory(), 2);
    const std::int32_t missingStatus = setReplication(connection.get(), directory() + "/missing", 2);
    EXPECT_EQ(Refused, directoryStatus);
    EXPECT_EQ(Refused, missingStatus);
}

TEST_F(RealNamespace, SetPermissionThatSucceedsEndsInOne)
{
    touch(directory() + "/file");
    EXPECT_EQ(Refused, setPermission(connection.get(), directory() + "/file", 0604));
    EXPECT_EQ("604", stat("%a", directory() + "/file"));
    makeDirectory(directory() + "/sticky");
    EXPECT_EQ(Refused, setPermission(connection.get(), directory() + "/sticky", 01777));
    EXPECT_EQ("1777", stat("%a", directory() + "/sticky"));
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(CallFailed, setPermission(connection.get(), directory() + "/missing", 0644));
    EXPECT_TRUE(log.holds({exception(kFileNotFound)}));
}

TEST_F(RealNamespace, SetOwnerLeavesAnEmptyNameAlone)
{
    const QByteArray file = directory() + "/file";
    touch(file);
    EXPECT_EQ(Refused, setOwner(connection.get(), file, "bob", "staff"));
    EXPECT_EQ("bob:staff", stat("%u:%g", file));
    EXPECT_EQ(Refused, setOwner(connection.get(), file, "carol", ""));
    EXPECT_EQ("carol:staff", stat("%u:%g", file));
    EXPECT_EQ(Refused, setOwner(connection.get(), file, "", "alice"));
    EXPECT_EQ("carol:alice", stat("%u:%g", file));
    EXPECT_EQ(Refused, setOwner(connection.get(), file, "", ""));
    EXPECT_EQ("carol:alice", stat("%u:%g", file));
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(CallFailed, setOwner(connection.get(), directory() + "/missing", "bob", "staff"));
    EXPECT_TRUE(log.holds({exception(kFileNotFound)}));
}

TEST_F(RealNamespace, OwnerMayGiveAFileToAGroupOfHisOwnOnly)
{
    const QByteArray file = directory() + "/file";
    touch(file);
    cluster.dfs({"-chown", "alice:alice", file});
    connection = cluster.connect("alice");
    EXPECT_EQ(Refused, setOwner(connection.get(), file, "", "staff"));
    EXPECT_EQ("alice:staff", stat("%u:%g", file));
    EXPECT_EQ(CallFailed, setOwner(connection.get(), file, "", "carol"));
    EXPECT_TRUE(log.holds({exception(kAccessControl)}));
    EXPECT_EQ("alice:staff", stat("%u:%g", file));
}

TEST_F(RealNamespace, GetFsStatsGivesTheCountersThatTheReportGives)
{
    // Three DataNodes cannot hold five replicas; the NameNode counts that a moment later.
    cluster.client({"pattern", directory() + "/five", "1000", "1048576", "5", "512", "CRC32C"});
    std::uint64_t counters[kFsStatsCount] = {};
    QByteArray report;
    const auto reported = [&report](const QByteArray &name) {
        const int start = report.indexOf(name + ": ") + name.size() + 2;
        const int end = report.indexOf('\n', start);
        return quint64(report.mid(start, end - start).split(' ').first().toULongLong());
    };
    for (int i = 0; i < 100 && (counters[3] == 0 || counters[3] != reported("Under replicated blocks")); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ASSERT_EQ(0, getFsStats(connection.get(), counters));
        report = cluster.dfsadmin({"-report"});
    }
    EXPECT_EQ(reported("Under replicated blocks"), counters[3]);
    EXPECT_GE(counters[3], 1u);
    EXPECT_EQ(reported("Blocks with corrupt replicas"), counters[4]);
    EXPECT_EQ(reported("Missing blocks"), counters[5]);
    EXPECT_EQ(reported("Configured Capacity"), counters[0]);
    EXPECT_GT(counters[0], 0u);
    EXPECT_GT(counters[1], 0u);
    EXPECT_LE(counters[1] + counters[2], counters[0]);
    EXPECT_GT(counters[2], reported("DFS Remaining") / 2); // it moves while we look
    EXPECT_LT(counters[2], reported("DFS Remaining") * 2);
    EXPECT_TRUE(log.holds({}));
    cluster.dfs({"-rm", "-r", directory()});
}

TEST_F(RealNamespace, CallsOfTwoConnectionsWithTheSameIdsDoNotMix)
{
    const std::unique_ptr<NameNodeConnection> other = cluster.connect();
    touch(directory() + "/file");
    const std::int32_t callId = connection->nextCallId;
    ASSERT_EQ(callId, other->nextCallId);
    EXPECT_STRNE(connection->clientId.get(), other->clientId.get());
    EXPECT_EQ(Done, delete_(connection.get(), directory() + "/file", false));
    // Answered from what the NameNode remembers of the first connection, this would be done, too.
    EXPECT_EQ(Refused, delete_(other.get(), directory() + "/file", false));
}

TEST_F(RealNamespace, CallIdThatIsUsedTwiceIsAnsweredWithoutRunningTheCallAgain)
{
    const QByteArray file = directory() + "/file";
    touch(file);
    const std::int32_t callId = connection->nextCallId;
    EXPECT_EQ(Done, delete_(connection.get(), file, false));
    touch(file);
    connection->nextCallId = callId;
    EXPECT_EQ(Done, delete_(connection.get(), file, false));
    EXPECT_TRUE(isThere(file));
    EXPECT_EQ(Done, delete_(connection.get(), file, false)); // the next id is new
    EXPECT_FALSE(isThere(file));
}
