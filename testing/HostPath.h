// Paths of the machine that the servers run on, which is this one: for a test that runs on Wine they look different.
#ifndef TESTING_HOSTPATH_H
#define TESTING_HOSTPATH_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// How this process opens a file that the servers' system knows by `path`.
QString localPathOf(const QByteArray &path);

/// What the servers' system calls a file of this process's.
QByteArray serversPathOf(const QString &path);

#endif
