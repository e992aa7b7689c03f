#ifndef HOST_MARROWBY_FILEMODE_H
#define HOST_MARROWBY_FILEMODE_H

#include <QtCore/QByteArray>

const quint32 kStickyBit = 01000;
const quint32 kAclBit = 010000; ///< the NameNode's mark for a path that has an access control list
const quint32 kModeBits = 01777;

// What is new gets 0666 and 0777 without the client's umask of 022.
const quint32 kNewFileMode = 0644;
const quint32 kNewDirectoryMode = 0755;

/// "rwxr-xr-x"; the sticky bit shows in the last place as "t", or as "T" when others may not execute.
QByteArray modeText(quint32 mode);

/// The mode bits in octal without leading zeros, as in "1777".
QByteArray modeOctal(quint32 mode);

#endif
