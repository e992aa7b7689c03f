// Connecting to the real NameNode: from the settings, at the right one of several addresses, again and again, and
// through the plug-in itself.
#include "testing/cluster/RealClusterTest.h"

#include "plugin/ConnectionSetup.h"
#include "plugin/QuorHDFSPluginInterface.h"
#include "testing/OpenDescriptors.h"
#include "testing/SystemCallFaults.h"
#include "testing/TemporarySettings.h"

#include <QtCore/QPluginLoader>

namespace {

class RealConnection : public RealClusterTest
{
protected:
    QString address() const
    {
        return QString::fromLatin1(cluster.host()) + QLatin1Char(':') + QString::number(cluster.port());
    }

    std::string at(const char *numericAddress) const
    {
        return std::string(numericAddress) + ":" + std::to_string(cluster.port());
    }

    /// The owner of a directory that this connection makes: the user that the NameNode takes it for.
    QByteArray userOf(NameNodeConnection *someConnection)
    {
        const QByteArray path = directory() + "/made";
        EXPECT_EQ(ClientProtocol::Done, ClientProtocol::mkdirs(someConnection, path, 0755, false));
        const QByteArray owner = cluster.dfs({"-stat", "%u", path}).trimmed();
        cluster.dfs({"-rm", "-r", path});
        return owner;
    }

    TemporarySettings settings;
};

const char kHdfs[] = "hdfs";

} // namespace

TEST_F(RealConnection, SettingsWithAUserConnectAsThatUser)
{
    settings.set(kHdfs, address() + QLatin1String("|0|alice"));
    QString user;
    const std::unique_ptr<NameNodeConnection> own(connectFromSettings(&user));
    ASSERT_TRUE(own != nullptr);
    EXPECT_EQ(QLatin1String("alice"), user);
    EXPECT_EQ("alice", userOf(own.get()));
    EXPECT_EQ(address() + QLatin1String("|0|alice"), settings.get(kHdfs));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, SettingsWithoutAUserConnectAsTheSystemsUser)
{
    const TemporaryEnvironment environment("USERNAME", "bob");
    settings.set(kHdfs, address());
    QString user;
    const std::unique_ptr<NameNodeConnection> own(connectFromSettings(&user));
    ASSERT_TRUE(own != nullptr);
    EXPECT_EQ(QLatin1String("bob"), user);
    EXPECT_EQ("bob", userOf(own.get()));
    EXPECT_EQ(address(), settings.get(kHdfs));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, UserNamesInUtf8ReachTheNameNode)
{
    const QString name = QString::fromUtf8("j\xC3\xBCrgen");
    settings.set(kHdfs, address() + QLatin1String("|0|") + name);
    const std::unique_ptr<NameNodeConnection> own(connectFromSettings(nullptr));
    ASSERT_TRUE(own != nullptr);
    EXPECT_EQ(name.toUtf8(), userOf(own.get()));
}

TEST_F(RealConnection, PortWhereNobodyListensFails)
{
    settings.set(kHdfs, QString::fromLatin1(cluster.host()) + QLatin1String(":1|0|alice"));
    EXPECT_EQ(nullptr, connectFromSettings(nullptr));
    EXPECT_TRUE(log.holds({"TCPIP connect failed", "Connection to HDFS failed.\n"}));
}

TEST_F(RealConnection, NameThatResolvesToIpv6FirstIsReachedAtItsSecondAddress)
{
    const QByteArray path = cluster.patternFile("small", 5000, FileLayout(kMiB, 3));
    SystemCallFaults system;
    system.resolveTo({{"::1", 0}, {"127.0.0.1", 0}});
    connection = cluster.connect();
    EXPECT_EQ(1u, connection->preferredAddressIndex);
    EXPECT_EQ((std::vector<std::string>{at("::1"), at("127.0.0.1")}), system.connected());
    EXPECT_TRUE(info("/") != nullptr);

    // The DataNodes are tried at the address that was good for the NameNode, and found there at once.
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_TRUE(readsPattern(reader.get(), 0, 5000));
    EXPECT_EQ(3u, system.connected().size());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, NameThatResolvesToIpv4FirstIsReachedAtItsFirstAddress)
{
    SystemCallFaults system;
    system.resolveTo({{"127.0.0.1", 0}, {"::1", 0}});
    connection = cluster.connect();
    EXPECT_EQ(0u, connection->preferredAddressIndex);
    EXPECT_EQ(std::vector<std::string>{at("127.0.0.1")}, system.connected());
}

TEST_F(RealConnection, AddressThatWasReachedIsRememberedAndTriedFirstNextTime)
{
    SystemCallFaults system;
    system.resolveTo({{"::1", 0}, {"127.0.0.1", 0}});
    settings.set(kHdfs, address() + QLatin1String("|0|alice|kept"));
    std::unique_ptr<NameNodeConnection> own(connectFromSettings(nullptr));
    ASSERT_TRUE(own != nullptr);
    EXPECT_EQ(address() + QLatin1String("|1|alice|kept"), settings.get(kHdfs));

    const std::size_t before = system.connected().size();
    own.reset(connectFromSettings(nullptr));
    ASSERT_TRUE(own != nullptr);
    ASSERT_EQ(before + 1, system.connected().size());
    EXPECT_EQ(at("127.0.0.1"), system.connected().back());
    EXPECT_EQ(address() + QLatin1String("|1|alice|kept"), settings.get(kHdfs));

    // The machine's resolver has changed its mind: the remembered one is another address now.
    system.resolveTo({{"127.0.0.1", 0}, {"::1", 0}});
    own.reset(connectFromSettings(nullptr));
    ASSERT_TRUE(own != nullptr);
    EXPECT_EQ(address() + QLatin1String("|0|alice|kept"), settings.get(kHdfs));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, AddressIsRememberedInASettingThatHoldsAHostOnly)
{
    const TemporaryEnvironment environment("USERNAME", "bob");
    SystemCallFaults system;
    system.resolveTo({{"::1", 0}, {"127.0.0.1", 0}});
    settings.set(kHdfs, address());
    const std::unique_ptr<NameNodeConnection> own(connectFromSettings(nullptr));
    ASSERT_TRUE(own != nullptr);
    EXPECT_EQ(address() + QLatin1String("|1"), settings.get(kHdfs));
}

