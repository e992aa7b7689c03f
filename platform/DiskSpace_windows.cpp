#include "platform/DiskSpace.h"

#include "platform/NoSystemQuestions.h"

#include <QtCore/QDir>

#include <windows.h>

namespace platform {

bool diskSpace(const QString &path, quint64 *capacity, quint64 *available)
{
    const QString nativePath = QDir::toNativeSeparators(path);
    ULARGE_INTEGER availableBytes;
    ULARGE_INTEGER capacityBytes;
    const NoSystemQuestions noQuestions;
    if (!::GetDiskFreeSpaceExW(reinterpret_cast<const wchar_t *>(nativePath.utf16()), &availableBytes, &capacityBytes,
                               nullptr))
        return false;
    *capacity = capacityBytes.QuadPart;
    *available = availableBytes.QuadPart;
    return true;
}

} // namespace platform
