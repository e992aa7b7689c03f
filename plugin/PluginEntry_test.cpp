// The library as a host gets it: loaded at run time, reached through its entry points and its root object only.
#include "plugin/ImplementationQuorHDFSPluginInterface.h"
#include "plugin/QuorHDFSPluginInterface.h"

#include "rpc/HdfsFileStatus.h"
#include "rpc/NameNodeConnection.h"
#include "testing/LoadedLibrary.h"
#include "testing/NamespaceMessages.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedNameNode.h"
#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonObject>
#include <QtCore/QLibrary>
#include <QtCore/QPluginLoader>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <functional>

namespace oracle = hadoop::oracle;

namespace {

const char kClassName[] = "ImplementationQuorHDFSPluginInterface";

/// The library and the host's library beside it once more, in files that no other test has loaded.
class LibraryCopy
{
public:
    LibraryCopy()
    {
        for (const char *original : {QUORHDFS_LIBRARY, MARROWBYCORE_LIBRARY})
            EXPECT_TRUE(QFile::copy(original, copyOf(original)));
    }
    QString fileName() const { return copyOf(QUORHDFS_LIBRARY); }

    bool isLoaded() const { return isLibraryLoaded(fileName()); }

private:
    QString copyOf(const char *original) const { return m_directory.path() + "/" + QFileInfo(original).fileName(); }

    QTemporaryDir m_directory;
};

/// The class's own operation, which is not part of the interface. The type's description stays in the library, which is
/// why the sanitizer cannot compare it here.
__attribute__((no_sanitize("vptr"))) qint32 connectWithParameters(QObject *root, NameNodeConnection *connection,
                                                                  const QByteArray &host, int port,
                                                                  quint32 preferredAddressIndex, quint8 useSasl,
                                                                  qint32 webHdfs, quint32 reserved)
{
    return static_cast<ImplementationQuorHDFSPluginInterface *>(root)->connectWithParameters(
        connection, host, static_cast<quint32>(port), "explicit", preferredAddressIndex, useSasl, webHdfs, reserved);
}

class PluginEntry : public ::testing::Test
{
protected:
    PluginEntry() : loader(QUORHDFS_LIBRARY) {}

    QObject *root() { return loader.instance(); }
    QuorHDFSPluginInterface *hdfs() { return qobject_cast<QuorHDFSPluginInterface *>(root()); }

    /// What the host's log receives while `action` runs.
    static std::string logOf(const std::function<void()> &action)
    {
        // The host's library writes to standard error, unless it is told otherwise.
        ::testing::internal::CaptureStderr();
        action();
        return ::testing::internal::GetCapturedStderr();
    }

