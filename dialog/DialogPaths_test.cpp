#include "dialog/DialogPaths.h"

#include "rpc/NameNodeConnection.h"
#include "testing/FakeDialogContext.h"
#include "testing/LogCapture.h"
#include "testing/NamespaceMessages.h"
#include "testing/ScriptedNameNode.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QVector>

#include <random>

namespace oracle = hadoop::oracle;

namespace {

const int kVeryLong = 100000;
const int kLongestSent = 900; // bytes of a path that fit into a request; longer ones are not sent

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

std::string parentOf(const QString &path)
{
    return parentPath(path).toStdString();
}

/// Whatever somebody could type, paste or keep in a setting.
std::vector<QString> strangePaths()
{
    const QString loneHighSurrogate = QString(QChar(0xD83D));
    const QString loneLowSurrogate = QString(QChar(0xDE00));
    std::vector<QString> paths = {
        text("hdfs:"),
        text("hdfs:/"),
        text("hdfs://"),
        text("hdfs:///"),
        text("hdfs:/a//b"),
        text("hdfs://host:8020/a"),
        text("hdfs:/.."),
        text("hdfs:/a/../b/."),
        text("hdfs:a"),
        text("hdfs:a/b"),
        text("hdfs: /a"),
        text("hdfs:\\a\\b"),
        text("hdfs:hdfs:/a"),
        text("HDFS:"),
        text("HDFS:/a"),
        text("Hdfs:/a"),
        text("hdfS:/a"),
        text(" hdfs:/a"),
        text("hdfs/a"),
        text("hdf"),
        text("/"),
        text("//"),
        text("///"),
        text("//server/share/a"),
        text("\\\\server\\share"),
        text("a/"),
        text("ab/"),
        text("abc/"),
        text(":"),
        text("::/"),
        text("D:"),
        text("D:/"),
        text("D://"),
        text("D:\\a"),
        text("D:a"),
        text("1:/a"),
        text(".."),
        text("."),
        text(" "),
        text("\n"),
        text("hdfs:/a\nb/c"),
        text("hdfs:/\r\n"),
        text("hdfs:/\t/"),
        text("D:/a\nb"),
        text("hdfs:/%00%2f"),
        text("hdfs:/\xe2\x80\xae/txt.exe"),
        text("\xe2\x80\x8f"
             "hdfs:/a"),
        text("hdfs:/\xe6\xb1\x89\xe5\xad\x97/\xc3\xbc"),
        text("hdfs:/\xf0\x9f\x98\x80/x"),
        text("hdfs:/*?[]{}|<>\"'"),
        text("|"),
        text("hdfs:/a|3|128"),
        text("hdfs:/") + loneHighSurrogate,
        text("hdfs:/") + loneLowSurrogate + text("/a"),
        loneHighSurrogate,
        loneHighSurrogate + QLatin1Char('/') + loneLowSurrogate,
        text("hdfs:/") + QChar(0) + text("/a"),
        QString(QChar(0)),
        text("D:/") + QChar(0),
        QString(kVeryLong, QLatin1Char('a')),
        QString(kVeryLong, QLatin1Char('/')),
        text("hdfs:/") + QString(kVeryLong, QChar(0x6c49)),
        text("hdfs:") + QString(kVeryLong, QLatin1Char('/')),
        text("D:/") + text("a/").repeated(kVeryLong / 2),
    };
    return paths;
}

// --- What kind of path it is ---

TEST(DialogPaths, AnHdfsPathBeginsWithItsPrefixInSmallLetters)
{
    EXPECT_TRUE(isHdfsPath(text("hdfs:/")));
    EXPECT_TRUE(isHdfsPath(text("hdfs:/user/data")));
    EXPECT_TRUE(isHdfsPath(text("hdfs:")));
    for (const char *local : {"", "HDFS:/a", "Hdfs:/a", "hdfs", "hdfs/a", " hdfs:/a", "D:/hdfs:/a", "/hdfs:/"})
        EXPECT_FALSE(isHdfsPath(text(local))) << local;
}

TEST(DialogPaths, TheNameNodeGetsWhatStandsBehindThePrefixInUtf8)
{
    EXPECT_EQ("/", nameNodePath(text("hdfs:/")));
    EXPECT_EQ("/user/data", nameNodePath(text("hdfs:/user/data")));
    EXPECT_EQ("/\xe6\xb1\x89/\xf0\x9f\x98\x80", nameNodePath(text("hdfs:/\xe6\xb1\x89/\xf0\x9f\x98\x80")));
    EXPECT_EQ("/a/", nameNodePath(text("hdfs:/a/")));
    EXPECT_EQ("a", nameNodePath(text("hdfs:a")));
    EXPECT_EQ("hdfs:/a", nameNodePath(text("hdfs:hdfs:/a")));
}

TEST(DialogPaths, ThePrefixAloneIsTheRoot)
{
    EXPECT_EQ("/", nameNodePath(text("hdfs:")));
    EXPECT_EQ("/", nameNodePath(text("HDFS:")));
}

TEST(DialogPaths, ANameIsJoinedWithOneSlash)
{
    EXPECT_EQ("hdfs:/a/b", joinPath(text("hdfs:/a"), text("b")).toStdString());
    EXPECT_EQ("hdfs:/a/b", joinPath(text("hdfs:/a/"), text("b")).toStdString());
    EXPECT_EQ("hdfs:/b", joinPath(hdfsRoot(), text("b")).toStdString());
    EXPECT_EQ("hdfs:/a/b", joinPath(text("hdfs:/a"), text("/b")).toStdString());
    EXPECT_EQ("hdfs:/b", joinPath(text("hdfs:"), text("/b")).toStdString());
    EXPECT_EQ("hdfs:/b", joinPath(hdfsRoot(), text("/b")).toStdString());
    EXPECT_EQ("hdfs:/b", joinPath(text("hdfs:"), text("b")).toStdString());
    EXPECT_EQ("D:/b/c", joinPath(text("D:"), text("b/c")).toStdString());
    EXPECT_EQ("/b", joinPath(QString(), text("b")).toStdString());
    EXPECT_EQ("D:/", joinPath(text("D:/"), QString()).toStdString());
}

// --- Parents ---

TEST(DialogPaths, TheParentOfTheHdfsRootIsTheComputerLevel)
{
    EXPECT_EQ("", parentOf(text("hdfs:/")));
    EXPECT_EQ("", parentOf(text("hdfs:")));
    EXPECT_EQ("", parentOf(QString()));
}

TEST(DialogPaths, TheParentOfAChildOfTheHdfsRootKeepsTheRootsSlash)
{
    EXPECT_EQ("hdfs:/", parentOf(text("hdfs:/a")));
    EXPECT_EQ("hdfs:/", parentOf(text("hdfs:/data")));
    EXPECT_EQ("hdfs:/", parentOf(text("hdfs://")));
}

TEST(DialogPaths, AParentIsThePathUpToTheLastSlash)
{
    EXPECT_EQ("hdfs:/a", parentOf(text("hdfs:/a/b")));
    EXPECT_EQ("hdfs:/a/b", parentOf(text("hdfs:/a/b/")));
    EXPECT_EQ("hdfs:/a/", parentOf(text("hdfs:/a//b")));
    EXPECT_EQ("hdfs:a", parentOf(text("hdfs:a/b")));
    EXPECT_EQ("D:/a", parentOf(text("D:/a/b")));
    EXPECT_EQ("D:/a", parentOf(text("D:/a/")));
    EXPECT_EQ("abc", parentOf(text("abc/def")));
    EXPECT_EQ("/abc", parentOf(text("/abc/d")));
    EXPECT_EQ("HDFS:", parentOf(text("HDFS:/a")));
    EXPECT_EQ("HDFS:", parentOf(text("HDFS:/")));
}

TEST(DialogPaths, TheParentInADriveIsItsRootAndOfItsRootTheComputerLevel)
{
    EXPECT_EQ("D:/", parentOf(text("D:/a")));
    EXPECT_EQ("D:/", parentOf(text("D:/Program Files")));
    EXPECT_EQ("", parentOf(text("D:/")));
    EXPECT_EQ("ab/", parentOf(text("ab/c")));
    EXPECT_EQ("", parentOf(text("ab/")));
    // Whatever has its slash there counts as a drive.
    EXPECT_EQ("/a/", parentOf(text("/a/b")));
}

TEST(DialogPaths, APathWithoutASlashOrWithOneInFrontHasNoParent)
{
    for (const char *path : {"relative", "D:", "/", "/a", "/abcdef", "a/b", "a/bcd", "//", ".."})
        EXPECT_EQ("", parentOf(text(path))) << path;
}

/// The rule for parents once more, letter by letter.
QString parentLetterByLetter(const QString &path)
{
    int i = -1;
    for (int at = 0; at < path.length(); ++at) {
        if (path[at] == QLatin1Char('/'))
            i = at;
    }
    const char prefix[] = "hdfs:";
    bool isHdfs = path.length() >= 5;
    for (int at = 0; isHdfs && at < 5; ++at)
        isHdfs = path[at] == QLatin1Char(prefix[at]);
    QString parent;
    if (i >= 3) {
        if (isHdfs && path.length() == 6)
            return parent;
        if (isHdfs && i == 5)
            return QString::fromLatin1("hdfs:/");
        for (int at = 0; at < i; ++at)
            parent += path[at];
        return parent;
    }
    if (i == 2 && path.length() != 3) {
        parent += path[0];
        parent += path[1];
        parent += QLatin1Char('/');
    }
    return parent;
}

TEST(DialogPaths, ParentsOfAllShortPathsAndOfManyRandomOnesFollowTheRule)
{
    const QString letters = text("/:hd");
    std::vector<QString> paths(1);
    std::size_t first = 0;
    for (int length = 1; length <= 7; ++length) {
        const std::size_t end = paths.size();
        for (; first < end; ++first) {
            for (const QChar &letter : letters)
                paths.push_back(paths[first] + letter);
        }
    }
    const std::size_t shortPaths = paths.size();
    for (std::size_t i = 0; i < shortPaths; ++i)
        paths.push_back(text("hdfs:") + paths[i]);
    std::mt19937 random(20260101);
    const QStringList pieces = {
        text("hdfs:"),        text("HDFS:"),          text("/"),  text("D:"), text("a"), text(".."), text(" "),
        text("\xe6\xb1\x89"), QString(QChar(0xD83D)), text("\n"), text("\\")};
    for (int i = 0; i < 20000; ++i) {
        QString path;
        for (unsigned piece = random() % 12; piece > 0; --piece)
            path += pieces[static_cast<int>(random() % static_cast<unsigned>(pieces.size()))];
        paths.push_back(path);
    }
    for (const QString &path : strangePaths())
        paths.push_back(path);

    for (const QString &path : paths) {
        ASSERT_EQ(parentLetterByLetter(path), parentPath(path)) << path.left(100).toStdString();
        // So that a walk upwards ends.
        ASSERT_TRUE(path.isEmpty() || parentPath(path).length() < path.length()) << path.left(100).toStdString();
    }
}

// --- What is there ---

class LocalPaths : public ::testing::Test
{
protected:
    LocalPaths()
    {
        QFile made(file);
        made.open(QIODevice::WriteOnly);
    }

