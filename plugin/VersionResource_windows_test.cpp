// The library's properties, as Windows reads them.
#include <gtest/gtest.h>

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <windows.h>

#include <string>

namespace {

class VersionResource : public ::testing::Test
{
protected:
    void SetUp() override
    {
        const QString path =
            QDir::toNativeSeparators(QFileInfo(QString::fromUtf8(QUORHDFS_LIBRARY)).absoluteFilePath());
        const wchar_t *const name = reinterpret_cast<const wchar_t *>(path.utf16());
        m_data.resize(static_cast<int>(::GetFileVersionInfoSizeW(name, nullptr)));
        ASSERT_FALSE(m_data.isEmpty());
        ASSERT_TRUE(::GetFileVersionInfoW(name, 0, static_cast<DWORD>(m_data.size()), m_data.data()));
    }

    /// Null when there is no such block; `*size` is as the system counts for the block.
    const void *block(const QString &name, UINT *size) const
    {
        void *found = nullptr;
        *size = 0;
        return ::VerQueryValueW(m_data.constData(), reinterpret_cast<const wchar_t *>(name.utf16()), &found, size)
                   ? found
                   : nullptr;
    }

    /// In American English, in UTF-16.
    std::string text(const char *name) const
    {
        UINT size;
        const void *const found = block(QLatin1String("\\StringFileInfo\\040904B0\\") + QLatin1String(name), &size);
        return found ? QString::fromWCharArray(static_cast<const wchar_t *>(found)).toStdString() : "none";
    }

private:
    QByteArray m_data;
};

TEST_F(VersionResource, NamesTheProductAndTheFile)
{
    EXPECT_EQ("Quor", text("CompanyName"));
    EXPECT_EQ("QuorHDFS", text("ProductName"));
    EXPECT_EQ("QuorHDFS", text("InternalName"));
    EXPECT_EQ("QuorHDFS.dll", text("OriginalFilename"));
    EXPECT_EQ("HDFS access for Marrowby", text("FileDescription"));
    EXPECT_EQ("Copyright (C) 2026 Quor", text("LegalCopyright"));
    UINT size;
    const WORD *const translation =
        static_cast<const WORD *>(block(QLatin1String("\\VarFileInfo\\Translation"), &size));
    ASSERT_TRUE(translation);
    ASSERT_EQ(4u, size);
    EXPECT_EQ(0x0409, translation[0]);
    EXPECT_EQ(0x04B0, translation[1]);
}

TEST_F(VersionResource, SaysTheVersionInNumbersAndInTexts)
{
    const QStringList parts = QString::fromLatin1(QUORHDFS_VERSION).split(QLatin1Char('.'));
    ASSERT_EQ(3, parts.size());
    UINT size;
    const VS_FIXEDFILEINFO *const info = static_cast<const VS_FIXEDFILEINFO *>(block(QLatin1String("\\"), &size));
    ASSERT_TRUE(info);
    ASSERT_EQ(sizeof *info, size);
    EXPECT_EQ(0xFEEF04BDu, info->dwSignature);
    const DWORD upper = static_cast<DWORD>(MAKELONG(parts.at(1).toUShort(), parts.at(0).toUShort()));
    const DWORD lower = static_cast<DWORD>(MAKELONG(0, parts.at(2).toUShort()));
    EXPECT_EQ(upper, info->dwFileVersionMS);
    EXPECT_EQ(lower, info->dwFileVersionLS);
    EXPECT_EQ(upper, info->dwProductVersionMS);
    EXPECT_EQ(lower, info->dwProductVersionLS);
    EXPECT_EQ(QUORHDFS_VERSION, text("FileVersion"));
    EXPECT_EQ(QUORHDFS_VERSION, text("ProductVersion"));
}

TEST_F(VersionResource, SaysThatItIsALibraryForWindowsAndNoTestVersion)
{
    UINT size;
    const VS_FIXEDFILEINFO *const info = static_cast<const VS_FIXEDFILEINFO *>(block(QLatin1String("\\"), &size));
    ASSERT_TRUE(info);
    EXPECT_EQ(DWORD(VFT_DLL), info->dwFileType);
    EXPECT_EQ(DWORD(VOS_NT_WINDOWS32), info->dwFileOS);
    EXPECT_EQ(0u, info->dwFileFlags & info->dwFileFlagsMask);
}

} // namespace
