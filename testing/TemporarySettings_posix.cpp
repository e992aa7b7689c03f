#include "testing/TemporarySettings.h"

#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>

#include <csignal>
#include <sys/resource.h>

struct TemporarySettings::Store {
    QTemporaryDir directory;
    QByteArray outer;
};

TemporarySettings::TemporarySettings() : m_store(new Store)
{
    m_store->outer = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_store->directory.path()));
}

TemporarySettings::~TemporarySettings()
{
    if (m_store->outer.isEmpty())
        qunsetenv("XDG_CONFIG_HOME");
    else
        qputenv("XDG_CONFIG_HOME", m_store->outer);
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

void TemporarySettings::writeByHand(const QString &name, const QString &value)
{
    const QByteArray content = "[General]\n" + name.toUtf8() + '=' + value.toUtf8() + '\n';
    QFile file(fileName());
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(fileName()));
}

QByteArray TemporarySettings::content() const
{
    QFile file(fileName());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString TemporarySettings::fileName() const
{
    return m_store->directory.path() + QLatin1String("/Quor.ini");
}

// No file at all can be written: permissions would not keep root from it.
struct UnwritableSettings::Lock {
    void (*outerHandler)(int);
    rlimit outerLimit;
};

UnwritableSettings::UnwritableSettings() : m_lock(new Lock)
{
    m_lock->outerHandler = std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &m_lock->outerLimit);
    rlimit none = m_lock->outerLimit;
    none.rlim_cur = 0;
    ::setrlimit(RLIMIT_FSIZE, &none);
}

UnwritableSettings::~UnwritableSettings()
{
    ::setrlimit(RLIMIT_FSIZE, &m_lock->outerLimit);
    std::signal(SIGXFSZ, m_lock->outerHandler);
}
