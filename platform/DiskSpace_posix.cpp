#include "platform/DiskSpace.h"

#include <QtCore/QFile>

#include <sys/statvfs.h>

namespace platform {

bool diskSpace(const QString &path, quint64 *capacity, quint64 *available)
{
    struct statvfs space;
    if (::statvfs(QFile::encodeName(path).constData(), &space) != 0)
        return false;
    *capacity = static_cast<quint64>(space.f_blocks) * space.f_frsize;
    // What is set aside for the superuser is not available to the caller.
    *available = static_cast<quint64>(space.f_bavail) * space.f_frsize;
    return true;
}

} // namespace platform
