// Values of the registry as no program for it writes them: any bytes under any type.
#ifndef TESTING_REGISTRYBYTES_WINDOWS_H
#define TESTING_REGISTRYBYTES_WINDOWS_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <gtest/gtest.h>

#include <windows.h>

namespace registry_bytes {

/// The text in UTF-16 without anything behind it.
inline QByteArray utf16(const QString &text)
{
    return QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
}

/// Sets a value of the key of the connection settings in this process's registry.
inline void set(const QString &name, DWORD type, const QByteArray &bytes)
{
    HKEY key;
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Quor", 0, nullptr,
                                               REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr));
    EXPECT_EQ(ERROR_SUCCESS,
              ::RegSetValueExW(key, reinterpret_cast<const wchar_t *>(name.utf16()), 0, type,
                               reinterpret_cast<const BYTE *>(bytes.constData()), static_cast<DWORD>(bytes.size())));
    ::RegCloseKey(key);
}

} // namespace registry_bytes

#endif
