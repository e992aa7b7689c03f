// Where the connection settings are kept: on Windows in the registry under
// "HKEY_CURRENT_USER\Software\Quor", elsewhere in the INI file `Quor.ini` in the user's configuration
// directory ($XDG_CONFIG_HOME). The value names are the same on both.
#ifndef PLATFORM_SETTINGS_H
#define PLATFORM_SETTINGS_H

#include <QtCore/QByteArray>
#include <QtCore/QSettings>
#include <QtCore/QString>

#include <memory>

namespace platform {

/// Opens the store for reading and writing; changes are written when the object is destroyed, and
/// a store that cannot be written keeps its values without a message.
std::unique_ptr<QSettings> openConnectionSettings();

/// A value as the text that stands in the store; `defaultValue` when it is missing. Unlike
/// QVariant::toString also for a hand-written value with commas, which INI files take for a list.
QString settingText(const QSettings &settings, const QString &name, const QString &defaultValue = QString());

/// A private, empty store that openConnectionSettings opens in this process instead of the user's own, from `open`
/// until the object is destroyed; then it is gone.
class TemporarySettingsStore
{
public:
    TemporarySettingsStore();
    ~TemporarySettingsStore();
    TemporarySettingsStore(const TemporarySettingsStore &) = delete;
    TemporarySettingsStore &operator=(const TemporarySettingsStore &) = delete;

    /// False when there is no place for it.
    bool open();

private:
    QByteArray m_place;
    QByteArray m_placeBefore;
};

} // namespace platform

#endif
