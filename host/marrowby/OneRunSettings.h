// Connection settings for one run of the program, which leave the stored ones alone.
#ifndef HOST_MARROWBY_ONERUNSETTINGS_H
#define HOST_MARROWBY_ONERUNSETTINGS_H

#include "host/marrowby/ConnectionSettings.h"

#include <QtCore/QByteArray>

/// While it lives, this process (and so the plug-in) finds `settings` instead of the stored ones. Only the plug-in's
/// `connect` reads them, so it need not live longer than that call. Nothing stays behind, not even when a signal ends
/// the process.
class OneRunSettings
{
public:
    /// Throws Failure when they cannot be put anywhere.
    explicit OneRunSettings(const ConnectionSettings &settings);
    ~OneRunSettings();
    OneRunSettings(const OneRunSettings &) = delete;
    OneRunSettings &operator=(const OneRunSettings &) = delete;

private:
    void remove();

    QByteArray m_directory; ///< local encoding
    QByteArray m_file;
    QByteArray m_configurationBefore;
};

#endif
