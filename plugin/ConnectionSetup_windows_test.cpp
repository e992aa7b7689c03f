// Settings that others wrote into the registry, and what others find there after a connect.
#include "plugin/ConnectionSetup.h"

#include "rpc/NameNodeConnection.h"
#include "testing/LogCapture.h"
#include "testing/RegistryProgram_windows.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SystemCallFaults.h"
#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class RegistrySetup : public ::testing::Test
{
protected:
    /// Connects by what the registry holds, to a name of two addresses whose first one refuses.
    std::unique_ptr<NameNodeConnection> connect(QString *user = nullptr)
    {
        SystemCallFaults faults;
        faults.resolveTo(
            {ResolvedAddress{"127.0.0.1", refusing.port()}, ResolvedAddress{"127.0.0.1", nameNode.port()}});
        return std::unique_ptr<NameNodeConnection>(connectFromSettings(user));
    }

    void add(const char *name, const char *type, const QString &data)
    {
        registry_program::add(settings.fileName(), name, type, data);
    }

    std::string query(const char *name) { return registry_program::query(settings.fileName(), name); }

    LogCapture log;
    TemporarySettings settings;
    RefusingPort refusing;
    ScriptedNameNode nameNode;
};

TEST_F(RegistrySetup, AddressThatWasReachedIsWrittenBackAsAString)
{
    add("hdfs", "REG_SZ", "namenode.example:9000|0|someone|kept");
    QString user;
    const std::unique_ptr<NameNodeConnection> connection = connect(&user);
    ASSERT_TRUE(connection);
    EXPECT_EQ("someone", user.toStdString());
    EXPECT_EQ("hdfs REG_SZ namenode.example:9000|1|someone|kept", query("hdfs"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RegistrySetup, HostAloneGainsTheIndex)
{
    add("hdfs", "REG_SZ", "namenode.example");
    ASSERT_TRUE(connect());
    EXPECT_EQ("hdfs REG_SZ namenode.example|1", query("hdfs"));
}

TEST_F(RegistrySetup, NumberThatIsNotZeroChoosesWebHdfsAndStaysANumber)
{
    add("hdfs", "REG_SZ", "namenode.example|1");
    add("webhdfs", "REG_DWORD", "1");
    const std::unique_ptr<NameNodeConnection> connection = connect();
    ASSERT_TRUE(connection);
    EXPECT_TRUE(connection->useWebHdfs);
    EXPECT_EQ("hdfs REG_SZ namenode.example|1", query("hdfs"));
    EXPECT_EQ("webhdfs REG_DWORD 0x1", query("webhdfs"));
}

TEST_F(RegistrySetup, ListOfSeveralStringsIsNoSetting)
{
    add("hdfs", "REG_MULTI_SZ", "first\\0second");
    EXPECT_FALSE(connect());
    EXPECT_EQ("hdfs REG_MULTI_SZ first\\0second", query("hdfs"));
    EXPECT_TRUE(log.holds({}));
}

} // namespace
