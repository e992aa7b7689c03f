#ifndef DIALOG_FILEICON_H
#define DIALOG_FILEICON_H

#include <QtCore/QString>
#include <QtGui/QIcon>

/// The icon that the desktop shows for files whose names end like `fileName` from its last dot on; null without a dot
/// or when the desktop has none. Icons are kept in QPixmapCache, under "qt_" and the ending in upper case.
QIcon iconForFileName(const QString &fileName);

#endif
