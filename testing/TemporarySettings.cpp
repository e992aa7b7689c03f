#include "testing/TemporarySettings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>

namespace {

void setVariable(const char *name, const QByteArray &value, bool present)
{
    if (present)
        qputenv(name, value);
    else
        qunsetenv(name);
}

} // namespace

TemporarySettings::TemporarySettings() : m_outer(qgetenv("XDG_CONFIG_HOME"))
{
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_directory.path()));
}

TemporarySettings::~TemporarySettings()
{
    setVariable("XDG_CONFIG_HOME", m_outer, !m_outer.isEmpty());
}

void TemporarySettings::set(const QString &name, const QString &value)
{
    QSettings settings(fileName(), QSettings::IniFormat);
    settings.setIniCodec("UTF-8");
    settings.setValue(name, value);
}

QString TemporarySettings::get(const QString &name) const
{
    QSettings settings(fileName(), QSettings::IniFormat);
    settings.setIniCodec("UTF-8");
    return settings.value(name).toString();
}

bool TemporarySettings::contains(const QString &name) const
{
    return QSettings(fileName(), QSettings::IniFormat).contains(name);
}

QString TemporarySettings::fileName() const
{
    return m_directory.path() + QLatin1String("/Quor.ini");
}

void TemporarySettings::writeFile(const QByteArray &content)
{
    QFile file(fileName());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(fileName()));
}

QByteArray TemporarySettings::readFile() const
{
    QFile file(fileName());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TemporaryEnvironment::TemporaryEnvironment(const char *name, const char *value)
    : m_name(name), m_wasSet(!qgetenv(name).isNull()), m_outer(qgetenv(name))
{
    setVariable(name, value, value != nullptr);
}

TemporaryEnvironment::~TemporaryEnvironment()
{
    setVariable(m_name.constData(), m_outer, m_wasSet);
}
