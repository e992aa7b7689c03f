#include "dialog/HdfsSortFilterProxyModel.h"

#include "dialog/HdfsFileSystemModel.h"
#include "dialog/NaturalCompare.h"

namespace {

const HdfsFileSystemModel *files(const QAbstractItemModel *sourceModel)
{
    return static_cast<const HdfsFileSystemModel *>(sourceModel);
}

bool comesBeforeByName(const HdfsFileSystemModel &model, const QModelIndex &left, const QModelIndex &right)
{
    if (model.isDir(left) != model.isDir(right))
        return model.isDir(left);
    const HdfsFileStatus *leftRecord = model.record(left);
    const HdfsFileStatus *rightRecord = model.record(right);
    const int order = leftRecord && rightRecord
                          ? naturalCompare(leftRecord->path, rightRecord->path, Qt::CaseInsensitive)
                          : naturalCompare(model.fileName(left), model.fileName(right), Qt::CaseInsensitive);
    return order < 0;
}

} // namespace

HdfsSortFilterProxyModel::HdfsSortFilterProxyModel(QObject *parent) : QSortFilterProxyModel(parent)
{
    // What Qt 5 starts with and Qt 4 does not: a renamed file moves to its place.
    setDynamicSortFilter(true);
}

void HdfsSortFilterProxyModel::setNameFilter(const QString &filter)
{
    m_nameFilter.setFilter(filter);
}

bool HdfsSortFilterProxyModel::filterAcceptsRow(int sourceRow, const QModelIndex &) const
{
    const HdfsFileSystemModel *model = files(sourceModel());
    const QModelIndex index = model->index(sourceRow, HdfsFileSystemModel::NameColumn);
    return model->isDir(index) || m_nameFilter.matches(model->fileName(index));
}

bool HdfsSortFilterProxyModel::lessThan(const QModelIndex &left, const QModelIndex &right) const
{
    const HdfsFileSystemModel *model = files(sourceModel());
    switch (left.column()) {
    case HdfsFileSystemModel::NameColumn:
        return comesBeforeByName(*model, left, right);
    case HdfsFileSystemModel::SizeColumn:
        // Not the other way round as well, deliberately: a directory on the right is compared like a file.
        return (model->isDir(left) && !model->isDir(right)) || QSortFilterProxyModel::lessThan(left, right);
    default:
        // The same in little time: all columns behind these two are texts.
        if (sortRole() == Qt::UserRole && sortCaseSensitivity() == Qt::CaseInsensitive && !isSortLocaleAware() &&
            model->record(left))
            return m_textRanks.isLess(*model, left.column(), left.row(), right.row());
        return QSortFilterProxyModel::lessThan(left, right);
    }
}
