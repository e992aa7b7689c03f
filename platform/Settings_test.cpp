#include "platform/Settings.h"

#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

namespace {

std::string storedText(const QString &name, const QString &defaultValue = QString())
{
    return platform::settingText(*platform::openConnectionSettings(), name, defaultValue).toStdString();
}

TEST(Settings, AreWhatAProgramHasWritten)
{
    TemporarySettings settings;
    settings.set("hdfs", "namenode");
    EXPECT_EQ("namenode", storedText("hdfs"));
}

TEST(Settings, AreLookedForEachTimeTheyAreOpened)
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

TEST(Settings, GiveTheDefaultForAMissingValueAndNotForAnEmptyOne)
{
    TemporarySettings settings;
    EXPECT_EQ("", storedText("hdfs"));
    EXPECT_EQ("0", storedText("webhdfs", "0"));
    settings.writeByHand("webhdfs", "");
    EXPECT_EQ("", storedText("webhdfs", "0"));
}

TEST(Settings, KeepCommasOfAHandWrittenValue)
{
    TemporarySettings settings;
    for (const char *value : {"first:9000,second:9001|1|someone", "a,,b,", "first,second"}) {
        settings.writeByHand("hdfs", value);
        EXPECT_EQ(value, storedText("hdfs"));
    }
}

TEST(Settings, ThatCannotBeWrittenStayAsTheyAre)
{
    TemporarySettings settings;
    settings.set("hdfs", "before");
    const QByteArray before = settings.content();
    {
        const UnwritableSettings unwritable;
        platform::openConnectionSettings()->setValue("hdfs", "after");
    }
    EXPECT_EQ(before, settings.content());
}

} // namespace
