#include "platform/Settings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <cstdlib>
#include <unistd.h>

namespace platform {

namespace {

const char kDirectoryVariable[] = "XDG_CONFIG_HOME";
const char kFileName[] = "/Quor.ini";

QString configurationDirectory()
{
    // Asked at each call, unlike QSettings::UserScope, which remembers the first answer for the process.
    const QByteArray directory = qgetenv(kDirectoryVariable);
    if (!directory.isEmpty() && directory.startsWith('/'))
        return QFile::decodeName(directory);
    return QDir::homePath() + QLatin1String("/.config");
}

} // namespace

std::unique_ptr<QSettings> openConnectionSettings()
{
    std::unique_ptr<QSettings> settings(
        new QSettings(configurationDirectory() + QLatin1String(kFileName), QSettings::IniFormat));
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

TemporarySettingsStore::TemporarySettingsStore() {}

TemporarySettingsStore::~TemporarySettingsStore()
{
    if (m_place.isEmpty())
        return;
    if (m_placeBefore.isNull())
        ::unsetenv(kDirectoryVariable);
    else
        ::setenv(kDirectoryVariable, m_placeBefore.constData(), 1);
    ::unlink((m_place + kFileName).constData());
    ::rmdir(m_place.constData());
}

bool TemporarySettingsStore::open()
{
    QByteArray place = QFile::encodeName(QDir::tempPath()) + "/quor-settings-XXXXXX";
    if (!::mkdtemp(place.data()))
        return false;
    m_place = place;
    m_placeBefore = qgetenv(kDirectoryVariable);
    return ::setenv(kDirectoryVariable, m_place.constData(), 1) == 0;
}

} // namespace platform
