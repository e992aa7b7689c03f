#include "testing/OwnCurrentUser_windows.h"

#include <windows.h>

#include <stdexcept>

namespace {

const OwnCurrentUser *innermost = nullptr;
unsigned number = 0;

HKEY openNew(const std::wstring &path)
{
    HKEY key;
    // What a process of the same number has left behind when it crashed.
    ::RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                          &key, nullptr) != ERROR_SUCCESS)
        throw std::runtime_error("no registry key for the tests");
    return key;
}

} // namespace

OwnCurrentUser::OwnCurrentUser()
    : m_outer(innermost),
      m_path(L"Software\\QuorTests\\" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(number++)),
      m_key(nullptr)
{
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    m_key = openNew(m_path);
    ::RegOverridePredefKey(HKEY_CURRENT_USER, static_cast<HKEY>(m_key));
    innermost = this;
}

OwnCurrentUser::~OwnCurrentUser()
{
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    ::RegCloseKey(static_cast<HKEY>(m_key));
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
    ::RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str());
    innermost = m_outer;
    if (m_outer)
        ::RegOverridePredefKey(HKEY_CURRENT_USER, static_cast<HKEY>(m_outer->m_key));
}
