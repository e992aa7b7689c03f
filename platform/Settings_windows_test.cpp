// The registry as others see it: `reg` is the system's own program for it.
#include "platform/Settings.h"

#include "testing/RegistryBytes_windows.h"
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

// --- values that are damaged ---

class DamagedWindowsSettings : public WindowsSettings
{
protected:
    std::string textOf(DWORD type, const QByteArray &bytes)
    {
        registry_bytes::set("hdfs", type, bytes);
        return storedText("hdfs", "default");
    }

    const QByteArray characters = registry_bytes::utf16("name\xe6\xb1\x89|1|u");
};

TEST_F(DamagedWindowsSettings, AreWholeWithoutTheZeroAtTheirEnd)
{
    for (DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_NONE}) {
        EXPECT_EQ("name\xe6\xb1\x89|1|u", textOf(type, characters)) << type;
        EXPECT_EQ("n", textOf(type, registry_bytes::utf16("n"))) << type;
    }
}

TEST_F(DamagedWindowsSettings, EndAtAZeroInTheirMiddle)
{
    const QByteArray two = characters + QByteArray(2, '\0') + registry_bytes::utf16("more");
    for (DWORD type : {REG_SZ, REG_EXPAND_SZ})
        EXPECT_EQ("name\xe6\xb1\x89|1|u", textOf(type, two + QByteArray(2, '\0'))) << type;
}

TEST_F(DamagedWindowsSettings, LoseNothingButAHalfCharacterAtTheirEnd)
{
    for (DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_NONE}) {
        const std::string text = textOf(type, characters + 'x');
        EXPECT_TRUE(text == "name\xe6\xb1\x89|1|u" || text == "name\xe6\xb1\x89|1|ux") << type << ' ' << text;
        EXPECT_GE(1u, textOf(type, "x").size()) << type;
    }
}

TEST_F(DamagedWindowsSettings, AreEmptyWithoutAnyBytes)
{
    for (DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_NONE})
        EXPECT_EQ("", textOf(type, QByteArray())) << type;
    for (DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ})
        EXPECT_EQ("", textOf(type, QByteArray(2, '\0'))) << type;
}

TEST_F(DamagedWindowsSettings, AreSomeNumberWhenTheyAreOneOfAnotherSize)
{
    for (DWORD type : {REG_DWORD, REG_DWORD_BIG_ENDIAN, REG_QWORD}) {
        for (int size : {0, 1, 3, 5, 7, 9, 100}) {
            const QString text = QString::fromStdString(textOf(type, QByteArray(size, '\7')));
            bool isNumber = false;
            text.toLongLong(&isNumber);
            EXPECT_TRUE(isNumber) << type << ' ' << size << ' ' << text.toStdString();
        }
    }
}

TEST_F(DamagedWindowsSettings, AreEmptyWhenTheyAreOfATypeThatIsNoText)
{
    for (DWORD type : {DWORD(REG_LINK), DWORD(REG_RESOURCE_LIST), DWORD(4711), ~DWORD(0)})
        EXPECT_EQ("", textOf(type, characters)) << type;
}

TEST_F(DamagedWindowsSettings, MayHoldAHalfOfAPair)
{
    registry_bytes::set("hdfs", REG_SZ, QByteArray("\x3d\xd8", 2));
    EXPECT_EQ(QString(QChar(0xD83D)), platform::settingText(*platform::openConnectionSettings(), "hdfs"));
}

TEST_F(DamagedWindowsSettings, MayBeVeryLong)
{
    const QString text(1000000, QLatin1Char('x'));
    for (DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_NONE})
        EXPECT_EQ(text.toStdString(), textOf(type, registry_bytes::utf16(text))) << type;
}

TEST_F(DamagedWindowsSettings, AreTheDefaultWhereThereIsAKeyOfTheirName)
{
    HKEY key;
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Quor\\hdfs", 0, nullptr,
                                               REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr));
    ::RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE *>(L"x"), 4);
    ::RegCloseKey(key);
    EXPECT_EQ("default", storedText("hdfs", "default"));
}

} // namespace
