#include "platform/DiskSpace.h"

#include <QtCore/QDir>

#include <windows.h>

namespace platform {

namespace {

/// While it lives, this thread's failed accesses to drives only fail: Windows asks nobody to insert a disk.
class NoSystemDialogs
{
public:
    NoSystemDialogs() : m_outer(0) { ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &m_outer); }
    ~NoSystemDialogs() { ::SetThreadErrorMode(m_outer, nullptr); }
    NoSystemDialogs(const NoSystemDialogs &) = delete;
    NoSystemDialogs &operator=(const NoSystemDialogs &) = delete;

private:
    DWORD m_outer;
};

} // namespace

bool diskSpace(const QString &path, quint64 *capacity, quint64 *available)
{
    const QString nativePath = QDir::toNativeSeparators(path);
    ULARGE_INTEGER availableBytes;
    ULARGE_INTEGER capacityBytes;
    const NoSystemDialogs noDialogs;
    if (!::GetDiskFreeSpaceExW(reinterpret_cast<const wchar_t *>(nativePath.utf16()), &availableBytes, &capacityBytes,
                               nullptr))
        return false;
    *capacity = capacityBytes.QuadPart;
    *available = availableBytes.QuadPart;
    return true;
}

} // namespace platform
