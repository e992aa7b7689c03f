#include "host/marrowby/Times.h"

#include <QtCore/QDateTime>

std::string listedTime(std::uint64_t milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds))
        .toString(QLatin1String("yyyy-MM-dd HH:mm"))
        .toStdString();
}

std::string statTime(std::uint64_t milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(milliseconds))
        .toUTC()
        .toString(QLatin1String("yyyy-MM-dd HH:mm:ss"))
        .toStdString();
}
