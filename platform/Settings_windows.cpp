#include "platform/Settings.h"

#include <QtCore/QVariant>

namespace platform {

std::unique_ptr<QSettings> openConnectionSettings()
{
    return std::unique_ptr<QSettings>(
        new QSettings(QLatin1String("HKEY_CURRENT_USER\\Software\\Quor"), QSettings::NativeFormat));
}

QString settingText(const QSettings &settings, const QString &name, const QString &defaultValue)
{
    return settings.value(name, defaultValue).toString();
}

} // namespace platform
