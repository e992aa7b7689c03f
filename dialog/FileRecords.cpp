#include "dialog/FileRecords.h"

#include "rpc/FileStatusRecord.h"

#include <QtCore/QDateTime>

namespace {

/// What the permissions of a record that does not come from a NameNode say: everybody may do everything.
const std::uint16_t kAllPermissions = 0777;

ByteString view(const QByteArray &bytes)
{
    const ByteString view = {bytes.constData(), static_cast<std::size_t>(bytes.size())};
    return view;
}

} // namespace

HdfsFileStatus *recordOfLocalFile(const QFileInfo &file, const QByteArray &owner, const QByteArray &group)
{
    const QByteArray name = file.fileName().toUtf8();
    HdfsFileStatus *record = newFileStatusRecord(view(name), view(owner), view(group));
    if (!record)
        return nullptr;
    record->kind = file.isDir() ? 'D' : 'F';
    record->modificationTime = file.lastModified().toTime_t();
    record->length = static_cast<std::uint64_t>(file.size());
    record->replication = 0;
    record->blockSize = 0;
    record->permission = kAllPermissions;
    record->accessTime = file.lastRead().toTime_t();
    return record;
}

HdfsFileStatus *recordOfNewFolder(const QByteArray &name)
{
    const ByteString nobody = {"", 0};
    HdfsFileStatus *record = newFileStatusRecord(view(name), nobody, nobody);
    if (!record)
        return nullptr;
    record->kind = 'D';
    record->modificationTime = static_cast<std::uint64_t>(QDateTime::currentDateTime().toMSecsSinceEpoch());
    record->length = 0;
    record->replication = 0;
    record->blockSize = 0;
    record->permission = kAllPermissions;
    record->accessTime = record->modificationTime;
    return record;
}

HdfsFileStatus *recordWithName(const HdfsFileStatus &record, const QByteArray &name)
{
    HdfsFileStatus *copy = newFileStatusRecord(view(name), record.owner, record.group);
    if (!copy)
        return nullptr;
    copy->kind = record.kind;
    copy->modificationTime = record.modificationTime;
    copy->length = record.length;
    copy->replication = record.replication;
    copy->blockSize = record.blockSize;
    copy->permission = record.permission;
    copy->accessTime = record.accessTime;
    return copy;
}

QString textOf(const ByteString &bytes)
{
    return QString::fromUtf8(bytes.data, static_cast<int>(bytes.size));
}
