// Where the connection settings are kept: on Windows in the registry under
// "HKEY_CURRENT_USER\Software\Quor", elsewhere in the INI file `Quor.ini` in the user's configuration
// directory ($XDG_CONFIG_HOME). The value names are the same on both.
#ifndef PLATFORM_SETTINGS_H
#define PLATFORM_SETTINGS_H

#include <QtCore/QSettings>
#include <QtCore/QString>

#include <memory>

namespace platform {

/// Opens the store for reading and writing; changes are written at the latest when the object is
/// destroyed, and a store that cannot be written stays as it is without a message.
std::unique_ptr<QSettings> openConnectionSettings();

/// A value as the text that stands in the store; `defaultValue` when it is missing. Unlike
/// QVariant::toString also for a hand-written value with commas, which INI files take for a list.
/// In the registry a REG_SZ or REG_EXPAND_SZ is the text (nothing is expanded), a REG_DWORD or
/// REG_QWORD the number in decimal, a REG_BINARY or REG_NONE what its bytes are in UTF-16, a REG_MULTI_SZ
/// its only string, or empty when it has several, and any other type empty. A text is whole without the
/// zero at its end; a number of a size that is not its type's is some number.
QString settingText(const QSettings &settings, const QString &name, const QString &defaultValue = QString());

} // namespace platform

#endif
