// Where the user's folders are, as the registry of this process says it.
#ifndef TESTING_USERFOLDERS_WINDOWS_H
#define TESTING_USERFOLDERS_WINDOWS_H

#include "testing/OwnCurrentUser_windows.h"

#include <gtest/gtest.h>

#include <QtCore/QString>

#include <windows.h>

/// While it lives, the system knows only folders of the user that the test has set, and the usual ones.
class TemporaryUserFolders
{
public:
    /// `folder` is written as Windows writes it, with "\\"; %NAMES% of the environment stand for their values.
    void setDesktop(const QString &folder) { set(L"Desktop", folder); }
    void setDocuments(const QString &folder) { set(L"Personal", folder); }

private:
    static void set(const wchar_t *name, const QString &folder)
    {
        HKEY key;
        ASSERT_EQ(ERROR_SUCCESS,
                  ::RegCreateKeyExW(HKEY_CURRENT_USER,
                                    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", 0,
                                    nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr));
        EXPECT_EQ(ERROR_SUCCESS,
                  ::RegSetValueExW(key, name, 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE *>(folder.utf16()),
                                   static_cast<DWORD>(2 * (folder.size() + 1))));
        ::RegCloseKey(key);
    }

    const OwnCurrentUser m_user;
};

#endif
