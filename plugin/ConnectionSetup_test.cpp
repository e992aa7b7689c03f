#include "plugin/ConnectionSetup.h"

#include "rpc/NameNodeConnection.h"
#include "testing/LogCapture.h"
#include "testing/NewedBlocks.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SystemCallFaults.h"
#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

namespace {

const char kConnectFailed[] = "TCPIP connect failed";
const char kSetUpFailed[] = "Connection to HDFS failed.\n";

QString text(const std::string &utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}

class ConnectionSetup : public ::testing::Test
{
protected:
    ConnectionSetup() : environment("USERNAME", "from-environment") {}

    /// What a value makes the plug-in ask for; nothing is connected to.
    struct Attempt {
        bool isConfigured;
        std::string address; ///< what was connected to first, as "ADDRESS:PORT"
        std::string user;
    };

    Attempt attemptWith(const std::string &value)
    {
        settings.set("hdfs", text(value));
        SystemCallFaults faults;
        faults.resolveTo(
            {ResolvedAddress{"10.0.0.1", 0}, ResolvedAddress{"10.0.0.2", 0}, ResolvedAddress{"10.0.0.3", 0}});
        faults.failFrom(SystemCall::Connect, 0, ECONNREFUSED);
        QString user = "untouched";
        EXPECT_EQ(nullptr, connectFromSettings(&user));
        Attempt attempt;
        attempt.isConfigured = faults.count(SystemCall::Resolve) > 0;
        attempt.address = faults.connected().empty() ? "" : faults.connected().front();
        attempt.user = user.toStdString();
        return attempt;
    }

    /// Connects by a value; `%1` in it is the NameNode's port.
    bool connectWith(const std::string &value, QString *user = nullptr)
    {
        settings.set("hdfs", text(value).arg(nameNode.port()));
        connection.reset(connectFromSettings(user));
        return connection != nullptr;
    }

