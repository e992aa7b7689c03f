#include "host/marrowby/OneRunSettings.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace {

const char kDirectoryVariable[] = "XDG_CONFIG_HOME";

} // namespace

OneRunSettings::OneRunSettings(const ConnectionSettings &settings) : m_configurationBefore(qgetenv(kDirectoryVariable))
{
    m_directory = QFile::encodeName(QDir::tempPath() + QLatin1String("/marrowby-XXXXXX"));
    if (!::mkdtemp(m_directory.data())) // readable for its owner alone
        throw Failure("cannot make a directory for the settings of this run: " + systemErrorText(errno));
    qputenv(kDirectoryVariable, m_directory);
    m_file = QFile::encodeName(ConnectionSettings::location());
    removeAtAbruptEnd(m_file);
    removeAtAbruptEnd(m_directory);
    if (!settings.save()) {
        remove();
        throw Failure("cannot write the settings of this run to " + m_file);
    }
}

OneRunSettings::~OneRunSettings()
{
    remove();
}

void OneRunSettings::remove()
{
    if (m_configurationBefore.isEmpty())
        qunsetenv(kDirectoryVariable);
    else
        qputenv(kDirectoryVariable, m_configurationBefore);
    ::unlink(m_file.constData());
    ::rmdir(m_directory.constData());
    isRemoved(m_file);
    isRemoved(m_directory);
}
