#include "dialog/HdfsFileSystemModel.h"

#include "dialog/DialogContext.h"
#include "dialog/DialogPaths.h"
#include "dialog/FileIcon.h"
#include "dialog/FileRecords.h"
#include "dialog/SizeText.h"
#include "platform/DiskSpace.h"
#include "rpc/ClientProtocol.h"
#include "rpc/HostLog.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QLocale>
#include <QtGui/QBrush>
#include <QtGui/QIcon>

#include <QWidget>

#include <cstdlib>

namespace {

const std::uint32_t kNewFolderMode = 0777;
const char kListed[] = "FFFFFF";
const char kNotListed[] = "FFC8C8";

bool isDirectory(const HdfsFileStatus &entry)
{
    return entry.kind == 'D';
}

/// The names of users or groups by their numbers: a directory has few of them, and to ask the system for each file is
/// most of what listing it would cost.
class NamesByNumber
{
public:
    QByteArray owner(const QFileInfo &file) { return name(file.ownerId(), file, &QFileInfo::owner); }
    QByteArray group(const QFileInfo &file) { return name(file.groupId(), file, &QFileInfo::group); }

private:
    QByteArray name(uint number, const QFileInfo &file, QString (QFileInfo::*ask)() const)
    {
        const uint noNumber = static_cast<uint>(-2);
        if (number == noNumber)
            return (file.*ask)().toUtf8();
        QHash<uint, QByteArray>::const_iterator known = m_names.constFind(number);
        if (known == m_names.constEnd())
            known = m_names.insert(number, (file.*ask)().toUtf8());
        return *known;
    }

    QHash<uint, QByteArray> m_names;
};

} // namespace

HdfsFileSystemModel::HdfsFileSystemModel(DialogContext &dialog, QObject *parent)
    : QAbstractTableModel(parent), m_entries(nullptr), m_rowCount(0), m_dialog(dialog), m_revision(0)
{
}

HdfsFileSystemModel::~HdfsFileSystemModel()
{
    freeEntries();
}

void HdfsFileSystemModel::freeEntries()
{
    if (m_entries) {
        for (qint32 row = 0; row < m_rowCount; ++row)
            ClientProtocol::freeListing(m_entries[row]);
    }
    std::free(m_entries);
    m_entries = nullptr;
    m_rowCount = 0;
    ++m_revision;
}

/// Makes room for so many entries; those that are there stay. False when there is no memory for them.
bool HdfsFileSystemModel::reserveEntries(qint32 count)
{
    void *grown = std::realloc(m_entries, static_cast<std::size_t>(count) * sizeof *m_entries);
    if (!grown)
        return false;
    m_entries = static_cast<HdfsFileStatus **>(grown);
    return true;
}

void HdfsFileSystemModel::listDirectory(const QString &path)
{
    bool listed = true;
    // Whoever looks at the model before the reset has ended (a host that repaints when something is logged) finds no
    // rows, not the records that are gone.
    beginResetModel();
    freeEntries();
    m_styleIcons.forget();
    m_currentPath = path;
    // "/" alone is the local root, not the computer level.
    if (m_currentPath.length() > 1 && m_currentPath.endsWith(QLatin1Char('/')))
        m_currentPath.chop(1);
    if (isComputerLevel())
        listComputer();
    else if (isHdfs())
        listed = listHdfsDirectory();
    else
        listLocalDirectory();
    ++m_revision;
    endResetModel();
    if (!isComputerLevel())
        setBackgroundColour(QLatin1String(listed ? kListed : kNotListed));
}

void HdfsFileSystemModel::listComputer()
{
    if (m_drives.isEmpty()) {
        const QFileInfoList drives = QDir::drives();
        m_drives.resize(drives.size() + 1);
        for (int i = drives.size() - 1; i >= 0; --i) {
            DriveEntry &drive = m_drives[i];
            drive.path = drives.at(i).absolutePath();
            platform::diskSpace(drive.path, &drive.capacity, &drive.remaining);
        }
    }
    DriveEntry &hdfs = m_drives.last();
    hdfs.path = QLatin1String("hdfs:/");
    std::uint64_t counters[ClientProtocol::kFsStatsCount];
    NameNodeConnection *connection = m_dialog.connection();
    if (connection && ClientProtocol::getFsStats(connection, counters) == 0) {
        hdfs.capacity = counters[0];
        hdfs.remaining = counters[2];
        hdfs.underReplicated = counters[3];
    } else {
        hdfs.capacity = hdfs.remaining = hdfs.underReplicated = static_cast<quint64>(-1);
    }
    m_rowCount = m_drives.size();
}

