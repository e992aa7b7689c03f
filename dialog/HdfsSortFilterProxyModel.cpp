#include "dialog/HdfsSortFilterProxyModel.h"

#include "dialog/HdfsFileSystemModel.h"
#include "dialog/NaturalCompare.h"

namespace {

const HdfsFileSystemModel *files(const QAbstractItemModel *sourceModel)
{
    return static_cast<const HdfsFileSystemModel *>(sourceModel);
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
    if (left.column() == HdfsFileSystemModel::NameColumn) {
        if (model->isDir(left) != model->isDir(right))
            return model->isDir(left);
        return naturalCompare(model->fileName(left), model->fileName(right), Qt::CaseInsensitive) < 0;
    }
    // Not the other way round as well, deliberately: a directory on the right is compared like a file.
    if (left.column() == HdfsFileSystemModel::SizeColumn && model->isDir(left) && !model->isDir(right))
        return true;
    return QSortFilterProxyModel::lessThan(left, right);
}
