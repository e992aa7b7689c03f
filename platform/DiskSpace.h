#ifndef PLATFORM_DISKSPACE_H
#define PLATFORM_DISKSPACE_H

#include <QtCore/QString>

namespace platform {

/// The size of the file system that holds `path` and what its user may still fill of it, in bytes. False when the
/// system does not say; both values are left as they were then.
bool diskSpace(const QString &path, quint64 *capacity, quint64 *available);

} // namespace platform

#endif