bool HdfsFileSystemModel::listHdfsDirectory()
{
    NameNodeConnection *connection = m_dialog.connection();
    if (!connection)
        return false;
    std::int32_t count;
    HdfsFileStatus *head = ClientProtocol::getListing(connection, nameNodePath(m_currentPath), &count);
    return count >= 0 && takeListing(head, count);
}

/// Makes the records of a listing the model's own, one by one.
bool HdfsFileSystemModel::takeListing(HdfsFileStatus *head, qint32 count)
{
    if (count > 0 && !reserveEntries(count)) {
        ClientProtocol::freeListing(head);
        return false;
    }
    for (; m_rowCount < count; ++m_rowCount) {
        m_entries[m_rowCount] = head;
        head = head->next;
        m_entries[m_rowCount]->next = nullptr;
    }
    return true;
}

void HdfsFileSystemModel::listLocalDirectory()
{
    // With its "/": "D:" alone would be the current directory of that drive. NoSort leaves the order to QDir, whose own
    // is by name.
    const QFileInfoList files =
        QDir(entryPath(QString()))
            .entryInfoList(QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot, QDir::NoSort);
    if (files.isEmpty() || !reserveEntries(files.size()))
        return;
    NamesByNumber owners;
    NamesByNumber groups;
    foreach (const QFileInfo &file, files) {
        m_entries[m_rowCount] = recordOfLocalFile(file, owners.owner(file), groups.group(file));
        if (!m_entries[m_rowCount])
            break;
        ++m_rowCount;
    }
}

int HdfsFileSystemModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rowCount;
}

int HdfsFileSystemModel::columnCount(const QModelIndex &) const
{
    return ColumnCount;
}

QVariant HdfsFileSystemModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QVariant();
    // The computer level gives its texts for every role.
    if (!isComputerLevel() && role != Qt::DisplayRole && role != Qt::ToolTipRole)
        return QVariant();
    switch (section) {
    case NameColumn:
        return isComputerLevel() ? tr("Drive") : tr("Name");
    case SizeColumn:
        return isComputerLevel() ? tr("Capacity") : tr("Size");
    case TypeColumn:
        return isComputerLevel() ? tr("Remaining") : tr("Type");
    case LastAccessedColumn:
        return isComputerLevel() ? tr("Under Replicated Blocks") : tr("Last Accessed");
    case OwnerColumn:
        return isComputerLevel() ? QVariant() : tr("Owner");
    case GroupColumn:
        return isComputerLevel() ? QVariant() : tr("Group");
    default:
        return QVariant();
    }
}

bool HdfsFileSystemModel::isRow(const QModelIndex &index) const
{
    return index.isValid() && index.row() < m_rowCount && index.column() < ColumnCount;
}

bool HdfsFileSystemModel::isHdfs() const
{
    return isHdfsPath(m_currentPath);
}

/// The path of an entry of the current directory; of the directory itself with "/" at its end for an empty name.
QString HdfsFileSystemModel::entryPath(const QString &name) const
{
    return joinPath(m_currentPath, name);
}

const HdfsFileStatus *HdfsFileSystemModel::record(const QModelIndex &index) const
{
    return isRow(index) && m_entries ? m_entries[index.row()] : nullptr;
}

QVariant HdfsFileSystemModel::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return QVariant();
    return isComputerLevel() ? driveData(index.row(), index.column(), role) : entryData(index, role);
}

QVariant HdfsFileSystemModel::driveData(int row, int column, int role) const
{
    const DriveEntry &drive = m_drives.at(row);
    if (role == Qt::DecorationRole && column == NameColumn)
        return m_styleIcons.icon(row < m_drives.size() - 1 ? QStyle::SP_DriveHDIcon : QStyle::SP_DriveNetIcon);
    if (role != Qt::DisplayRole && role != Qt::UserRole)
        return QVariant();
    switch (column) {
    case 0:
        return drive.path;
    case 1:
        return formatSize(static_cast<qint64>(drive.capacity));
    case 2:
        return formatSize(static_cast<qint64>(drive.remaining));
    case 3:
        return static_cast<int>(drive.underReplicated);
    default:
        return QVariant();
    }
}

