#include "dialog/FileIcon.h"

#include "platform/ShellIcon.h"

#include <QtGui/QPixmap>
#include <QtGui/QPixmapCache>

QIcon iconForFileName(const QString &fileName)
{
    const int dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot < 0)
        return QIcon();
    // The shell is asked about a file of this name too: only how the name ends matters to it.
    const QString key = QLatin1String("qt_") + fileName.mid(dot).toUpper();
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = platform::shellIcon(key);
        if (pixmap.isNull())
            return QIcon();
        QPixmapCache::insert(key, pixmap);
    }
    return QIcon(pixmap);
}
