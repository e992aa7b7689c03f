// The host program's own access to its log. Not part of what plug-ins see.
#ifndef HOST_CORE_LOGTAP_H
#define HOST_CORE_LOGTAP_H

#include "host/core/MainUI.h"

/// Sees every entry before it is written to standard error. True keeps the entry out of standard error; a log file named by
/// MARROWBY_LOG gets every entry all the same.
typedef bool (*LogTap)(LogLevel level, const QString &text);

/// Sets the tap, null for none. Returns the one before.
MARROWBYCORE_EXPORT LogTap setLogTap(LogTap tap);

#endif
