#include "platform/UniqueId.h"

#include <QtCore/QUuid>

#include <cstdlib>
#include <cstring>

namespace platform {

void UniqueIdDeleter::operator()(char *text) const
{
    std::free(text);
}

UniqueId createUniqueId()
{
    const QUuid uuid = QUuid::createUuid();
    if (uuid.isNull())
        return UniqueId();
    // QUuid writes its text in braces.
    return UniqueId(::strdup(uuid.toString().mid(1, 36).toLatin1().constData()));
}

} // namespace platform
