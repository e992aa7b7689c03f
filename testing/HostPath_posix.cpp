#include "testing/HostPath.h"

#include <QtCore/QFile>

QString localPathOf(const QByteArray &path)
{
    return QFile::decodeName(path);
}

QByteArray serversPathOf(const QString &path)
{
    return QFile::encodeName(path);
}
