#ifndef PLATFORM_SHELLICON_H
#define PLATFORM_SHELLICON_H

#include <QtCore/QString>
#include <QtGui/QPixmap>

namespace platform {

/// The small icon that the desktop shows for a file of this name, which need not exist. Null when it has none.
QPixmap shellIcon(const QString &fileName);

} // namespace platform

#endif
