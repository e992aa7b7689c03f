// How new HDFS files are laid out, as asked for with -D NAME=VALUE.
#ifndef HOST_MARROWBY_WRITESETTINGS_H
#define HOST_MARROWBY_WRITESETTINGS_H

#include <QtCore/QtGlobal>

#include <string>
#include <vector>

struct WriteSettings {
    qint64 blockSize = 128 * 1024 * 1024; ///< dfs.blocksize: bytes, a multiple of 1024 below 4 GiB
    quint16 replication = 3;              ///< dfs.replication
    quint32 bytesPerChecksum = 0;         ///< dfs.bytes-per-checksum; 0: what the plug-in takes by itself

    /// Out of "NAME=VALUE" texts, of which the last one of a name counts. A block size may end with k, m, g, t, p or e.
    /// Other names and texts without "=" change nothing. Throws UsageError.
    static WriteSettings from(const std::vector<std::string> &properties);
};

#endif