    LogCapture log;
    FakeDialogContext context;
    const QTemporaryDir scratch;
    const QString directory = scratch.path();
    const QString file = directory + QLatin1String("/file \xc3\xbc");
    const QString missing = directory + QLatin1String("/missing");
};

TEST_F(LocalPaths, AreJudgedByTheLocalFileSystem)
{
    EXPECT_TRUE(isDirectoryPath(context, directory));
    EXPECT_FALSE(isDirectoryPath(context, file));
    EXPECT_FALSE(isDirectoryPath(context, missing));
    EXPECT_TRUE(pathExists(context, directory));
    EXPECT_TRUE(pathExists(context, file));
    EXPECT_FALSE(pathExists(context, missing));
    EXPECT_EQ(0, context.connectionRequests);
}

TEST_F(LocalPaths, HaveThePermissionsThatQtReports)
{
    const QFile::Permissions permissions =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser | QFile::ReadOther;
    ASSERT_TRUE(QFile::setPermissions(file, permissions));
    EXPECT_EQ(0x6000, pathPermissions(context, file) & 0x6000);
    EXPECT_EQ(static_cast<int>(QFile::permissions(file)), pathPermissions(context, file));
    EXPECT_EQ(0, pathPermissions(context, missing));
    EXPECT_EQ(0, context.connectionRequests);
}

TEST_F(LocalPaths, TheComputerLevelIsADirectoryThatExistsWithoutPermissions)
{
    EXPECT_TRUE(isDirectoryPath(context, QString()));
    EXPECT_TRUE(pathExists(context, QString()));
    EXPECT_EQ(0, pathPermissions(context, QString()));
    EXPECT_TRUE(isDirectoryPath(context, text("")));
    EXPECT_TRUE(pathExists(context, text("")));
    EXPECT_EQ(0, pathPermissions(context, text("")));
    EXPECT_EQ(0, context.connectionRequests);
}

TEST_F(LocalPaths, WithoutAConnectionThereIsNothingOnHdfs)
{
    EXPECT_FALSE(isDirectoryPath(context, hdfsRoot()));
    EXPECT_FALSE(pathExists(context, hdfsRoot()));
    EXPECT_EQ(0, pathPermissions(context, hdfsRoot()));
    // Each asked, so that a connection that could not be made is tried again.
    EXPECT_EQ(3, context.connectionRequests);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(LocalPaths, StrangePathsHarmNobodyWithoutAConnection)
{
    for (const QString &path : strangePaths()) {
        isDirectoryPath(context, path);
        pathExists(context, path);
        pathPermissions(context, path);
    }
    EXPECT_FALSE(isDirectoryPath(context, QString(kVeryLong, QLatin1Char('a'))));
    EXPECT_FALSE(pathExists(context, directory + QChar(0)));
}

class HdfsPaths : public ::testing::Test
{
protected:
    HdfsPaths() { context.nameNode = &connection; }
    void SetUp() override
    {
        ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false,
                                        false, 0, 0));
    }

