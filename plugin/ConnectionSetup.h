// From the user's stored settings to a live connection, and back into the settings what the connection learned.
#ifndef PLUGIN_CONNECTIONSETUP_H
#define PLUGIN_CONNECTIONSETUP_H

#include <QtCore/QString>

class NameNodeConnection;

/// Connects to the NameNode of the settings. Their value "hdfs" is
///     HOST[:PORT][,more addresses, not used][|INDEX[|USER[|further fields, kept as they are]]]
/// with port 8020, index 0 (which of the host's addresses is tried first) and the operating system's user name
/// (environment variable USERNAME) where they are missing; "webhdfs", a decimal number, chooses WebHDFS reads when it
/// is not 0. "abandonBlock", a decimal number too, makes writers give a block that could not be written back to the
/// NameNode before they ask for the next when it is not 0. Returns null without a message when no host is configured,
/// and null after "Connection to HDFS failed.\n" when it cannot be reached. When another address than the remembered
/// one was reached, its index is written back. The caller owns the connection. `*userName` (may be null) receives the
/// user name that was used; it is untouched when no host is configured.
NameNodeConnection *connectFromSettings(QString *userName);

#endif
