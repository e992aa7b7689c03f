#include "platform/UserFolders.h"

#include <QtCore/QDir>

QString platform::desktopFolder()
{
    return QDir::home().filePath(QLatin1String("Desktop"));
}

QString platform::documentsFolder()
{
    return QDir::home().filePath(QLatin1String("Documents"));
}
