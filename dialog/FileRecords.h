// The status records that the dialog makes itself. Each is a single heap block like the records of a listing and
// released like one, with ClientProtocol::freeListing. All are null when there is no memory for them.
#ifndef DIALOG_FILERECORDS_H
#define DIALOG_FILERECORDS_H

#include "rpc/HdfsFileStatus.h"

#include <QtCore/QByteArray>
#include <QtCore/QFileInfo>

/// A local file or directory, with times in seconds since 1970-01-01 UTC and permissions that allow everything.
/// `owner` and `group` are what the file belongs to, in UTF-8.
HdfsFileStatus *recordOfLocalFile(const QFileInfo &file, const QByteArray &owner, const QByteArray &group);

/// A directory that was made just now, with times in milliseconds; `name` is in UTF-8.
HdfsFileStatus *recordOfNewFolder(const QByteArray &name);

/// A copy of `record` with another name, in UTF-8.
HdfsFileStatus *recordWithName(const HdfsFileStatus &record, const QByteArray &name);

/// Bytes of a record, which are UTF-8, as a text; never null.
QString textOf(const ByteString &bytes);

#endif
