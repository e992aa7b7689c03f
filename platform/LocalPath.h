#ifndef PLATFORM_LOCALPATH_H
#define PLATFORM_LOCALPATH_H

#include <QtCore/QString>

namespace platform {

/// Whether a path that a user typed says where it starts by itself: on Windows one of at least three characters of
/// which the second is ":", elsewhere one that begins with "/".
bool isAbsoluteLocalPath(const QString &path);

} // namespace platform

#endif
