#include "dialog/DialogPaths.h"

#include "dialog/DialogContext.h"
#include "rpc/ClientProtocol.h"

#include <QtCore/QFileInfo>

#include <memory>

namespace {

const int kPrefixLength = 5; // of "hdfs:"
const int kDriveLength = 2;  // of "D:"

bool hasHdfsPrefix(const QString &path, Qt::CaseSensitivity caseSensitivity)
{
    return path.startsWith(QLatin1String("hdfs:"), caseSensitivity);
}

typedef std::unique_ptr<HdfsFileStatus, void (*)(HdfsFileStatus *)> StatusRecord;

/// Null without a connection, without such a path and after a failure.
StatusRecord statusOf(DialogContext &context, const QString &hdfsPath)
{
    NameNodeConnection *const connection = context.connection();
    HdfsFileStatus *const record =
        connection ? ClientProtocol::fileInfo(connection, nameNodePath(hdfsPath), nullptr) : nullptr;
    return StatusRecord(record, ClientProtocol::freeListing);
}

bool existsInHdfs(DialogContext &context, const QString &hdfsPath)
{
    NameNodeConnection *const connection = context.connection();
    bool exists = false;
    bool isFile = false;
    if (connection)
        ClientProtocol::fileExists(connection, nameNodePath(hdfsPath), &exists, &isFile);
    return exists;
}

} // namespace

QString hdfsRoot()
{
    return QString::fromLatin1("hdfs:/");
}

QString computerLevelText()
{
    return QString::fromLatin1("My Computer");
}

bool isHdfsPath(const QString &path)
{
    return hasHdfsPrefix(path, Qt::CaseSensitive);
}

QByteArray nameNodePath(const QString &hdfsPath)
{
    const QByteArray path = hdfsPath.mid(kPrefixLength).toUtf8();
    return path.isEmpty() ? QByteArray("/") : path;
}

QString joinPath(const QString &directory, const QString &name)
{
    const QLatin1Char separator('/');
    if (!directory.endsWith(separator))
        return name.startsWith(separator) ? directory + name : directory + separator + name;
    return name.startsWith(separator) ? directory + name.mid(1) : directory + name;
}

QString parentPath(const QString &path)
{
    const int lastSlash = path.lastIndexOf(QLatin1Char('/'));
    const bool isInDrive = lastSlash == kDriveLength;
    const bool isInHdfsRoot = lastSlash == kPrefixLength && isHdfsPath(path);
    const bool isRoot = (isInDrive || isInHdfsRoot) && lastSlash + 1 == path.length();
    if (lastSlash < kDriveLength || isRoot)
        return QString();
    // A root keeps its slash.
    return path.left(isInDrive || isInHdfsRoot ? lastSlash + 1 : lastSlash);
}

bool isDirectoryPath(DialogContext &context, const QString &path)
{
    if (path.isEmpty())
        return true;
    if (!hasHdfsPrefix(path, Qt::CaseInsensitive))
        return QFileInfo(path).isDir();
    const StatusRecord record = statusOf(context, path);
    return record && record->kind == 'D';
}

bool pathExists(DialogContext &context, const QString &path)
{
    if (path.isEmpty())
        return true;
    return isHdfsPath(path) ? existsInHdfs(context, path) : QFileInfo(path).exists();
}

int pathPermissions(DialogContext &context, const QString &path)
{
    if (path.isEmpty())
        return 0;
    if (!isHdfsPath(path))
        return static_cast<int>(QFileInfo(path).permissions());
    const StatusRecord record = statusOf(context, path);
    return record ? record->permission : 0;
}
