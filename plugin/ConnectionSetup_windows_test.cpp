// Settings that others wrote into the registry, and what others find there after a connect.
#include "plugin/ConnectionSetup.h"

#include "rpc/NameNodeConnection.h"
#include "testing/LogCapture.h"
#include "testing/RegistryBytes_windows.h"
#include "testing/RegistryProgram_windows.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SystemCallFaults.h"
#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <sddl.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

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

/// Nobody can read the settings while it lives.
class UnreadableKey
{
public:
    UnreadableKey()
    {
        ::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Quor", 0, KEY_ALL_ACCESS, &m_key);
        protect(L"D:P");
    }
    ~UnreadableKey()
    {
        protect(L"D:(A;;KA;;;WD)");
        ::RegCloseKey(m_key);
    }

private:
    void protect(const wchar_t *rights)
    {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        ::ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor, nullptr);
        EXPECT_EQ(ERROR_SUCCESS, ::RegSetKeySecurity(m_key, DACL_SECURITY_INFORMATION, descriptor));
        ::LocalFree(descriptor);
    }

    HKEY m_key = nullptr;
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

TEST_F(RegistrySetup, DamagedTextConnectsByWhatIsLeftOfIt)
{
    // Without the zero at its end.
    registry_bytes::set("hdfs", REG_SZ, registry_bytes::utf16("namenode.example:9000|0|someone"));
    QString user;
    ASSERT_TRUE(connect(&user));
    EXPECT_EQ("someone", user.toStdString());
    EXPECT_EQ("hdfs REG_SZ namenode.example:9000|1|someone", query("hdfs"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RegistrySetup, TextOfOtherTypesConnectsAndIsWrittenBackAsAString)
{
    for (DWORD type : {REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY, REG_NONE}) {
        registry_bytes::set("hdfs", type, registry_bytes::utf16("namenode.example|0|someone"));
        QString user;
        ASSERT_TRUE(connect(&user)) << type;
        EXPECT_EQ("someone", user.toStdString());
        EXPECT_EQ("hdfs REG_SZ namenode.example|1|someone", query("hdfs")) << type;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RegistrySetup, WhatHasNoTextIsNoSetting)
{
    for (DWORD type : {DWORD(REG_SZ), DWORD(REG_EXPAND_SZ), DWORD(REG_MULTI_SZ), DWORD(REG_BINARY), DWORD(REG_NONE),
                       DWORD(REG_LINK), DWORD(4711)}) {
        registry_bytes::set("hdfs", type, QByteArray());
        const QByteArray before = settings.content();
        QString user = "untouched";
        EXPECT_FALSE(connect(&user)) << type;
        EXPECT_EQ("untouched", user.toStdString());
        EXPECT_EQ(before, settings.content());
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RegistrySetup, WhatIsNoAddressIsTriedAndReported)
{
    for (const QByteArray &bytes : {QByteArray("\x3d\xd8", 2), QByteArray(100001, '\xff'), QByteArray("x"),
                                    registry_bytes::utf16(QString(1000000, QLatin1Char('x')))}) {
        registry_bytes::set("hdfs", REG_SZ, bytes);
        const QByteArray before = settings.content();
        EXPECT_EQ(nullptr, connectFromSettings(nullptr));
        EXPECT_TRUE(log.takes({"TCPIP connect failed", "Connection to HDFS failed.\n"})) << bytes.size();
        EXPECT_EQ(before, settings.content());
    }
}

TEST_F(RegistrySetup, DamagedSwitchDoesNotMatter)
{
    for (DWORD type : {REG_SZ, REG_BINARY, REG_NONE, REG_DWORD, REG_QWORD, REG_MULTI_SZ, REG_LINK}) {
        add("hdfs", "REG_SZ", "namenode.example|1|someone");
        registry_bytes::set("webhdfs", type, QByteArray());
        registry_bytes::set("abandonBlock", type, QByteArray("x"));
        EXPECT_TRUE(connect()) << type;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RegistrySetup, KeyThatMayOnlyBeReadKeepsItsValueAndTheConnection)
{
    add("hdfs", "REG_SZ", "namenode.example|0|someone");
    {
        const UnwritableSettings unwritable;
        const std::unique_ptr<NameNodeConnection> connection = connect();
        ASSERT_TRUE(connection);
        EXPECT_EQ(1u, connection->preferredAddressIndex);
    }
    EXPECT_EQ("hdfs REG_SZ namenode.example|0|someone", query("hdfs"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RegistrySetup, KeyThatMayNotBeReadIsNoSetting)
{
    add("hdfs", "REG_SZ", "namenode.example|0|someone");
    {
        const UnreadableKey unreadable;
        HKEY key;
        ASSERT_EQ(ERROR_ACCESS_DENIED, ::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Quor", 0, KEY_READ, &key));
        QString user = "untouched";
        EXPECT_FALSE(connect(&user));
        EXPECT_EQ("untouched", user.toStdString());
    }
    EXPECT_EQ("hdfs REG_SZ namenode.example|0|someone", query("hdfs"));
    EXPECT_TRUE(log.holds({}));
}

// --- the user's name in the environment, as Windows keeps it ---

/// Sets USERNAME in UTF-16, as it is there for a user of that name.
class WideUserName
{
public:
    explicit WideUserName(const QString &name) : m_restored("USERNAME", "")
    {
        ::_wputenv((L"USERNAME=" + name.toStdWString()).c_str());
    }

private:
    TemporaryEnvironment m_restored;
};

/// The name in the code page of the machine; `isWhole` tells whether that has all of its characters.
QString inCodePage(const QString &name, bool *isWhole)
{
    const std::wstring wide = name.toStdWString();
    std::vector<char> bytes(wide.size() * 4 + 1);
    BOOL isReplaced = FALSE;
    const int size = ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()),
                                           bytes.data(), static_cast<int>(bytes.size()), nullptr, &isReplaced);
    *isWhole = !isReplaced;
    return QString::fromLocal8Bit(bytes.data(), size);
}

TEST_F(RegistrySetup, NameOfTheWindowsUserIsSentInUtf8)
{
    int whole = 0;
    std::vector<std::string> expected;
    for (const char *name : {"\xc5\xa0imon M\xc3\xbcller", "\xd0\x98\xd0\xb2\xd0\xb0\xd0\xbd",
                             "\xce\x93\xce\xb9\xce\xbf\xcf\x81\xce\xb3\xce\xbf\xcf\x82", "\xe5\xb1\xb1\xe7\x94\xb0"}) {
        SCOPED_TRACE(name);
        const WideUserName environment(QString::fromUtf8(name));
        bool isWhole = false;
        const std::string known = inCodePage(QString::fromUtf8(name), &isWhole).toStdString();
        add("hdfs", "REG_SZ", "namenode.example|1");
        QString user;
        ASSERT_TRUE(connect(&user));
        if (isWhole) {
            ++whole;
            EXPECT_EQ(name, known);
            EXPECT_EQ(name, user.toStdString());
        }
        expected.push_back(user.toStdString());
    }
    // The code page of a machine has the letters of one or two alphabets.
    EXPECT_LE(1, whole);
    nameNode.peer().waitUntilOver(expected.size());
    const std::vector<NameNodeIntroduction> introductions = nameNode.introductions();
    ASSERT_EQ(expected.size(), introductions.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(expected[i], introductions[i].user);
    EXPECT_TRUE(log.holds({}));
}

} // namespace
