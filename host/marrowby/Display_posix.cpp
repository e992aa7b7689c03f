#include "host/marrowby/Display.h"

#include <QtCore/QByteArray>

bool hasDisplay()
{
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (!qgetenv(variable).isEmpty())
            return true;
    return false;
}
