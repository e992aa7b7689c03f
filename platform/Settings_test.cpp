#include "platform/Settings.h"

#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

namespace {

std::string storedText(const QString &name, const QString &defaultValue = QString())
{
    return platform::settingText(*platform::openConnectionSettings(), name, defaultValue).toStdString();
}

TEST(Settings, LiveInTheConfigurationDirectory)
{
    TemporarySettings settings;
    EXPECT_EQ(settings.fileName(), platform::openConnectionSettings()->fileName());
    settings.set("hdfs", "namenode");
    EXPECT_EQ("namenode", storedText("hdfs"));
}

TEST(Settings, FollowTheEnvironmentEachTimeTheyAreOpened)
{
    TemporarySettings outer;
    outer.set("hdfs", "outer");
    {
        TemporarySettings inner;
        inner.set("hdfs", "inner");
        EXPECT_EQ("inner", storedText("hdfs"));
    }
    EXPECT_EQ("outer", storedText("hdfs"));
}

TEST(Settings, LiveUnderTheHomeDirectoryWithoutAConfigurationDirectory)
{
    QTemporaryDir home;
    TemporaryEnvironment homeDirectory("HOME", home.path().toLocal8Bit().constData());
    for (const char *value : {static_cast<const char *>(nullptr), "", "not/absolute"}) {
        TemporaryEnvironment configuration("XDG_CONFIG_HOME", value);
        EXPECT_EQ(home.path() + "/.config/Quor.ini", platform::openConnectionSettings()->fileName());
    }
}

TEST(Settings, GiveTheDefaultForAMissingValueAndNotForAnEmptyOne)
{
    TemporarySettings settings;
    EXPECT_EQ("", storedText("hdfs"));
    EXPECT_EQ("0", storedText("webhdfs", "0"));
    settings.writeFile("[General]\nwebhdfs=\n");
    EXPECT_EQ("", storedText("webhdfs", "0"));
}

TEST(Settings, KeepCommasOfAHandWrittenValue)
{
    TemporarySettings settings;
    settings.writeFile("[General]\nhdfs=first:9000,second:9001|1|someone\n");
    EXPECT_EQ("first:9000,second:9001|1|someone", storedText("hdfs"));
    settings.writeFile("[General]\nhdfs=\"first,second\"\n");
    EXPECT_EQ("first,second", storedText("hdfs"));
    settings.writeFile("[General]\nhdfs=a,,b,\n");
    EXPECT_EQ("a,,b,", storedText("hdfs"));
}

TEST(Settings, KeepEveryCharacter)
{
    for (const char *value : {"namenode|1|J\xc3\xbcrgen \xe6\xb1\x89", "a=b;c#d%e\\f\"g", " blank ", "@at", "a,b"}) {
        TemporarySettings settings;
        settings.set("hdfs", QString::fromUtf8(value));
        EXPECT_EQ(value, storedText("hdfs"));
        platform::openConnectionSettings()->setValue("hdfs", QString::fromUtf8(value));
        EXPECT_EQ(value, storedText("hdfs"));
        EXPECT_EQ(value, settings.get("hdfs").toStdString());
    }
}

TEST(Settings, AreReadInUtf8)
{
    TemporarySettings settings;
    settings.writeFile("[General]\nhdfs=host|0|J\xc3\xbcrgen\n");
    EXPECT_EQ("host|0|J\xc3\xbcrgen", storedText("hdfs"));
}

TEST(Settings, ThatCannotBeWrittenKeepSilent)
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