TEST_F(RealConnection, ThousandConnectsAndDisconnectsLeaveNoDescriptorBehind)
{
    const OpenDescriptors before;
    NameNodeConnection again;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(0, again.connect(cluster.host(), cluster.port(), "alice", 0, false, false, 10000, 10000));
        bool failed = true;
        const StatusList root(ClientProtocol::fileInfo(&again, "/", &failed));
        ASSERT_TRUE(root != nullptr) << i;
        ASSERT_EQ(0, again.disconnect());
        ASSERT_EQ(0, before.opened()) << i;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, ThousandConnectionsThatReadLeaveNoDescriptorBehind)
{
    const QByteArray path = cluster.patternFile("small", 5000, FileLayout(kMiB, 3));
    const OpenDescriptors before;
    for (int i = 0; i < 1000; ++i) {
        const std::unique_ptr<NameNodeConnection> own = cluster.connect("alice");
        const Reader reader(HdfsFileReader::open(own.get(), path));
        ASSERT_TRUE(reader != nullptr) << i;
        ASSERT_TRUE(readsPattern(reader.get(), i, 1000)) << i;
    }
    EXPECT_EQ(0, before.opened());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, HundredConnectionsStayOpenSideBySide)
{
    std::vector<std::unique_ptr<NameNodeConnection>> many;
    for (int i = 0; i < 100; ++i)
        many.push_back(cluster.connect(i % 2 ? "alice" : "bob"));
    for (int turn = 0; turn < 3; ++turn) {
        for (const std::unique_ptr<NameNodeConnection> &one : many) {
            bool failed = true;
            const StatusList root(ClientProtocol::fileInfo(one.get(), "/", &failed));
            ASSERT_TRUE(root != nullptr);
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealConnection, HostDoesItsWholeWorkThroughTheLoadedPlugin)
{
    const QByteArray path = cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3));
    settings.set(kHdfs, address() + QLatin1String("|0|alice"));
    QPluginLoader loader(QString::fromLocal8Bit(QUORHDFS_LIBRARY));
    QuorHDFSPluginInterface *hdfs = qobject_cast<QuorHDFSPluginInterface *>(loader.instance());
    ASSERT_TRUE(hdfs != nullptr) << loader.errorString().toStdString();
    ASSERT_EQ(0, hdfs->initialize());
    NameNodeConnection *own = hdfs->connect();
    ASSERT_TRUE(own != nullptr);

    const QByteArray made = directory() + "/made";
    EXPECT_EQ(0, hdfs->mkdirs(own, made + "/inner", 0750, 1));
    EXPECT_EQ(0, hdfs->rename(own, made + "/inner", made + "/renamed"));
    EXPECT_EQ(1, hdfs->setPermission(own, made + "/renamed", 0701));
    EXPECT_EQ(1, hdfs->setOwner(own, made + "/renamed", "", "staff"));
    EXPECT_EQ(5, hdfs->delete_(own, made, 0));
    EXPECT_EQ("701 alice:staff", cluster.dfs({"-stat", "%a %u:%g", made + "/renamed"}).trimmed());

    qint32 count = 0;
    HdfsFileStatus *listing = hdfs->getListing(own, made, &count);
    EXPECT_EQ(1, count);
    EXPECT_EQ(cluster.client({"list", made}), describeAll(listing));
    hdfs->freeListing(listing);
    bool exists = false;
    bool isFile = false;
    EXPECT_EQ(0, hdfs->fileExists(own, path, &exists, &isFile));
    EXPECT_TRUE(exists && isFile);
    bool failed = true;
    HdfsFileStatus *status = hdfs->fileInfo(own, path, &failed);
    ASSERT_TRUE(status != nullptr);
    EXPECT_EQ(std::uint64_t(3 * kMiB + 700001), status->length);
    hdfs->freeListing(status);

    HdfsFileReader *reader = hdfs->openReader(own, path);
    ASSERT_TRUE(reader != nullptr);
    ASSERT_EQ(3 * kMiB + 700001, hdfs->fileLength(reader));
    std::vector<char> bytes(2 * kMiB);
    hdfs->setPosition(reader, kMiB / 2 + 1);
    qint32 block = 0;
    EXPECT_EQ(2 * kMiB, hdfs->read(reader, bytes.data(), static_cast<quint32>(bytes.size()), &block));
    EXPECT_EQ(-1, firstDifferenceFromPattern(bytes.data(), 2 * kMiB, kMiB / 2 + 1));
    EXPECT_EQ(2, block);
    EXPECT_EQ(2 * kMiB + kMiB / 2 + 1, hdfs->position(reader));
    hdfs->deleteReader(reader);

    EXPECT_EQ(0, hdfs->delete_(own, made, 1));
    EXPECT_EQ(0, hdfs->disconnect(own));
    EXPECT_EQ(2, hdfs->mkdirs(own, made, 0755, 1));
    hdfs->deleteConnection(own);
    EXPECT_TRUE(loader.unload());
}
