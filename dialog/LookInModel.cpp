#include "dialog/LookInModel.h"

#include "dialog/DialogContext.h"
#include "dialog/DialogPaths.h"

#include <QApplication>
#include <QStyle>
#include <QtGui/QIcon>

namespace {

const int kDriveRootLength = 3; // of "D:/"

QStyle::StandardPixmap pictureOf(const QString &entry)
{
    if (entry.isEmpty())
        return QStyle::SP_ComputerIcon;
    if (entry == hdfsRoot())
        return QStyle::SP_DriveNetIcon;
    // The heading is taken for a folder too, deliberately.
    return entry.length() == kDriveRootLength ? QStyle::SP_DriveHDIcon : QStyle::SP_DirIcon;
}

} // namespace

LookInModel::LookInModel(const DialogContext &context, QObject *parent)
    : QAbstractListModel(parent), m_context(context), m_chainLength(-1)
{
}

void LookInModel::setPath(const QString &path)
{
    beginResetModel();
    m_currentPath = path;
    m_entries = QStringList(path);
    m_chainLength = -1;
    endResetModel();
    emit layoutAboutToBeChanged();
    emit layoutChanged();
}

void LookInModel::rebuild()
{
    beginResetModel();
    m_entries.clear();
    for (QString path = m_currentPath; !path.isEmpty(); path = parentPath(path))
        m_entries.append(path);
    m_chainLength = m_entries.size();
    m_entries.append(QString());
    m_entries.append(QString::fromLatin1("Recent Places"));
    m_entries.append(m_context.history());
    endResetModel();
}

int LookInModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

QVariant LookInModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return QVariant();
    const QString &entry = m_entries.at(index.row());
    if (role == Qt::DisplayRole)
        return entry.isEmpty() ? computerLevelText() : entry;
    if (role == Qt::DecorationRole)
        return QApplication::style()->standardIcon(pictureOf(entry));
    return QVariant();
}

Qt::ItemFlags LookInModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags flags = QAbstractListModel::flags(index);
    return isHeading(index.row()) ? flags & ~Qt::ItemIsEnabled : flags;
}

bool LookInModel::isHeading(int row) const
{
    // Before a rebuild this is row 0: the current path alone is nothing to choose.
    return row == m_chainLength + 1;
}