    LogCapture log;
    TemporarySettings settings;
    TemporaryEnvironment environment;
    ScriptedNameNode nameNode;
    std::unique_ptr<NameNodeConnection> connection;
};

TEST_F(ConnectionSetup, WithoutASettingThereIsNoConnectionAndNoMessage)
{
    QString user = "untouched";
    EXPECT_EQ(nullptr, connectFromSettings(&user));
    EXPECT_EQ(nullptr, connectFromSettings(nullptr));
    EXPECT_EQ("untouched", user.toStdString());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ConnectionSetup, WithoutAHostThereIsNoConnectionAndNoMessage)
{
    for (const char *value :
         {"", "|", "|1", "|1|user", ":9000", ":9000|1|user", ",second:9000", ":", ",", "||||", ":|:"}) {
        const Attempt attempt = attemptWith(value);
        EXPECT_FALSE(attempt.isConfigured) << value;
        EXPECT_EQ("untouched", attempt.user) << value;
        EXPECT_EQ(value, settings.get("hdfs").toStdString());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ConnectionSetup, WithoutAHostTheConnectionObjectIsLeftAllocated)
{
    NewedBlocks blocks;
    EXPECT_EQ(nullptr, connectFromSettings(nullptr));
    const std::vector<void *> left = blocks.left(sizeof(NameNodeConnection));
    ASSERT_EQ(1u, left.size());
    delete static_cast<NameNodeConnection *>(left[0]);
}

TEST_F(ConnectionSetup, AFailedConnectLeavesNoConnectionObjectBehind)
{
    NewedBlocks blocks;
    RefusingPort refusing;
    settings.set("hdfs", "127.0.0.1:" + QString::number(refusing.port()));
    EXPECT_EQ(nullptr, connectFromSettings(nullptr));
    EXPECT_TRUE(blocks.left(sizeof(NameNodeConnection)).empty());
}

TEST_F(ConnectionSetup, EveryShapeOfAValueHasItsHostPortIndexAndUser)
{
    const struct {
        const char *value;
        const char *address;
        const char *user;
    } shapes[] = {
        {"namenode", "10.0.0.1:8020", "from-environment"},
        {"namenode:9000", "10.0.0.1:9000", "from-environment"},
        // A port that is no number is 0, not the default.
        {"namenode:", "10.0.0.1:0", "from-environment"},
        {"namenode:ipc", "10.0.0.1:0", "from-environment"},
        {"namenode:90x0", "10.0.0.1:0", "from-environment"},
        {"namenode:0x10", "10.0.0.1:0", "from-environment"},
        {"namenode:99999999999", "10.0.0.1:0", "from-environment"},
        {"namenode: 9000 ", "10.0.0.1:9000", "from-environment"},
        {"namenode:9000:9001", "10.0.0.1:9000", "from-environment"},
        // Only the first of several addresses counts.
        {"namenode:9000,second:9001", "10.0.0.1:9000", "from-environment"},
        {"namenode,second:9001", "10.0.0.1:8020", "from-environment"},
        {"namenode,", "10.0.0.1:8020", "from-environment"},
        {"namenode:9000,second:9001,third|2|user", "10.0.0.3:9000", "user"},
        // The address that is tried first.
        {"namenode|0", "10.0.0.1:8020", "from-environment"},
        {"namenode|1", "10.0.0.2:8020", "from-environment"},
        {"namenode|2", "10.0.0.3:8020", "from-environment"},
        {"namenode|3", "10.0.0.1:8020", "from-environment"},
        {"namenode|99999999999", "10.0.0.1:8020", "from-environment"},
        {"namenode|-1", "10.0.0.1:8020", "from-environment"},
        {"namenode|second", "10.0.0.1:8020", "from-environment"},
        {"namenode|1x", "10.0.0.1:8020", "from-environment"},
        {"namenode|", "10.0.0.1:8020", "from-environment"},
        {"namenode|1,2", "10.0.0.1:8020", "from-environment"},
        // The user.
        {"namenode|1|", "10.0.0.2:8020", "from-environment"},
        {"namenode|1|user", "10.0.0.2:8020", "user"},
        {"namenode||user", "10.0.0.1:8020", "user"},
        {"namenode|1|user|more|and more", "10.0.0.2:8020", "user"},
        {"namenode|1||more", "10.0.0.2:8020", "from-environment"},
        {"namenode|1| ", "10.0.0.2:8020", " "},
        {"namenode|1|J\xc3\xbcrgen \xe6\xb1\x89", "10.0.0.2:8020", "J\xc3\xbcrgen \xe6\xb1\x89"},
        {"namenode|1|user:with,signs", "10.0.0.2:8020", "user:with,signs"},
    };
    for (const auto &shape : shapes) {
        const Attempt attempt = attemptWith(shape.value);
        EXPECT_TRUE(attempt.isConfigured) << shape.value;
        EXPECT_EQ(shape.address, attempt.address) << shape.value;
        EXPECT_EQ(shape.user, attempt.user) << shape.value;
        EXPECT_TRUE(log.takes({kConnectFailed, kSetUpFailed})) << shape.value;
        // Nothing was reached: nothing is learned.
        EXPECT_EQ(shape.value, settings.get("hdfs").toStdString());
    }
}

TEST_F(ConnectionSetup, AHandWrittenValueWithCommasIsTakenWhole)
{
    settings.writeByHand("hdfs", "127.0.0.1:" + QString::number(nameNode.port()) + ",second:9001|0|someone");
    QString user;
    connection.reset(connectFromSettings(&user));
    ASSERT_TRUE(connection);
    EXPECT_EQ("someone", user.toStdString());
    EXPECT_EQ("127.0.0.1", connection->host);
}

TEST_F(ConnectionSetup, TheConnectionHasWhatTheSettingsSay)
{
    settings.set("webhdfs", "1");
    QString user;
    ASSERT_TRUE(connectWith("127.0.0.1:%1|0|J\xc3\xbcrgen", &user));
    EXPECT_EQ("J\xc3\xbcrgen", user.toStdString());
    EXPECT_EQ("127.0.0.1", connection->host);
    EXPECT_EQ(static_cast<std::uint32_t>(nameNode.port()), connection->port);
    EXPECT_EQ("J\xc3\xbcrgen", connection->user);
    EXPECT_FALSE(connection->useSasl);
    EXPECT_TRUE(connection->useWebHdfs);
    connection.reset();
    nameNode.peer().waitUntilOver(1);
    ASSERT_EQ(1u, nameNode.introductions().size());
    EXPECT_EQ(0, nameNode.introductions()[0].authProtocol);
    EXPECT_EQ("J\xc3\xbcrgen", nameNode.introductions()[0].user);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ConnectionSetup, AUserNameOfAnyAlphabetIsSentInUtf8)
{
    const std::vector<std::string> names = {"J\xc3\xbcrgen",
                                            "\xd0\x98\xd0\xb2\xd0\xb0\xd0\xbd \xd0\x9f.",
                                            "\xe6\xb1\x89\xe5\xad\x97",
                                            "\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d",
                                            "e\xcc\x81",
                                            "\xf0\x9f\x90\x98"};
    for (const std::string &name : names) {
        QString user;
        ASSERT_TRUE(connectWith("127.0.0.1:%1|0|" + name, &user)) << name;
        EXPECT_EQ(name, user.toStdString());
    }
    connection.reset();
    nameNode.peer().waitUntilOver(names.size());
    ASSERT_EQ(names.size(), nameNode.introductions().size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(names[i], nameNode.introductions()[i].user);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ConnectionSetup, AUserNameOfTheEnvironmentIsInTheSystemsEncoding)
{
    const QByteArray local = QString::fromUtf8("J\xc3\xbcrgen").toLocal8Bit();
    const std::string name = QString::fromLocal8Bit(local).toStdString();
    const TemporaryEnvironment own("USERNAME", local.constData());
    QString user;
    ASSERT_TRUE(connectWith("127.0.0.1:%1", &user));
    EXPECT_EQ(name, user.toStdString());
    connection.reset();
    nameNode.peer().waitUntilOver(1);
    ASSERT_EQ(1u, nameNode.introductions().size());
    EXPECT_EQ(name, nameNode.introductions()[0].user);
}

TEST_F(ConnectionSetup, TheUserNeedNotBeAskedFor)
{
    ASSERT_TRUE(connectWith("127.0.0.1:%1"));
    EXPECT_EQ("from-environment", connection->user);
}

TEST_F(ConnectionSetup, WithoutAnyUserNameTheUserIsEmpty)
{
    TemporaryEnvironment nobody("USERNAME", nullptr);
    QString user = "untouched";
    ASSERT_TRUE(connectWith("127.0.0.1:%1", &user));
    EXPECT_EQ("", user.toStdString());
    EXPECT_TRUE(connection->user.isEmpty());
}

TEST_F(ConnectionSetup, AnyNumberButZeroChoosesWebHdfs)
{
    const struct {
        const char *value;
        bool isOn;
    } values[] = {{"0", false}, {"1", true},   {"2", true},    {"-1", true},   {"yes", false},
                  {"", false},  {"00", false}, {"1.5", false}, {"0x1", false}, {"99999999999", false}};
    ASSERT_TRUE(connectWith("127.0.0.1:%1"));
    EXPECT_FALSE(connection->useWebHdfs);
    for (const auto &value : values) {
        settings.set("webhdfs", value.value);
        ASSERT_TRUE(connectWith("127.0.0.1:%1"));
        EXPECT_EQ(value.isOn, connection->useWebHdfs) << value.value;
        EXPECT_EQ(value.value, settings.get("webhdfs").toStdString());
    }
}

TEST_F(ConnectionSetup, AnyNumberButZeroMakesWritersGiveFailedBlocksBack)
{
    ASSERT_TRUE(connectWith("127.0.0.1:%1"));
    EXPECT_FALSE(connection->abandonsFailedBlocks);
    for (const char *value : {"1", "2", "-1"}) {
        settings.set("abandonBlock", value);
        ASSERT_TRUE(connectWith("127.0.0.1:%1"));
        EXPECT_TRUE(connection->abandonsFailedBlocks) << value;
        EXPECT_FALSE(connection->useWebHdfs);
    }
    for (const char *value : {"0", "", "yes"}) {
        settings.set("abandonBlock", value);
        ASSERT_TRUE(connectWith("127.0.0.1:%1"));
        EXPECT_FALSE(connection->abandonsFailedBlocks) << value;
    }
}

TEST_F(ConnectionSetup, TheHostIsPassedOnInLatin1)
{
    settings.set("hdfs", text("n\xc3\xa4menode"));
    SystemCallFaults faults;
    faults.resolveTo({ResolvedAddress{"127.0.0.1", nameNode.port()}});
    connection.reset(connectFromSettings(nullptr));
    ASSERT_TRUE(connection);
    EXPECT_EQ("n\xe4menode", connection->host);
}

TEST_F(ConnectionSetup, AFailedConnectIsReportedBehindTheLowerLayersMessage)
{
    RefusingPort refusing;
    OpenDescriptors descriptors;
    settings.set("hdfs", "127.0.0.1:" + QString::number(refusing.port()));
    QString user;
    EXPECT_EQ(nullptr, connectFromSettings(&user));
    EXPECT_TRUE(log.takes({kConnectFailed, kSetUpFailed}));
    EXPECT_EQ("from-environment", user.toStdString());
    settings.set("hdfs", "127.0.0.1:" + QString::number(nameNode.port()) + "|0|" + QString(500, 'u'));
    EXPECT_EQ(nullptr, connectFromSettings(nullptr));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full", kSetUpFailed}));
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(ConnectionSetup, AFailedSendIsReportedToo)
{
    OpenDescriptors descriptors;
    {
        ScriptedPeer peer;
        settings.set("hdfs", "127.0.0.1:" + QString::number(peer.port()));
        SystemCallFaults faults;
        faults.fail(SystemCall::Send, 0, ENOBUFS);
        EXPECT_EQ(nullptr, connectFromSettings(nullptr));
    }
    EXPECT_TRUE(log.holds({"TCPIP send failed", kSetUpFailed}));
    EXPECT_EQ(0, descriptors.opened());
}

TEST_F(ConnectionSetup, WithoutAClientIdentifierOnlyTheSetUpIsReported)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Duplicate, 0, ENOMEM);
    EXPECT_FALSE(connectWith("127.0.0.1:%1"));
    EXPECT_TRUE(log.holds({kSetUpFailed}));
}

// --- what is learned ---

class LearnedAddress : public ConnectionSetup
{
protected:
    /// Connects by a value through a name that resolves to three addresses, of which only the one at `reachable`
    /// answers.
    bool connectReaching(int reachable, const std::string &value)
    {
        SystemCallFaults faults;
        std::vector<ResolvedAddress> addresses;
        for (int i = 0; i < 3; ++i)
            addresses.push_back(ResolvedAddress{"127.0.0.1", i == reachable ? nameNode.port() : refusing.port()});
        faults.resolveTo(addresses);
        settings.set("hdfs", text(value));
        connection.reset(connectFromSettings(nullptr));
        return connection != nullptr;
    }

    RefusingPort refusing;
};

TEST_F(LearnedAddress, IsWrittenBackInEveryShapeOfAValue)
{
    const struct {
        int reachable;
        const char *before;
        const char *after;
    } cases[] = {
        {0, "namenode", "namenode"},
        {1, "namenode", "namenode|1"},
        {2, "namenode:9000", "namenode:9000|2"},
        {2, "namenode:9000,second:9001", "namenode:9000,second:9001|2"},
        {1, "namenode|0", "namenode|1"},
        {0, "namenode|1", "namenode|0"},
        {1, "namenode|1", "namenode|1"},
        {2, "namenode|1|user", "namenode|2|user"},
        {2, "namenode||", "namenode|2|"},
        {1, "namenode|0|user|further|fields|", "namenode|1|user|further|fields|"},
        {0, "namenode|7|user", "namenode|0|user"},
        {1, "namenode|second|user", "namenode|1|user"},
        {0, "namenode|second|user", "namenode|second|user"},
        {0, "namenode|", "namenode|"},
        {0, "namenode|-1", "namenode|0"},
        {2, "namenode|0|J\xc3\xbcrgen, \"x\"", "namenode|2|J\xc3\xbcrgen, \"x\""},
    };
    for (const auto &one : cases) {
        ASSERT_TRUE(connectReaching(one.reachable, one.before)) << one.before;
        EXPECT_EQ(one.after, settings.get("hdfs").toStdString()) << one.before;
        EXPECT_EQ(static_cast<std::uint32_t>(one.reachable), connection->preferredAddressIndex);
        EXPECT_TRUE(log.takes({}));
    }
}

TEST_F(LearnedAddress, IsTriedFirstTheNextTime)
{
    ASSERT_TRUE(connectReaching(2, "namenode"));
    SystemCallFaults faults;
    faults.resolveTo({ResolvedAddress{"127.0.0.1", refusing.port()}, ResolvedAddress{"127.0.0.1", refusing.port()},
                      ResolvedAddress{"127.0.0.1", nameNode.port()}});
    connection.reset(connectFromSettings(nullptr));
    ASSERT_TRUE(connection);
    EXPECT_EQ(std::vector<std::string>{"127.0.0.1:" + std::to_string(nameNode.port())}, faults.connected());
}

TEST_F(LearnedAddress, LeavesEveryOtherSettingAsItIs)
{
    settings.set("webhdfs", "0");
    settings.set("other", "value");
    ASSERT_TRUE(connectReaching(1, "namenode"));
    EXPECT_EQ("namenode|1", settings.get("hdfs").toStdString());
    EXPECT_EQ("0", settings.get("webhdfs").toStdString());
    EXPECT_EQ("value", settings.get("other").toStdString());
}

TEST_F(LearnedAddress, WritesNothingWhenNothingIsNew)
{
    settings.set("hdfs", "127.0.0.1:" + QString::number(nameNode.port()));
    const QByteArray before = settings.content();
    connection.reset(connectFromSettings(nullptr));
    ASSERT_TRUE(connection);
    EXPECT_EQ(before, settings.content());
    EXPECT_FALSE(settings.contains("webhdfs"));
}

TEST_F(LearnedAddress, ThatCannotBeWrittenBackDoesNotMatter)
{
    settings.set("hdfs", "namenode");
    const QByteArray before = settings.content();
    SystemCallFaults faults;
    faults.resolveTo({ResolvedAddress{"127.0.0.1", refusing.port()}, ResolvedAddress{"127.0.0.1", nameNode.port()}});
    {
        const UnwritableSettings unwritable;
        connection.reset(connectFromSettings(nullptr));
    }
    ASSERT_TRUE(connection);
    EXPECT_EQ(1u, connection->preferredAddressIndex);
    EXPECT_TRUE(log.holds({}));
    EXPECT_EQ(before, settings.content());
}

TEST_F(LearnedAddress, CostsTheDescriptorOfTheAddressThatFailed)
{
    connection.reset();
    OpenDescriptors descriptors;
    {
        ScriptedNameNode other;
        SystemCallFaults faults;
        faults.resolveTo({ResolvedAddress{"127.0.0.1", refusing.port()}, ResolvedAddress{"127.0.0.1", other.port()}});
        settings.set("hdfs", "namenode");
        connection.reset(connectFromSettings(nullptr));
        ASSERT_TRUE(connection);
        connection.reset();
    }
    EXPECT_EQ(1, descriptors.opened());
    descriptors.closeOpened();
}

} // namespace
