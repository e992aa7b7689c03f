#ifndef HOST_MARROWBY_HUMANSIZE_H
#define HOST_MARROWBY_HUMANSIZE_H

#include <QtCore/QByteArray>

/// A number of bytes for people, as `hdfs dfs -ls -h` writes it: "12", "4.0 K", "2.4 M", ... with binary prefixes up to
/// "E", one decimal from 1024 on, and none where nothing was rounded: "1 K".
QByteArray humanSize(quint64 bytes);

#endif
