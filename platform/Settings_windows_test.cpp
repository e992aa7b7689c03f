// The registry as others see it: `reg` is the system's own program for it.
#include "platform/Settings.h"

#include "testing/RegistryProgram_windows.h"
#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

class WindowsSettings : public ::testing::Test
{
protected:
    void add(const QString &name, const QString &type, const QString &data)
    {
        registry_program::add(settings.fileName(), name, type, data);
    }

    std::string query(const QString &name) { return registry_program::query(settings.fileName(), name); }

    std::string storedText(const QString &name, const QString &defaultValue = QString())
    {
        return platform::settingText(*platform::openConnectionSettings(), name, defaultValue).toStdString();
    }

    TemporarySettings settings;
};

TEST_F(WindowsSettings, LiveInTheKeyOfTheCurrentUser)
{
    EXPECT_TRUE(platform::openConnectionSettings()->fileName().endsWith("HKEY_CURRENT_USER\\Software\\Quor"));
    EXPECT_TRUE(settings.fileName().endsWith("\\Software\\Quor"));
}

TEST_F(WindowsSettings, AreStringsForOthers)
{
    platform::openConnectionSettings()->setValue("hdfs", "namenode:9000,second|1|someone");
    platform::openConnectionSettings()->setValue("webhdfs", "1");
    EXPECT_EQ("hdfs REG_SZ namenode:9000,second|1|someone", query("hdfs"));
    EXPECT_EQ("webhdfs REG_SZ 1", query("webhdfs"));
    EXPECT_EQ("", query("other"));
}

TEST_F(WindowsSettings, AreTheStringsThatOthersWrite)
{
    add("hdfs", "REG_SZ", "first:9000,second:9001|2|someone else");
    EXPECT_EQ("first:9000,second:9001|2|someone else", storedText("hdfs"));
    add("hdfs", "REG_EXPAND_SZ", "%NOT_EXPANDED%|0|u");
    EXPECT_EQ("%NOT_EXPANDED%|0|u", storedText("hdfs"));
}

TEST_F(WindowsSettings, AreDecimalForANumber)
{
    add("webhdfs", "REG_DWORD", "1");
    EXPECT_EQ("1", storedText("webhdfs", "0"));
    add("webhdfs", "REG_DWORD", "0");
    EXPECT_EQ("0", storedText("webhdfs", "7"));
    add("webhdfs", "REG_DWORD", "4294967295");
    EXPECT_NE(0, storedText("webhdfs", "0").compare("0"));
}

TEST_F(WindowsSettings, AreTheOnlyStringOfAListAndNothingOfALongerOne)
{
    add("hdfs", "REG_MULTI_SZ", "namenode|1|someone");
    EXPECT_EQ("namenode|1|someone", storedText("hdfs", "default"));
    add("hdfs", "REG_MULTI_SZ", "first\\0second");
    EXPECT_EQ("", storedText("hdfs", "default"));
}

TEST_F(WindowsSettings, AreTheCharactersOfBinaryData)
{
    // "ab" in UTF-16.
    add("hdfs", "REG_BINARY", "61006200");
    EXPECT_EQ("ab", storedText("hdfs", "default"));
}

TEST_F(WindowsSettings, AreTheDefaultWhenTheValueOrTheKeyIsMissing)
{
    EXPECT_EQ("default", storedText("hdfs", "default"));
    add("other", "REG_SZ", "x");
    EXPECT_EQ("default", storedText("hdfs", "default"));
    EXPECT_EQ("", query("hdfs"));
}

TEST_F(WindowsSettings, KeepWhatOthersHaveBesideThem)
{
    add("other", "REG_DWORD", "5");
    add("hdfs", "REG_SZ", "namenode|0|u");
    platform::openConnectionSettings()->setValue("hdfs", "namenode|1|u");
    EXPECT_EQ("hdfs REG_SZ namenode|1|u", query("hdfs"));
    EXPECT_EQ("other REG_DWORD 0x5", query("other"));
}

TEST_F(WindowsSettings, AreNotWrittenIntoAKeyThatCannotBeMade)
{
    // Below a key that lives only until the system ends there can be none that stays.
    HKEY key;
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software", 0, nullptr, REG_OPTION_VOLATILE,
                                               KEY_ALL_ACCESS, nullptr, &key, nullptr));
    ::RegCloseKey(key);
    platform::openConnectionSettings()->setValue("hdfs", "namenode");
    EXPECT_EQ("", storedText("hdfs"));
    EXPECT_EQ("", query("hdfs"));
}

} // namespace