    void answerWith(oracle::HdfsFileStatusProto::FileType type, std::uint32_t mode)
    {
        oracle::GetFileInfoResponseProto response = fileInfoOf(type);
        response.mutable_fs()->mutable_permission()->set_perm(mode);
        nameNode.forget("getFileInfo");
        nameNode.answer("getFileInfo", response);
    }
    void answerWithNothing()
    {
        nameNode.forget("getFileInfo");
        nameNode.answer("getFileInfo", oracle::GetFileInfoResponseProto());
    }

    std::vector<std::string> askedFor() const
    {
        std::vector<std::string> paths;
        for (const NameNodeCall &call : nameNode.calls("getFileInfo"))
            paths.push_back(call.as<oracle::GetFileInfoRequestProto>().src());
        return paths;
    }

    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
    FakeDialogContext context;
};

TEST_F(HdfsPaths, ADirectoryIsWhatTheNameNodeCallsOne)
{
    answerWith(oracle::HdfsFileStatusProto::IS_DIR, 0755);
    EXPECT_TRUE(isDirectoryPath(context, text("hdfs:/some/directory")));
    answerWith(oracle::HdfsFileStatusProto::IS_FILE, 0755);
    EXPECT_FALSE(isDirectoryPath(context, text("hdfs:/some/file")));
    answerWith(oracle::HdfsFileStatusProto::IS_SYMLINK, 0755);
    EXPECT_FALSE(isDirectoryPath(context, text("hdfs:/some/link")));
    answerWithNothing();
    EXPECT_FALSE(isDirectoryPath(context, text("hdfs:/missing")));
    EXPECT_EQ((std::vector<std::string>{"/some/directory", "/some/file", "/some/link", "/missing"}), askedFor());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsPaths, EverythingThatTheNameNodeKnowsExists)
{
    answerWith(oracle::HdfsFileStatusProto::IS_DIR, 0755);
    EXPECT_TRUE(pathExists(context, text("hdfs:/some/directory")));
    answerWith(oracle::HdfsFileStatusProto::IS_FILE, 0);
    EXPECT_TRUE(pathExists(context, text("hdfs:/some/file")));
    answerWithNothing();
    EXPECT_FALSE(pathExists(context, text("hdfs:/missing")));
    EXPECT_EQ((std::vector<std::string>{"/some/directory", "/some/file", "/missing"}), askedFor());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsPaths, PermissionsAreModeBits)
{
    for (int mode : {0, 0222, 0640, 0755, 01777}) {
        answerWith(oracle::HdfsFileStatusProto::IS_FILE, static_cast<std::uint32_t>(mode));
        EXPECT_EQ(mode, pathPermissions(context, text("hdfs:/some/file")));
    }
    answerWithNothing();
    EXPECT_EQ(0, pathPermissions(context, text("hdfs:/missing")));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(HdfsPaths, OnlyWhetherItIsADirectoryTakesThePrefixInAnyCase)
{
    answerWith(oracle::HdfsFileStatusProto::IS_DIR, 0755);
    EXPECT_TRUE(isDirectoryPath(context, text("HDFS:/x")));
    EXPECT_TRUE(isDirectoryPath(context, text("hDfS:/y")));
    EXPECT_FALSE(pathExists(context, text("HDFS:/x")));
    EXPECT_EQ(0, pathPermissions(context, text("HDFS:/x")));
    EXPECT_EQ((std::vector<std::string>{"/x", "/y"}), askedFor());
}

TEST_F(HdfsPaths, ARefusalIsTakenForNothingThere)
{
    const std::string refusal = "org.apache.hadoop.security.AccessControlException";
    nameNode.answerException("getFileInfo", refusal, "Permission denied: user=tester");
    EXPECT_FALSE(isDirectoryPath(context, text("hdfs:/secret/a")));
    EXPECT_FALSE(pathExists(context, text("hdfs:/secret/a")));
    EXPECT_EQ(0, pathPermissions(context, text("hdfs:/secret/a")));
    EXPECT_EQ(3u, askedFor().size());
    EXPECT_EQ(3u, log.lines().size());
}

TEST_F(HdfsPaths, AnAnswerThatIsNoneIsTakenForNothingThere)
{
    nameNode.answerBytes("getFileInfo", std::string("\0\0\0\x06\x02\x08\x00\x03\x0a\xff", 10));
    EXPECT_FALSE(isDirectoryPath(context, text("hdfs:/a")));
    EXPECT_FALSE(pathExists(context, text("hdfs:/a")));
    EXPECT_EQ(0, pathPermissions(context, text("hdfs:/a")));
    EXPECT_FALSE(log.lines().empty());
}

TEST_F(HdfsPaths, WhenTheNameNodeGoesThereIsNothing)
{
    nameNode.answerClose("getFileInfo");
    EXPECT_FALSE(isDirectoryPath(context, text("hdfs:/a")));
    EXPECT_FALSE(pathExists(context, text("hdfs:/a")));
    EXPECT_EQ(0, pathPermissions(context, text("hdfs:/a")));
    EXPECT_FALSE(log.lines().empty());
}

TEST_F(HdfsPaths, StrangePathsReachTheNameNodeAsTheyAre)
{
    answerWithNothing();
    std::vector<QString> paths = strangePaths();
    paths.push_back(text("hdfs:/the connection goes on"));
    std::vector<std::string> expected;
    for (const QString &path : paths) {
        if (!isHdfsPath(path))
            continue;
        EXPECT_FALSE(pathExists(context, path));
        const QByteArray rest = path.mid(5).toUtf8();
        if (rest.size() < kLongestSent)
            expected.push_back(rest.isEmpty() ? "/" : rest.toStdString());
    }
    ASSERT_LT(20u, expected.size());
    EXPECT_EQ(expected, askedFor());
}

} // namespace
