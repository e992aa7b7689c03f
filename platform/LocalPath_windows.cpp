#include "platform/LocalPath.h"

bool platform::isAbsoluteLocalPath(const QString &path)
{
    return path.length() >= 3 && path.at(1) == QLatin1Char(':');
}
