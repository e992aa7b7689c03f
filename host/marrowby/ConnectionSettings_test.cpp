#include "host/marrowby/ConnectionSettings.h"
#include "host/marrowby/OneRunSettings.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

namespace {

ConnectionSettings settingsOf(const char *hdfs, const char *webHdfs = "0", const char *abandonBlock = "0")
{
    return ConnectionSettings::fromValues(QString::fromLatin1(hdfs), QString::fromLatin1(webHdfs),
                                          QString::fromLatin1(abandonBlock));
}

/// Settings in a directory of the test's own.
class StoredSettings : public ::testing::Test
{
protected:
    StoredSettings() { qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_directory.path())); }

    QStringList filesInDirectory() const { return QDir(m_directory.path()).entryList(QDir::Files | QDir::Hidden); }

    QTemporaryDir m_directory;
};

} // namespace

TEST(ConnectionSettings, EveryFieldIsKeptInItsPlace)
{
    const ConnectionSettings settings = settingsOf("host:9000|2|alice|x|y", "1");
    EXPECT_EQ(settings.address, QLatin1String("host:9000"));
    EXPECT_EQ(settings.addressIndex, QLatin1String("2"));
    EXPECT_EQ(settings.user, QLatin1String("alice"));
    EXPECT_TRUE(settings.webHdfs);
    EXPECT_FALSE(settings.abandonBlock);
    EXPECT_EQ(settings.hdfsValue(), QLatin1String("host:9000|2|alice|x|y"));
}

TEST(ConnectionSettings, ASwitchIsOnWithAnyNumberButZero)
{
    for (const char *value : {"1", "2", "-1"})
        EXPECT_TRUE(settingsOf("host", "0", value).abandonBlock) << value;
    for (const char *value : {"0", "", "yes"})
        EXPECT_FALSE(settingsOf("host", "0", value).abandonBlock) << value;
}

TEST(ConnectionSettings, FieldsThatAreMissingStayAway)
{
    for (const char *value : {"host", "host:9000", "host|1", "host|0|alice"})
        EXPECT_EQ(settingsOf(value).hdfsValue(), QLatin1String(value));
}

TEST(ConnectionSettings, AUserGetsTheFieldsBeforeIt)
{
    ConnectionSettings settings = settingsOf("host:9000");
    settings.user = QLatin1String("alice");
    EXPECT_EQ(settings.hdfsValue(), QLatin1String("host:9000|0|alice"));
}

TEST(ConnectionSettings, AnotherNameNodeBeginsWithItsFirstAddress)
{
    ConnectionSettings settings = settingsOf("host:9000|2|alice");
    settings.setAddress(QLatin1String("other:9000"));
    EXPECT_EQ(settings.hdfsValue(), QLatin1String("other:9000|0|alice"));
}

TEST(ConnectionSettings, TheSameNameNodeKeepsWhatWasLearnedAboutIt)
{
    ConnectionSettings settings = settingsOf("host:9000|2|alice");
    settings.setAddress(QLatin1String("host:9000"));
    EXPECT_EQ(settings.hdfsValue(), QLatin1String("host:9000|2|alice"));
}

TEST(ConnectionSettings, OnlyAHostIsANameNode)
{
    for (const char *value : {"host", "host:9000", "host,other:9000", "host|0|alice"})
        EXPECT_TRUE(settingsOf(value).hasNameNode()) << value;
    for (const char *value : {"", ",host:8020", ",", ":8020", ":8020,host", "|0|alice"})
        EXPECT_FALSE(settingsOf(value).hasNameNode()) << value;
}

TEST(ConnectionSettings, TheAuthorityHasAPort)
{
    EXPECT_EQ(settingsOf("host").authority(), "host:8020");
    EXPECT_EQ(settingsOf("host:9000,second:9000").authority(), "host:9000");
}

TEST(ConnectionSettings, AMissingUserIsTheOneOfTheEnvironment)
{
    qputenv("USERNAME", "frank");
    EXPECT_EQ(settingsOf("host").effectiveUser(), "frank");
    EXPECT_EQ(settingsOf("host|0|alice").effectiveUser(), "alice");
    provideUserName();
    EXPECT_EQ(qgetenv("USERNAME"), "frank");
    qunsetenv("USERNAME");
    provideUserName();
    EXPECT_FALSE(qgetenv("USERNAME").isEmpty());
}

TEST(ConnectionSettings, AddressesAreChecked)
{
    QString address;
    EXPECT_EQ(checkedAddress("hdfs://name-node_1.example:9000/", &address), "");
    EXPECT_EQ(address, QLatin1String("name-node_1.example:9000"));
    EXPECT_EQ(checkedAddress("127.0.0.1", nullptr), "");
    for (const char *text : {"", ":9000", "a:", "a:b", "a:0", "a:65536", "a:1:2", "a|b", "a,b", "a b", "hdfs://"})
        EXPECT_NE(checkedAddress(text, nullptr), "") << text;
}

TEST_F(StoredSettings, WhatIsSavedIsLoaded)
{
    EXPECT_TRUE(settingsOf("host:9000|1|alice", "1", "1").save());
    EXPECT_EQ(filesInDirectory(), QStringList("Quor.ini"));
    const ConnectionSettings loaded = ConnectionSettings::load();
    EXPECT_EQ(loaded.hdfsValue(), QLatin1String("host:9000|1|alice"));
    EXPECT_TRUE(loaded.webHdfs);
    EXPECT_TRUE(loaded.abandonBlock);
}

TEST_F(StoredSettings, NothingStoredIsNoAddress)
{
    EXPECT_TRUE(ConnectionSettings::load().address.isEmpty());
    EXPECT_FALSE(ConnectionSettings::load().webHdfs);
    EXPECT_FALSE(ConnectionSettings::load().abandonBlock);
}

TEST_F(StoredSettings, AStoreThatCannotBeWrittenIsReported)
{
    QFile file(m_directory.filePath("taken"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(file.fileName()));
    EXPECT_FALSE(settingsOf("host").save());
}

TEST_F(StoredSettings, SettingsForOneRunLeaveTheStoredOnesAndNothingElse)
{
    ASSERT_TRUE(settingsOf("stored:9000").save());
    QString directory;
    {
        OneRunSettings oneRun(settingsOf("other:9000|0|alice"));
        EXPECT_EQ(ConnectionSettings::load().hdfsValue(), QLatin1String("other:9000|0|alice"));
        directory = QFileInfo(ConnectionSettings::location()).path();
        EXPECT_NE(directory, m_directory.path());
        const QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                                          QFile::WriteOther | QFile::ExeOther;
        EXPECT_EQ(QFile::permissions(directory) & others, QFile::Permissions());
    }
    EXPECT_FALSE(QFileInfo::exists(directory));
    EXPECT_EQ(ConnectionSettings::load().hdfsValue(), QLatin1String("stored:9000"));
}
