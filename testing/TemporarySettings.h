// Connection settings of a test's own, in a configuration directory that vanishes with it.
#ifndef TESTING_TEMPORARYSETTINGS_H
#define TESTING_TEMPORARYSETTINGS_H

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>

/// Points XDG_CONFIG_HOME to a new directory while it lives.
class TemporarySettings
{
public:
    TemporarySettings();
    ~TemporarySettings();
    TemporarySettings(const TemporarySettings &) = delete;
    TemporarySettings &operator=(const TemporarySettings &) = delete;

    /// Writes a value as a program would ("hdfs", "webhdfs"), and reads it back from the file.
    void set(const QString &name, const QString &value);
    QString get(const QString &name) const;
    bool contains(const QString &name) const;

    /// The file itself, byte for byte.
    QString fileName() const;
    void writeFile(const QByteArray &content);
    QByteArray readFile() const;

private:
    QTemporaryDir m_directory;
    QByteArray m_outer;
};

/// Sets an environment variable while it lives; a null value removes it.
class TemporaryEnvironment
{
public:
    TemporaryEnvironment(const char *name, const char *value);
    ~TemporaryEnvironment();
    TemporaryEnvironment(const TemporaryEnvironment &) = delete;
    TemporaryEnvironment &operator=(const TemporaryEnvironment &) = delete;

private:
    const QByteArray m_name;
    const bool m_wasSet;
    const QByteArray m_outer;
};

#endif
