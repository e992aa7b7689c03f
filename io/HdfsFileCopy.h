// Copying one HDFS file to another HDFS path through this machine.
#ifndef IO_HDFSFILECOPY_H
#define IO_HDFSFILECOPY_H

#include "rpc/NameNodeConnection.h"

#include <QtCore/QByteArray>

#include <cstdint>

/// Copies `source` to `destination` (UTF-8) with its block size, replication and permission, a block at a time through
/// one buffer of a block. An existing destination is replaced. 0 = copied; also when closing the destination
/// failed, which only the log tells. 1 "Not connected any more to NameNode", 2 "Cannot get info on File '%s'",
/// 3 "File not found", 4 "Memory Allocation Error", 5 the source could not be opened, 6 the destination could not
/// be opened, 7 "Error-read in copy HDFS.", 8 "Error-write in copy HDFS.". After 7 and 8 the destination has been
/// deleted. Files with blocks of 4 GiB or more cannot be copied. The source's status record is left behind in memory.
std::int32_t copyHdfsFile(NameNodeConnection *connection, const QByteArray &source, const QByteArray &destination);

#endif
