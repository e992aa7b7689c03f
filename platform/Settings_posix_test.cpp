#include "platform/Settings.h"

#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

namespace {

std::string storedText(const QString &name)
{
    return platform::settingText(*platform::openConnectionSettings(), name).toStdString();
}

void writeFile(const TemporarySettings &settings, const QByteArray &content)
{
    QFile file(settings.fileName());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(content.size(), file.write(content));
}

TEST(PosixSettings, LiveInTheConfigurationDirectory)
{
    TemporarySettings settings;
    EXPECT_EQ(settings.fileName(), platform::openConnectionSettings()->fileName());
    settings.set("hdfs", "namenode");
    EXPECT_EQ("namenode", storedText("hdfs"));
}

TEST(PosixSettings, LiveUnderTheHomeDirectoryWithoutAConfigurationDirectory)
{
    QTemporaryDir home;
    TemporaryEnvironment homeDirectory("HOME", home.path().toLocal8Bit().constData());
    for (const char *value : {static_cast<const char *>(nullptr), "", "not/absolute"}) {
        TemporaryEnvironment configuration("XDG_CONFIG_HOME", value);
        EXPECT_EQ(home.path() + "/.config/Quor.ini", platform::openConnectionSettings()->fileName());
    }
}

TEST(PosixSettings, AreReadInUtf8)
{
    TemporarySettings settings;
    writeFile(settings, "[General]\nhdfs=host|0|J\xc3\xbcrgen\n");
    EXPECT_EQ("host|0|J\xc3\xbcrgen", storedText("hdfs"));
}

TEST(PosixSettings, TakeAQuotedListForOneText)
{
    TemporarySettings settings;
    writeFile(settings, "[General]\nhdfs=\"first,second\"\n");
    EXPECT_EQ("first,second", storedText("hdfs"));
}

TEST(PosixSettings, ThatCannotBeWrittenKeepSilent)
{
    TemporaryEnvironment configuration("XDG_CONFIG_HOME", "/dev/null");
    {
        const std::unique_ptr<QSettings> settings = platform::openConnectionSettings();
        settings->setValue("hdfs", "namenode");
        EXPECT_EQ("namenode", platform::settingText(*settings, "hdfs").toStdString());
    }
    EXPECT_EQ("", storedText("hdfs"));
}

} // namespace
