// A registry of this process's own below HKEY_CURRENT_USER: tests that run at the same time do not see each other's
// settings, and none of them the user's.
#ifndef TESTING_OWNCURRENTUSER_WINDOWS_H
#define TESTING_OWNCURRENTUSER_WINDOWS_H

#include <string>

/// While it lives, HKEY_CURRENT_USER is a new key for this process, which is deleted in the end. They nest.
class OwnCurrentUser
{
public:
    OwnCurrentUser();
    ~OwnCurrentUser();
    OwnCurrentUser(const OwnCurrentUser &) = delete;
    OwnCurrentUser &operator=(const OwnCurrentUser &) = delete;

    /// Where the key is for everybody else ("Software\\…"), below HKEY_CURRENT_USER.
    const std::wstring &path() const { return m_path; }

private:
    const OwnCurrentUser *const m_outer;
    std::wstring m_path;
    void *m_key;
};

#endif
