#ifndef HOST_MARROWBY_LOGIN_H
#define HOST_MARROWBY_LOGIN_H

#include <QtCore/QByteArray>

/// The name of the user that this process runs as, in the local encoding; empty when the system does not know one.
QByteArray loginName();

#endif
