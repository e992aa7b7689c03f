// Listing directories and asking for single paths, on the real NameNode.
#include "testing/cluster/RealClusterTest.h"

namespace {

class RealListing : public RealClusterTest
{
protected:
    QByteArray javaListing(const QByteArray &path) const { return cluster.client({"list", path}); }
};

/// A directory that only bob can look into, with a file in it that everybody could read.
QByteArray makePrivateDirectory(const RealCluster &cluster, const QByteArray &parent)
{
    const QByteArray path = parent + "/private";
    cluster.dfs({"-mkdir", path});
    cluster.dfs({"-touchz", path + "/inside"});
    cluster.dfs({"-chown", "bob", path});
    cluster.dfs({"-chmod", "700", path});
    return path;
}

const char kAccessDenied[] = "ExceptionClassName=org.apache.hadoop.security.AccessControlException\n"
                             "errorMsg=Permission denied: user=alice, access=*";

} // namespace

TEST_F(RealListing, DirectoryOf3500EntriesComesInFourPagesInTheNameNodesOrder)
{
    cluster.client({"entries", "/shared/entries", "3500"});
    const std::int32_t firstCall = connection->nextCallId;
    std::int32_t count = 0;
    const StatusList head = list("/shared/entries", &count);
    EXPECT_EQ(3500, count);
    EXPECT_EQ(4, connection->nextCallId - firstCall);
    EXPECT_EQ(javaListing("/shared/entries"), describeAll(head.get()));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealListing, NamesOf255BytesAndInUtf8ComeAsTheyAre)
{
    const QByteArray greek = QByteArray("\xCE\xB1").repeated(127) + "z"; // 255 bytes, 128 characters
    const QList<QByteArray> names = {QByteArray(255, 'n'),
                                     greek,
                                     QByteArray(255, 'm'),
                                     "gr\xC3\xB6\xC3\x9F"
                                     "e.txt",
                                     "\xF0\x9F\x90\x98",
                                     "\xE6\xBC\xA2\xE5\xAD\x97",
                                     "e\xCC\x81 combined",
                                     "two  blanks",
                                     "back\\slash",
                                     "per%20cent",
                                     "a|b,c=\"d\"'e'",
                                     "tab\tin it"};
    for (const QByteArray &name : names)
        EXPECT_EQ(ClientProtocol::Done, ClientProtocol::mkdirs(connection.get(), directory() + "/" + name, 0755, false))
            << name.constData();

    std::int32_t count = 0;
    const StatusList head = list(directory(), &count);
    EXPECT_EQ(names.size(), count);
    EXPECT_EQ(javaListing(directory()), describeAll(head.get()));
    for (const HdfsFileStatus *status = head.get(); status; status = status->next)
        EXPECT_TRUE(names.contains(QByteArray(status->path.data, static_cast<int>(status->path.size))));
    for (const QByteArray &name : names) {
        const StatusList one = info(directory() + "/" + name);
        ASSERT_TRUE(one != nullptr) << name.constData();
        EXPECT_EQ('D', static_cast<char>(one->kind));
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealListing, NameOf256BytesIsRefusedByTheNameNode)
{
    EXPECT_EQ(ClientProtocol::CallFailed,
              ClientProtocol::mkdirs(connection.get(), directory() + "/" + QByteArray(256, 'n'), 0755, false));
    EXPECT_TRUE(log.holds({"ExceptionClassName=org.apache.hadoop.hdfs.protocol.FSLimitException$PathComponentTooLong"
                           "Exception\nerrorMsg=*"}));
}

TEST_F(RealListing, PathTooLongForAListingRequestIsStillFoundBySinglePathCalls)
{
    const QByteArray deep = directory() + "/" + QByteArray(255, 'a') + "/" + QByteArray(255, 'b');
    ASSERT_EQ(ClientProtocol::Done, ClientProtocol::mkdirs(connection.get(), deep, 0755, true));
    const StatusList one = info(deep);
    ASSERT_TRUE(one != nullptr);
    EXPECT_EQ(javaStatus(deep).split('\t').last().trimmed().size(), 255);
    EXPECT_TRUE(log.holds({}));

    std::int32_t count = 0;
    EXPECT_EQ(nullptr, list(deep, &count));
    EXPECT_EQ(-1, count);
    EXPECT_TRUE(log.holds({"Encoding failed: *"}));
    EXPECT_TRUE(info("/") != nullptr); // the connection goes on
}

TEST_F(RealListing, EmptyDirectoryHasNoRecordAndCountZero)
{
    std::int32_t count = -7;
    EXPECT_EQ(nullptr, list(directory(), &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(nullptr, ClientProtocol::getListing(connection.get(), directory(), nullptr));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealListing, MissingPathLooksLikeAnEmptyDirectoryAndIsNoFailure)
{
    const QByteArray missing = directory() + "/missing";
    std::int32_t count = -7;
    EXPECT_EQ(nullptr, list(missing, &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(nullptr, info(missing));
    bool exists = true;
    bool isFile = false;
    EXPECT_EQ(0, ClientProtocol::fileExists(connection.get(), missing, &exists, &isFile));
    EXPECT_FALSE(exists);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealListing, ListingOfAFileIsOneRecordWithoutAName)
{
    const QByteArray path = cluster.patternFile("small", 5000, FileLayout(kMiB, 3));
    std::int32_t count = 0;
    const StatusList head = list(path, &count);
    ASSERT_TRUE(head != nullptr);
    EXPECT_EQ(1, count);
    EXPECT_EQ(nullptr, head->next);
    EXPECT_EQ(0u, head->path.size);
    EXPECT_EQ('F', static_cast<char>(head->kind));
    EXPECT_EQ(5000u, head->length);
    QList<QByteArray> expected = javaStatus(path).trimmed().split('\t');
    expected.last().clear();
    EXPECT_EQ(expected.join('\t') + '\n', describe(*head));
}

TEST_F(RealListing, RecordsHoldWhatTheClustersOwnClientSays)
{
    cluster.dfs({"-mkdir", directory() + "/sticky"});
    cluster.dfs({"-chmod", "1777", directory() + "/sticky"});
    cluster.dfs({"-touchz", directory() + "/empty"});
    cluster.dfs({"-chown", "alice:staff", directory() + "/empty"});
    cluster.dfs({"-chmod", "0640", directory() + "/empty"});
    cluster.client({"pattern", directory() + "/data", "1500000", "524288", "2", "512", "CRC32C"});
    cluster.dfs({"-touch", "-m", "-t", "20010203:040506", directory() + "/data"});
    // What a record of ours has no field for: an access control list, a snapshot, extended attributes.
    cluster.dfs({"-mkdir", directory() + "/more"});
    cluster.dfs({"-setfacl", "-m", "user:bob:r-x", directory() + "/more"});
    cluster.dfs({"-setfattr", "-n", "user.colour", "-v", "blue", directory() + "/more"});
    cluster.dfsadmin({"-allowSnapshot", directory() + "/more"});

    std::int32_t count = 0;
    const StatusList head = list(directory(), &count);
    EXPECT_EQ(4, count);
    EXPECT_EQ(javaListing(directory()), describeAll(head.get()));
    for (const char *name : {"/sticky", "/empty", "/data", "/more"}) {
        const StatusList one = info(directory() + name);
        ASSERT_TRUE(one != nullptr) << name;
        EXPECT_EQ(nullptr, one->next);
        const QByteArray said = javaStatus(directory() + name);
        EXPECT_EQ(said.left(said.lastIndexOf('\t')), describe(*one).left(describe(*one).lastIndexOf('\t')));
    }
    cluster.dfsadmin({"-disallowSnapshot", directory() + "/more"});
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealListing, FileExistsTellsFilesFromDirectories)
{
    cluster.dfs({"-touchz", directory() + "/file"});
    bool exists = false;
    bool isFile = false;
    EXPECT_EQ(0, ClientProtocol::fileExists(connection.get(), directory() + "/file", &exists, &isFile));
    EXPECT_TRUE(exists);
    EXPECT_TRUE(isFile);
    EXPECT_EQ(0, ClientProtocol::fileExists(connection.get(), directory(), &exists, &isFile));
    EXPECT_TRUE(exists);
    EXPECT_FALSE(isFile);
}

TEST_F(RealListing, PathWithoutPermissionFailsWithTheNameNodesReasonAndTheConnectionGoesOn)
{
    const QByteArray path = makePrivateDirectory(cluster, directory());
    connection = cluster.connect("alice");
    std::int32_t count = 7;
    EXPECT_EQ(nullptr, list(path, &count));
    EXPECT_EQ(-1, count);
    EXPECT_TRUE(log.takes({kAccessDenied}));

    bool failed = false;
    EXPECT_EQ(nullptr, ClientProtocol::fileInfo(connection.get(), path + "/inside", &failed));
    EXPECT_TRUE(failed);
    EXPECT_TRUE(log.takes({kAccessDenied}));

    bool exists = true;
    bool isFile = false;
    EXPECT_EQ(1, ClientProtocol::fileExists(connection.get(), path + "/inside", &exists, &isFile));
    EXPECT_FALSE(exists);
    EXPECT_TRUE(log.takes({kAccessDenied}));

    EXPECT_EQ(nullptr, open(path + "/inside"));
    EXPECT_TRUE(log.takes({kAccessDenied}));

    const StatusList self = info(path);
    ASSERT_TRUE(self != nullptr);
    EXPECT_EQ(0700, self->permission);
    EXPECT_TRUE(log.holds({}));

    connection = cluster.connect("bob");
    const StatusList seen = list(path, &count);
    EXPECT_EQ(1, count);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealListing, RelativeAndEmptyPathsAreRefusedByTheNameNode)
{
    std::int32_t count = 0;
    EXPECT_EQ(nullptr, list("shared", &count));
    EXPECT_EQ(-1, count);
    EXPECT_EQ(1u, log.texts().size());
    log.clear();
    EXPECT_EQ(nullptr, list("", &count));
    EXPECT_EQ(-1, count);
    EXPECT_EQ(1u, log.texts().size());
    EXPECT_TRUE(info("/") != nullptr);
}