QVariant HdfsFileSystemModel::entryData(const QModelIndex &index, int role) const
{
    const HdfsFileStatus &entry = *m_entries[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::UserRole:
        return entryText(entry, index.column(), role);
    case Qt::DecorationRole:
        return index.column() == NameColumn ? QVariant(entryIcon(entry)) : QVariant();
    case Qt::TextAlignmentRole:
        return index.column() == SizeColumn ? QVariant(static_cast<int>(Qt::AlignRight)) : QVariant();
    case Qt::BackgroundRole:
        return isUsable(entry) ? QVariant() : QVariant(QBrush(QColor(255, 200, 200)));
    default:
        return QVariant();
    }
}

QVariant HdfsFileSystemModel::entryText(const HdfsFileStatus &entry, int column, int role) const
{
    switch (column) {
    case NameColumn:
        return textOf(entry.path);
    case SizeColumn:
        if (role == Qt::UserRole)
            return static_cast<qlonglong>(entry.length);
        return isDirectory(entry) ? QString::fromLatin1("") : formatSize(static_cast<qint64>(entry.length));
    case TypeColumn:
        return typeText(entry);
    case LastAccessedColumn:
        // Deliberately what stands in the modification time, and that as 32-bit seconds, though a NameNode counts
        // milliseconds.
        return QLocale::system().toString(QDateTime::fromTime_t(static_cast<uint>(entry.modificationTime)),
                                          QLocale::ShortFormat);
    case OwnerColumn:
        return textOf(entry.owner);
    case GroupColumn:
        return textOf(entry.group);
    default:
        return QVariant();
    }
}

QString HdfsFileSystemModel::typeText(const HdfsFileStatus &entry) const
{
    if (isDirectory(entry))
        return tr("File Folder");
    const QString name = textOf(entry.path);
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    // The dot is part of the type.
    return dot < 0 ? tr("Unknown File") : tr("%1 File").arg(name.mid(dot));
}

QIcon HdfsFileSystemModel::entryIcon(const HdfsFileStatus &entry) const
{
    if (isDirectory(entry))
        return m_styleIcons.icon(QStyle::SP_DirIcon);
    const QIcon icon = iconForFileName(textOf(entry.path));
    return icon.isNull() ? m_styleIcons.icon(QStyle::SP_FileIcon) : icon;
}

namespace {

const quint16 kOthersExecute = 0001, kGroupExecute = 0010, kOwnerExecute = 0100;
const quint16 kOthersWrite = 0002, kGroupWrite = 0020, kOwnerWrite = 0200;
const quint16 kOthersRead = 0004, kGroupRead = 0040, kOwnerRead = 0400;

} // namespace

/// Whether the user can do with an entry what the dialog is there for; the others have another background.
bool HdfsFileSystemModel::isUsable(const HdfsFileStatus &entry) const
{
    if (isDirectory(entry))
        return isAllowed(entry, {kOthersExecute, kGroupExecute, kOwnerExecute});
    switch (m_dialog.mode()) {
    case DialogModeSave:
        return isAllowed(entry, {kOthersWrite, kGroupWrite, kOwnerWrite});
    case DialogModeOpen:
        return isAllowed(entry, {kOthersRead, kGroupRead, kOwnerRead});
    default:
        return true;
    }
}

bool HdfsFileSystemModel::isAllowed(const HdfsFileStatus &entry, const PermissionBits &bits) const
{
    return (entry.permission & bits.others) ||
           ((entry.permission & bits.group) && textOf(entry.group) == m_dialog.userGroup()) ||
           ((entry.permission & bits.owner) && textOf(entry.owner) == m_dialog.userName());
}

bool HdfsFileSystemModel::isAllowed(const QModelIndex &index, const PermissionBits &bits) const
{
    if (!isRow(index))
        return false;
    return isComputerLevel() || isAllowed(*m_entries[index.row()], bits);
}

bool HdfsFileSystemModel::canExecute(const QModelIndex &index) const
{
    return isAllowed(index, {kOthersExecute, kGroupExecute, kOwnerExecute});
}

bool HdfsFileSystemModel::canWrite(const QModelIndex &index) const
{
    return isAllowed(index, {kOthersWrite, kGroupWrite, kOwnerWrite});
}

bool HdfsFileSystemModel::canRead(const QModelIndex &index) const
{
    return isAllowed(index, {kOthersRead, kGroupRead, kOwnerRead});
}

quint16 HdfsFileSystemModel::permissions(const QModelIndex &index) const
{
    const HdfsFileStatus *entry = record(index);
    return entry ? entry->permission : 0;
}

QString HdfsFileSystemModel::owner(const QModelIndex &index) const
{
    const HdfsFileStatus *entry = record(index);
    return entry ? textOf(entry->owner) : fileName(index);
}

QString HdfsFileSystemModel::group(const QModelIndex &index) const
{
    const HdfsFileStatus *entry = record(index);
    return entry ? textOf(entry->group) : fileName(index);
}

