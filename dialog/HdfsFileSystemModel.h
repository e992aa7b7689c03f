#ifndef DIALOG_HDFSFILESYSTEMMODEL_H
#define DIALOG_HDFSFILESYSTEMMODEL_H

#include "dialog/StyleIcons.h"
#include "rpc/HdfsFileStatus.h"

#include <QtCore/QAbstractTableModel>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <QFileIconProvider>
#include <QStyle>

class DialogContext;

/// One row of the computer level.
struct DriveEntry {
    DriveEntry() : capacity(0), remaining(0), underReplicated(0) {}
    QString path;            ///< "D:/"; the last one is "hdfs:/"
    quint64 capacity;        ///< bytes
    quint64 remaining;       ///< bytes
    quint64 underReplicated; ///< blocks; the low 32 bits are shown
};

/// What the file dialog's views show: one directory, HDFS's or a local one, or the computer level, which has a row
/// per drive and HDFS as its last. Rows stand in the order of the listing. Renames and makes folders too.
///
/// Calls to the NameNode block; what fails is logged at level 1. Permissions are judged for the dialog's user.
class HdfsFileSystemModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column { NameColumn, SizeColumn, TypeColumn, LastAccessedColumn, OwnerColumn, GroupColumn, ColumnCount };

    /// `dialog` is not owned and outlives the model.
    explicit HdfsFileSystemModel(DialogContext &dialog, QObject *parent = nullptr);
    ~HdfsFileSystemModel();

    /// Shows `path`: "" is the computer level, what begins with "hdfs:" a directory there, all else a local one. Also
    /// for refreshing. Of the dialog's views a listing of HDFS that fails colours the background, any other directory
    /// takes the colour away; the computer level leaves it.
    void listDirectory(const QString &path);

    /// What is shown, without the "/" at its end; only the local root stays "/". The root of HDFS is "hdfs:".
    QString currentPath() const { return m_currentPath; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const;
    int columnCount(const QModelIndex &parent = QModelIndex()) const;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const;
    Qt::ItemFlags flags(const QModelIndex &index) const;

    /// Renames: takes Qt::EditRole and the name's column only. The row stays where it is. A name that is empty, "." or
    /// ".." or has a separator in it is refused like one that the file system refuses.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole);

    /// Makes a folder in the current directory and returns where its row is, the last one; an invalid index on failure
    /// and at the computer level. Resets the model. Names are refused as by `setData`.
    QModelIndex mkdir(const QString &name);

    /// A drive's path at the computer level. Null for an invalid index.
    QString fileName(const QModelIndex &index) const;
    QString filePath(const QModelIndex &index) const;
    /// Drives are directories.
    bool isDir(const QModelIndex &index) const;

    /// What the user may do with an entry; with drives everything, with an invalid index nothing.
    bool canExecute(const QModelIndex &index) const;
    bool canWrite(const QModelIndex &index) const;
    bool canRead(const QModelIndex &index) const;

    /// Mode bits; 0 for a drive and for an invalid index.
    quint16 permissions(const QModelIndex &index) const;
    /// A drive's path at the computer level. Null for an invalid index.
    QString owner(const QModelIndex &index) const;
    QString group(const QModelIndex &index) const;

    /// Whether there can be an entry of that name: neither empty nor "." or "..", and without a separator.
    bool isEntryName(const QString &name) const;

    /// See dialog/SizeText.h.
    static QString formatSize(qint64 bytes);

    /// Colours the background of the dialog's two views; six hexadecimal digits.
    void setBackgroundColour(const QString &rrggbb);

    /// Tells the views that everything has changed, as after a listing, though nothing has.
    void resetRows();

    /// The record behind an index, for as long as the rows stay; null at the computer level and for an invalid index.
    const HdfsFileStatus *record(const QModelIndex &index) const;

    /// Another number after each change of the rows.
    quint64 revision() const { return m_revision; }

private:
    Q_DISABLE_COPY(HdfsFileSystemModel)

    struct PermissionBits {
        quint16 others, group, owner;
    };

    bool isComputerLevel() const { return m_currentPath.isEmpty(); }
    bool isRow(const QModelIndex &index) const;
    bool isHdfs() const;
    QString entryPath(const QString &name) const;
    bool isTaken(const QString &name) const;

    void freeEntries();
    bool reserveEntries(qint32 count);
    void listComputer();
    bool listHdfsDirectory();
    void listLocalDirectory();
    bool takeListing(HdfsFileStatus *head, qint32 count);
    bool renameEntry(const QString &from, const QString &to);
    bool makeDirectory(const QString &path);

    QVariant driveData(int row, int column, int role) const;
    QVariant entryData(const QModelIndex &index, int role) const;
    QVariant entryText(const HdfsFileStatus &entry, int column, int role) const;
    QString typeText(const HdfsFileStatus &entry) const;
    QIcon entryIcon(const HdfsFileStatus &entry) const;
    bool isUsable(const HdfsFileStatus &entry) const;
    bool isAllowed(const HdfsFileStatus &entry, const PermissionBits &bits) const;
    bool isAllowed(const QModelIndex &index, const PermissionBits &bits) const;

    QString m_currentPath;
    HdfsFileStatus **m_entries; ///< null at the computer level
    qint32 m_rowCount;
    DialogContext &m_dialog;
    QFileIconProvider m_iconProvider; ///< lives with the model; icons come from the style and from FileIcon
    mutable StyleIcons m_styleIcons;
    quint64 m_revision;
    QVector<DriveEntry> m_drives; ///< made on the first visit of the computer level
};

#endif
