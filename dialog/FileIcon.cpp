#include "dialog/FileIcon.h"

#include "platform/ShellIcon.h"

#include <QtGui/QPixmap>
#include <QtGui/QPixmapCache>

namespace {

/// Under which an ending without an icon is kept, for as long as the icons of the others: a list that asks for each of
/// its rows would otherwise have the desktop look for it each time.
QString keyOfNone(const QString &key)
{
    return QLatin1String("none_") + key;
}

} // namespace

QIcon iconForFileName(const QString &fileName)
{
    const int dot = fileName.lastIndexOf(QLatin1Char('.'));
    if (dot < 0)
        return QIcon();
    // The shell is asked about a file of this name too: only how the name ends matters to it.
    const QString key = QLatin1String("qt_") + fileName.mid(dot).toUpper();
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return QIcon(pixmap);
    if (QPixmapCache::find(keyOfNone(key), &pixmap))
        return QIcon();
    pixmap = platform::shellIcon(key);
    if (pixmap.isNull()) {
        QPixmapCache::insert(keyOfNone(key), QPixmap(1, 1));
        return QIcon();
    }
    QPixmapCache::insert(key, pixmap);
    return QIcon(pixmap);
}