QString HdfsFileSystemModel::fileName(const QModelIndex &index) const
{
    if (!isRow(index))
        return QString();
    return isComputerLevel() ? m_drives.at(index.row()).path : textOf(m_entries[index.row()]->path);
}

QString HdfsFileSystemModel::filePath(const QModelIndex &index) const
{
    const QString name = fileName(index);
    return name.isNull() || isComputerLevel() ? name : entryPath(name);
}

bool HdfsFileSystemModel::isDir(const QModelIndex &index) const
{
    return isRow(index) && (isComputerLevel() || isDirectory(*m_entries[index.row()]));
}

Qt::ItemFlags HdfsFileSystemModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    return record(index) && index.column() == NameColumn ? flags | Qt::ItemIsEditable : flags;
}

/// Whether a name can be that of an entry of the current directory: any other would lead out of it or to the directory
/// itself, and the row would show a name that is not there.
bool HdfsFileSystemModel::isEntryName(const QString &name) const
{
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(QLatin1Char('/')) && (isHdfs() || !name.contains(QDir::separator()));
}

/// Whether another entry of the current HDFS directory has this name. The NameNode says neither that it refused to
/// rename to the name of a file nor that it moved what was to be renamed into the directory of that name.
bool HdfsFileSystemModel::isTaken(const QString &name) const
{
    if (!isHdfs())
        return false;
    for (qint32 row = 0; row < m_rowCount; ++row) {
        if (textOf(m_entries[row]->path) == name)
            return true;
    }
    return false;
}

bool HdfsFileSystemModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !record(index) || index.column() != NameColumn)
        return false;
    HdfsFileStatus *&entry = m_entries[index.row()];
    const QString oldName = textOf(entry->path);
    const QString newName = value.toString();
    if (newName == oldName)
        return true;
    // Made first: a rename that has happened has to be shown.
    HdfsFileStatus *renamed = recordWithName(*entry, newName.toUtf8());
    if (!renamed || !isEntryName(oldName) || !isEntryName(newName) || isTaken(newName) ||
        !renameEntry(oldName, newName)) {
        ClientProtocol::freeListing(renamed);
        logToHost("Cannot rename");
        return false;
    }
    ClientProtocol::freeListing(entry);
    entry = renamed;
    ++m_revision;
    emit dataChanged(index, index);
    return true;
}

bool HdfsFileSystemModel::renameEntry(const QString &from, const QString &to)
{
    if (!isHdfs())
        return QFile(entryPath(from)).rename(entryPath(to));
    NameNodeConnection *connection = m_dialog.connection();
    return connection &&
           ClientProtocol::rename(connection, nameNodePath(entryPath(from)), nameNodePath(entryPath(to))) == 0;
}

QModelIndex HdfsFileSystemModel::mkdir(const QString &name)
{
    const QString path = entryPath(name);
    // The row is made first: a folder that has been made has to be shown.
    HdfsFileStatus *folder = recordOfNewFolder(name.toUtf8());
    if (isComputerLevel() || !isEntryName(name) || !folder || !reserveEntries(m_rowCount + 1) || !makeDirectory(path)) {
        ClientProtocol::freeListing(folder);
        logToHost(QString::fromLatin1("Cannot create directory '") + path + QLatin1Char('\''));
        return QModelIndex();
    }
    beginResetModel();
    m_entries[m_rowCount] = folder;
    ++m_rowCount;
    ++m_revision;
    endResetModel();
    return createIndex(m_rowCount - 1, NameColumn);
}

bool HdfsFileSystemModel::makeDirectory(const QString &path)
{
    if (!isHdfs())
        return QDir().mkpath(path);
    NameNodeConnection *connection = m_dialog.connection();
    return connection && ClientProtocol::mkdirs(connection, nameNodePath(path), kNewFolderMode, true) == 0;
}

QString HdfsFileSystemModel::formatSize(qint64 bytes)
{
    return ::formatSize(bytes);
}

void HdfsFileSystemModel::setBackgroundColour(const QString &rrggbb)
{
    const QString format = QLatin1String("%1 { background-color: #%2; }");
    if (QWidget *view = m_dialog.detailView())
        view->setStyleSheet(format.arg(QLatin1String("QTreeView"), rrggbb));
    if (QWidget *view = m_dialog.plainView())
        view->setStyleSheet(format.arg(QLatin1String("QListView"), rrggbb));
}

void HdfsFileSystemModel::resetRows()
{
    beginResetModel();
    endResetModel();
}
