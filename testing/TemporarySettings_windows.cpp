#include "testing/TemporarySettings.h"

#include "testing/OwnCurrentUser_windows.h"

#include <QtCore/QSettings>

#include <windows.h>

#include <sddl.h>

#include <stdexcept>
#include <vector>

namespace {

const wchar_t kKey[] = L"Software\\Quor";
const char kQtKey[] = "HKEY_CURRENT_USER\\Software\\Quor";

HKEY openKey()
{
    HKEY key;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                          nullptr) != ERROR_SUCCESS)
        throw std::runtime_error("the settings cannot be opened");
    return key;
}

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

} // namespace

struct TemporarySettings::Store {
    OwnCurrentUser user;
};

TemporarySettings::TemporarySettings() : m_store(new Store) {}

TemporarySettings::~TemporarySettings() {}

void TemporarySettings::set(const QString &name, const QString &value)
{
    QSettings(kQtKey, QSettings::NativeFormat).setValue(name, value);
}

QString TemporarySettings::get(const QString &name) const
{
    return QSettings(kQtKey, QSettings::NativeFormat).value(name).toString();
}

bool TemporarySettings::contains(const QString &name) const
{
    return QSettings(kQtKey, QSettings::NativeFormat).contains(name);
}

void TemporarySettings::writeByHand(const QString &name, const QString &value)
{
    ::RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    const HKEY key = openKey();
    const DWORD size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
    ::RegSetValueExW(key, wide(name), 0, REG_SZ, reinterpret_cast<const BYTE *>(value.utf16()), size);
    ::RegCloseKey(key);
}

QByteArray TemporarySettings::content() const
{
    QByteArray content;
    HKEY key;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return content;
    std::vector<wchar_t> name(16384);
    std::vector<BYTE> value(1 << 16);
    for (DWORD i = 0;; ++i) {
        DWORD nameSize = static_cast<DWORD>(name.size());
        DWORD valueSize = static_cast<DWORD>(value.size());
        DWORD type;
        if (::RegEnumValueW(key, i, name.data(), &nameSize, nullptr, &type, value.data(), &valueSize) != ERROR_SUCCESS)
            break;
        content += QString::fromWCharArray(name.data(), static_cast<int>(nameSize)).toUtf8() + ' ' +
                   QByteArray::number(uint(type)) + ' ' +
                   QByteArray(reinterpret_cast<const char *>(value.data()), static_cast<int>(valueSize)).toHex() + '\n';
    }
    ::RegCloseKey(key);
    return content;
}

QString TemporarySettings::fileName() const
{
    return QLatin1String("HKEY_CURRENT_USER\\") + QString::fromStdWString(m_store->user.path()) + QLatin1Char('\\') +
           QString::fromWCharArray(kKey);
}

struct UnwritableSettings::Lock {
    HKEY key;
    std::vector<char> outerSecurity;
};

UnwritableSettings::UnwritableSettings() : m_lock(new Lock)
{
    m_lock->key = openKey();
    DWORD size = 0;
    ::RegGetKeySecurity(m_lock->key, DACL_SECURITY_INFORMATION, nullptr, &size);
    m_lock->outerSecurity.resize(size);
    ::RegGetKeySecurity(m_lock->key, DACL_SECURITY_INFORMATION, m_lock->outerSecurity.data(), &size);
    PSECURITY_DESCRIPTOR readable = nullptr;
    ::ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:P(A;;KR;;;WD)", SDDL_REVISION_1, &readable, nullptr);
    if (::RegSetKeySecurity(m_lock->key, DACL_SECURITY_INFORMATION, readable) != ERROR_SUCCESS)
        throw std::runtime_error("the settings cannot be closed to writers");
    ::LocalFree(readable);
}

UnwritableSettings::~UnwritableSettings()
{
    ::RegSetKeySecurity(m_lock->key, DACL_SECURITY_INFORMATION, m_lock->outerSecurity.data());
    ::RegCloseKey(m_lock->key);
}
