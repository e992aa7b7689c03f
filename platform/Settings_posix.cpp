#include "platform/Settings.h"

#include <QtCore/QDir>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

namespace platform {

namespace {

QString configurationDirectory()
{
    // Asked at each call, unlike QSettings::UserScope, which remembers the first answer for the process.
    const QByteArray directory = qgetenv("XDG_CONFIG_HOME");
    if (!directory.isEmpty() && directory.startsWith('/'))
        return QFile::decodeName(directory);
    return QDir::homePath() + QLatin1String("/.config");
}

} // namespace

std::unique_ptr<QSettings> openConnectionSettings()
{
    std::unique_ptr<QSettings> settings(
        new QSettings(configurationDirectory() + QLatin1String("/Quor.ini"), QSettings::IniFormat));
    settings->setIniCodec("UTF-8");
    return settings;
}

QString settingText(const QSettings &settings, const QString &name, const QString &defaultValue)
{
    const QVariant value = settings.value(name, defaultValue);
    if (value.type() == QVariant::StringList)
        return value.toStringList().join(QLatin1String(","));
    return value.toString();
}

} // namespace platform