    TemporaryEnvironment noLogFile{"MARROWBY_LOG", nullptr};
    TemporarySettings settings;
    QPluginLoader loader;
};

TEST_F(PluginEntry, IsRecognisedByTheLoader)
{
    EXPECT_EQ("QuorHDFSPluginInterface/1.0", loader.metaData().value("IID").toString().toStdString());
    EXPECT_EQ(kClassName, loader.metaData().value("className").toString().toStdString());
    ASSERT_TRUE(root()) << loader.errorString().toStdString();
    ASSERT_TRUE(hdfs());
}

TEST_F(PluginEntry, SaysTheBuildKeyCharacterForCharacter)
{
    typedef const char *(*Query)();
    const Query query =
        reinterpret_cast<Query>(QLibrary::resolve(QUORHDFS_LIBRARY, "qt_plugin_query_verification_data"));
    ASSERT_TRUE(query);
    EXPECT_STREQ("pattern=QT_PLUGIN_VERIFICATION_DATA\nversion=4.8.7\ndebug=false\n"
                 "buildkey=Windows x64 msvc release full-config",
                 query());
    EXPECT_EQ(query(), query());
}

TEST_F(PluginEntry, ExportsItsEntryPointsAndNothingElse)
{
    ASSERT_TRUE(root());
    QSet<QString> symbols = exportedSymbols(loader.fileName());
    EXPECT_TRUE(symbols.remove("qt_plugin_instance"));
    EXPECT_TRUE(symbols.remove("qt_plugin_query_verification_data"));
    // How Qt 5 finds the interface's identifier.
    symbols.remove("qt_plugin_query_metadata");
    EXPECT_TRUE(symbols.isEmpty()) << QStringList(symbols.values()).join(" ").toStdString();
}

TEST_F(PluginEntry, GivesTheSameObjectUntilTheHostDeletesIt)
{
    typedef QObject *(*Instance)();
    const Instance instance = reinterpret_cast<Instance>(QLibrary::resolve(QUORHDFS_LIBRARY, "qt_plugin_instance"));
    ASSERT_TRUE(instance);
    QPointer<QObject> first = instance();
    ASSERT_TRUE(first);
    EXPECT_EQ(first, instance());
    EXPECT_EQ(first, root());
    EXPECT_EQ(nullptr, first->parent());

    delete first.data();
    EXPECT_FALSE(first);
    QPointer<QObject> second = instance();
    ASSERT_TRUE(second);
    EXPECT_EQ(second, instance());
    EXPECT_EQ(second, root());
    EXPECT_TRUE(qobject_cast<QuorHDFSPluginInterface *>(second.data()));
}

TEST_F(PluginEntry, IsDestroyedAsAWholeThroughItsInterfaceToo)
{
    const QPointer<QObject> first = root();
    delete hdfs();
    EXPECT_FALSE(first);
    EXPECT_TRUE(root());
}

TEST_F(PluginEntry, LeavesTheProcessWhenItIsUnloadedAndComesBack)
{
    const LibraryCopy copy;
    OpenDescriptors descriptors;
    for (int i = 0; i < 3; ++i) {
        QPluginLoader own(copy.fileName());
        // Without this a loader of Qt 5 keeps the library in the process for ever.
        own.setLoadHints(QLibrary::LoadHints());
        const QPointer<QObject> object = own.instance();
        ASSERT_TRUE(object) << own.errorString().toStdString();
        EXPECT_TRUE(copy.isLoaded());
        EXPECT_TRUE(own.unload());
        EXPECT_FALSE(object);
        EXPECT_FALSE(copy.isLoaded());
    }
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(PluginEntry, MayBeUnloadedAfterTheHostDeletedItsObject)
{
    const LibraryCopy copy;
    QPluginLoader own(copy.fileName());
    own.setLoadHints(QLibrary::LoadHints());
    delete own.instance();
    EXPECT_TRUE(copy.isLoaded());
    EXPECT_TRUE(own.unload());
    EXPECT_FALSE(copy.isLoaded());
}

TEST_F(PluginEntry, AnswersToTheNamesOfItsClassesExactly)
{
    QObject *const object = root();
    QuorHDFSPluginInterface *const interface = hdfs();
    EXPECT_EQ(static_cast<void *>(object), object->qt_metacast(kClassName));
    EXPECT_EQ(static_cast<void *>(interface), object->qt_metacast("QuorHDFSPluginInterface"));
    EXPECT_EQ(static_cast<void *>(interface), object->qt_metacast("QuorHDFSPluginInterface/1.0"));
    EXPECT_EQ(static_cast<void *>(object), object->qt_metacast("QObject"));
    EXPECT_NE(static_cast<void *>(object), static_cast<void *>(interface));
    EXPECT_EQ(nullptr, object->qt_metacast(nullptr));
    for (const char *name : {"", "quorhdfsplugininterface", "QuorHDFSPluginInterface/1.1", "QuorHDFSPluginInterface/1",
                             "QuorHDFSPluginInterface ", "QWidget"})
        EXPECT_EQ(nullptr, object->qt_metacast(name)) << name;
}

TEST_F(PluginEntry, HasAMetaObjectWithNothingOfItsOwn)
{
    const QMetaObject *const meta = root()->metaObject();
    EXPECT_STREQ(kClassName, meta->className());
    ASSERT_EQ(&QObject::staticMetaObject, meta->superClass());
    EXPECT_EQ(meta->methodOffset(), meta->methodCount());
    EXPECT_EQ(meta->propertyOffset(), meta->propertyCount());
}

TEST_F(PluginEntry, StartsTheNetworkOnceAndSaysReadyEachTime)
{
    EXPECT_EQ(0, hdfs()->initialize());
    const OpenDescriptors descriptors;
    EXPECT_EQ(0, hdfs()->initialize());
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(PluginEntry, TakesNullHandlesWhereHostsMayPassThem)
{
    QuorHDFSPluginInterface *const interface = hdfs();
    const std::string log = logOf([interface] {
        interface->deleteConnection(nullptr);
        interface->deleteReader(nullptr);
        interface->deleteWriter(nullptr);
        interface->freeListing(nullptr);
    });
    EXPECT_EQ("", log);
}

TEST_F(PluginEntry, ShowsNoDialogInAProcessWithoutAUserInterface)
{
    QuorHDFSPluginInterface *const interface = hdfs();
    const std::function<QString()> operations[] = {
        [=] { return interface->getOpenFileName(nullptr, "c", "d", "f"); },
        [=] { return interface->getSaveFileName(nullptr, "c", "d", "f"); },
        [=] { return interface->getExistingDirectory(nullptr, "c", "d"); },
    };
    for (const auto &operation : operations) {
        QString path = "untouched";
        const std::string log = logOf([&] { path = operation(); });
        EXPECT_EQ(QString(), path);
        EXPECT_EQ("Warning HDFS: no file dialog in a process without a user interface\n", log);
    }
}

TEST_F(PluginEntry, ConnectsWithExplicitValuesAndTouchesNoSettings)
{
    settings.set("hdfs", "not.this.one:1|5|nobody");
    settings.set("webhdfs", "0");
    const QByteArray before = settings.content();
    ScriptedNameNode nameNode;
    {
        NameNodeConnection connection;
        ASSERT_EQ(0, connectWithParameters(root(), &connection, "127.0.0.1", nameNode.port(), 3, 0x80, -1, 5));
        EXPECT_TRUE(connection.useSasl);
        EXPECT_TRUE(connection.useWebHdfs);
        EXPECT_EQ(0u, connection.preferredAddressIndex);
        connection.disconnect();
        ASSERT_EQ(0, connectWithParameters(root(), &connection, "127.0.0.1", nameNode.port(), 0, 0, 0, 0));
        EXPECT_FALSE(connection.useSasl);
        EXPECT_FALSE(connection.useWebHdfs);
        connection.disconnect();
        RefusingPort refusing;
        const std::string log = logOf([&] {
            EXPECT_EQ(1, connectWithParameters(root(), &connection, "127.0.0.1", refusing.port(), 0, 0, 0, 0));
        });
        EXPECT_EQ("TCPIP connect failed\n", log);
    }
    nameNode.peer().waitUntilOver(2);
    ASSERT_EQ(2u, nameNode.introductions().size());
    EXPECT_EQ("explicit", nameNode.introductions()[0].user);
    EXPECT_EQ(0xDF, nameNode.introductions()[0].authProtocol);
    EXPECT_EQ(0, nameNode.introductions()[1].authProtocol);
    EXPECT_EQ(before, settings.content());
}

TEST_F(PluginEntry, ReportsAConnectThatFailsInTheHostsLog)
{
    RefusingPort refusing;
    settings.set("hdfs", "127.0.0.1:" + QString::number(refusing.port()));
    NameNodeConnection *connection = nullptr;
    const std::string log = logOf([this, &connection] { connection = hdfs()->connect(); });
    EXPECT_EQ(nullptr, connection);
    // The last line brings a line feed of its own.
    EXPECT_EQ(0u, log.find("TCPIP connect failed\nConnection to HDFS failed.\n")) << log;
}

/// A host on a connection of the user's settings.
class PluginSession : public PluginEntry
{
protected:
    void SetUp() override
    {
        settings.set("hdfs", "127.0.0.1:" + QString::number(nameNode.port()) + "|0|host-user");
        ASSERT_EQ(0, hdfs()->initialize());
        connection = hdfs()->connect();
        ASSERT_TRUE(connection);
    }
    ~PluginSession() override { hdfs()->deleteConnection(connection); }

    ScriptedNameNode nameNode;
    NameNodeConnection *connection = nullptr;
};

TEST_F(PluginSession, PassesEveryNamespaceOperationOn)
{
    oracle::DeleteResponseProto yes;
    yes.set_result(true);
    for (const char *method : {"rename", "delete", "mkdirs", "setReplication"})
        nameNode.answer(method, yes);
    nameNode.answer("setPermission", oracle::SetPermissionResponseProto());
    nameNode.answer("setOwner", oracle::SetOwnerResponseProto());
    nameNode.answer("getFileInfo", fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE));
    nameNode.answer("getListing", listingPage({"one", "two"}, 0));

    bool exists = false, isFile = false, failed = true;
    EXPECT_EQ(0, hdfs()->fileExists(connection, "/f", &exists, &isFile));
    EXPECT_TRUE(exists && isFile);
    HdfsFileStatus *record = hdfs()->fileInfo(connection, "/f", &failed);
    ASSERT_TRUE(record);
    EXPECT_FALSE(failed);
    EXPECT_EQ(12345u, record->length);
    hdfs()->freeListing(record);
    qint32 count = -5;
    HdfsFileStatus *head = hdfs()->getListing(connection, "/", &count);
    ASSERT_TRUE(head);
    EXPECT_EQ(2, count);
    EXPECT_STREQ("two", head->next->path.data);
    hdfs()->freeListing(head);
    EXPECT_EQ(0, hdfs()->rename(connection, "/from", "/to"));
    EXPECT_EQ(0, hdfs()->delete_(connection, "/gone", 2));
    EXPECT_EQ(0, hdfs()->mkdirs(connection, "/made", 01777, 0x80));
    EXPECT_EQ(0, hdfs()->setReplication(connection, "/f", 5));
    EXPECT_EQ(1, hdfs()->setPermission(connection, "/f", 01755));
    EXPECT_EQ(1, hdfs()->setOwner(connection, "/f", "user", "group"));

    EXPECT_EQ("host-user", nameNode.introductions().at(0).user);
    EXPECT_EQ("/from", nameNode.calls("rename").at(0).as<oracle::RenameRequestProto>().src());
    EXPECT_EQ("/to", nameNode.calls("rename").at(0).as<oracle::RenameRequestProto>().dst());
    EXPECT_TRUE(nameNode.calls("delete").at(0).as<oracle::DeleteRequestProto>().recursive());
    EXPECT_TRUE(nameNode.calls("mkdirs").at(0).as<oracle::MkdirsRequestProto>().createparent());
    EXPECT_EQ(01777u, nameNode.calls("mkdirs").at(0).as<oracle::MkdirsRequestProto>().masked().perm());
    EXPECT_EQ(5u, nameNode.calls("setReplication").at(0).as<oracle::SetReplicationRequestProto>().replication());
    EXPECT_EQ(01755u,
              nameNode.calls("setPermission").at(0).as<oracle::SetPermissionRequestProto>().permission().perm());
    EXPECT_EQ("group", nameNode.calls("setOwner").at(0).as<oracle::SetOwnerRequestProto>().groupname());
}

TEST_F(PluginSession, PassesEveryReaderOperationOn)
{
    oracle::GetBlockLocationsResponseProto locations;
    locations.mutable_locations()->set_filelength(5000000000ull);
    locations.mutable_locations()->set_underconstruction(false);
    locations.mutable_locations()->set_islastblockcomplete(true);
    nameNode.answer("getBlockLocations", locations);
    HdfsFileReader *const reader = hdfs()->openReader(connection, "/f");
    ASSERT_TRUE(reader);
    EXPECT_EQ(5000000000, hdfs()->fileLength(reader));
    EXPECT_EQ(0, hdfs()->position(reader));
    hdfs()->setPosition(reader, 5000000000);
    EXPECT_EQ(5000000000, hdfs()->position(reader));
    char buffer[4];
    qint32 blockIndex = 0;
    EXPECT_EQ(0u, hdfs()->read(reader, buffer, sizeof buffer, &blockIndex));
    EXPECT_EQ(0u, hdfs()->read(reader, buffer, sizeof buffer, nullptr));
    hdfs()->freeBlockList(reader);
    hdfs()->deleteReader(reader);
    nameNode.answerException("getBlockLocations", "java.io.FileNotFoundException", "File does not exist: /missing");
    nameNode.forget("getBlockLocations");
    nameNode.answerException("getBlockLocations", "java.io.FileNotFoundException", "File does not exist: /missing");
    const std::string log = logOf([this] { EXPECT_EQ(nullptr, hdfs()->openReader(connection, "/missing")); });
    EXPECT_EQ(0u,
              log.find("ExceptionClassName=java.io.FileNotFoundException\nerrorMsg=File does not exist: /missing\n"))
        << log;
}

TEST_F(PluginSession, PassesEveryWriterOperationOn)
{
    nameNode.answerException("create", "org.apache.hadoop.security.AccessControlException", "no");
    HdfsFileWriter *const writer = hdfs()->createWriter(connection, "/f", 0640, 7, 1048576);
    ASSERT_TRUE(writer);
    EXPECT_EQ(0, hdfs()->syncBlock(writer));
    hdfs()->setSyncBlock(writer, 3);
    EXPECT_EQ(3, hdfs()->syncBlock(writer));
    EXPECT_EQ(1024u, hdfs()->chunkSize(writer));
    EXPECT_FALSE(hdfs()->setChunkSize(writer, 512));
    EXPECT_EQ(512u, hdfs()->chunkSize(writer));
    logOf([this, writer] { EXPECT_TRUE(hdfs()->setChunkSize(writer, 1000)); });
    EXPECT_EQ(1000u, hdfs()->chunkSize(writer));
    EXPECT_EQ(0, hdfs()->write(writer, "12345", 5));
    EXPECT_EQ(5, hdfs()->bytesWritten(writer));
    EXPECT_TRUE(nameNode.calls().empty());
    const std::string log = logOf([this, writer] {
        EXPECT_EQ(4, hdfs()->closeWriter(writer, "678", 3));
        EXPECT_EQ(8, hdfs()->bytesWritten(writer));
        EXPECT_EQ(2, hdfs()->write(writer, "9", 1));
        hdfs()->deleteWriter(writer);
    });
    EXPECT_EQ("ExceptionClassName=org.apache.hadoop.security.AccessControlException\nerrorMsg=no\n", log);
    ASSERT_EQ(1u, nameNode.calls().size());
    const oracle::CreateRequestProto request = nameNode.calls("create")[0].as<oracle::CreateRequestProto>();
    EXPECT_EQ("/f", request.src());
    EXPECT_EQ(0640u, request.masked().perm());
    EXPECT_EQ(7u, request.replication());
    EXPECT_EQ(1048576u, request.blocksize());
    logOf([this] { EXPECT_EQ(nullptr, hdfs()->createWriter(connection, "/f", 0640, 7, 1000)); });
}

TEST_F(PluginSession, DeletedWriterIsClosedBefore)
{
    nameNode.answerException("create", "org.apache.hadoop.security.AccessControlException", "no");
    HdfsFileWriter *const writer = hdfs()->createWriter(connection, "/f", 0640, 7, 1048576);
    ASSERT_TRUE(writer);
    EXPECT_EQ(0, hdfs()->write(writer, "12345", 5));
    logOf([this, writer] { hdfs()->deleteWriter(writer); });
    EXPECT_EQ(1u, nameNode.calls("create").size());
}

TEST_F(PluginSession, PassesTheCopyOn)
{
    nameNode.answer("getFileInfo", oracle::GetFileInfoResponseProto());
    const std::string log = logOf([this] { EXPECT_EQ(3, hdfs()->copy(connection, "/from", "/to")); });
    EXPECT_EQ("File not found\n", log);
    EXPECT_EQ("/from", nameNode.calls("getFileInfo").at(0).as<oracle::GetFileInfoRequestProto>().src());
}

TEST_F(PluginSession, DisconnectsAndKeepsTheConnectionObject)
{
    EXPECT_EQ(0, hdfs()->disconnect(connection));
    EXPECT_EQ(0, hdfs()->disconnect(connection));
    nameNode.peer().waitUntilOver(1);
    qint32 count = 0;
    const std::string log = logOf([this, &count] { EXPECT_EQ(nullptr, hdfs()->getListing(connection, "/", &count)); });
    EXPECT_EQ(-1, count);
    EXPECT_EQ("Not connected any more to NameNode\n", log);
}

TEST_F(PluginSession, HoldsSeveralConnectionsAtOnce)
{
    NameNodeConnection *const other = hdfs()->connect();
    ASSERT_TRUE(other);
    EXPECT_NE(connection, other);
    nameNode.answer("getListing", listingPage({}, 0));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(nullptr, hdfs()->getListing(connection, "/", nullptr));
        EXPECT_EQ(nullptr, hdfs()->getListing(other, "/", nullptr));
    }
    hdfs()->deleteConnection(other);
    EXPECT_EQ(6u, nameNode.calls().size());
}

} // namespace
