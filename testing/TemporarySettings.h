// Connection settings of a test's own, which vanish with it.
#ifndef TESTING_TEMPORARYSETTINGS_H
#define TESTING_TEMPORARYSETTINGS_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

/// Points XDG_CONFIG_HOME to a new directory while it lives; on Windows, HKEY_CURRENT_USER to a new key of the
/// registry.
class TemporarySettings
{
public:
    TemporarySettings();
    ~TemporarySettings();
    TemporarySettings(const TemporarySettings &) = delete;
    TemporarySettings &operator=(const TemporarySettings &) = delete;

    /// Writes a value as a program would ("hdfs", "webhdfs"), and reads it back from the store.
    void set(const QString &name, const QString &value);
    QString get(const QString &name) const;
    bool contains(const QString &name) const;

    /// Makes this value the only one, as somebody writes it with an editor.
    void writeByHand(const QString &name, const QString &value);
    /// All that is stored, byte for byte, to compare it with what is stored later.
    QByteArray content() const;

    /// Where other processes find the store: the file; on Windows the key, from "HKEY_CURRENT_USER" on.
    QString fileName() const;

private:
    struct Store;
    std::unique_ptr<Store> m_store;
};

/// Nobody can write settings while it lives; those that are there can be read. For administrators, too.
class UnwritableSettings
{
public:
    UnwritableSettings();
    ~UnwritableSettings();
    UnwritableSettings(const UnwritableSettings &) = delete;
    UnwritableSettings &operator=(const UnwritableSettings &) = delete;

private:
    struct Lock;
    std::unique_ptr<Lock> m_lock;
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
