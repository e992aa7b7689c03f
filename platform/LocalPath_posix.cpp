#include "platform/LocalPath.h"

bool platform::isAbsoluteLocalPath(const QString &path)
{
    return path.startsWith(QLatin1Char('/'));
}
