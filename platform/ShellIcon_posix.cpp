#include "platform/ShellIcon.h"

#include <QtCore/QMimeDatabase>
#include <QtCore/QMimeType>
#include <QtGui/QIcon>

namespace {

const int kSmallIconPixels = 16;

} // namespace

namespace platform {

QPixmap shellIcon(const QString &fileName)
{
    // In lower case: of two endings that differ in nothing else ("*.c", "*.C"), that is the usual one.
    const QMimeType type = QMimeDatabase().mimeTypeForFile(fileName.toLower(), QMimeDatabase::MatchExtension);
    if (type.isDefault())
        return QPixmap();
    QIcon icon = QIcon::fromTheme(type.iconName());
    if (icon.isNull())
        icon = QIcon::fromTheme(type.genericIconName());
    return icon.isNull() ? QPixmap() : icon.pixmap(kSmallIconPixels);
}

} // namespace platform
