#ifndef DIALOG_HDFSSORTFILTERPROXYMODEL_H
#define DIALOG_HDFSSORTFILTERPROXYMODEL_H

#include "dialog/NameFilter.h"
#include "dialog/TextRanks.h"

#include <QSortFilterProxyModel>

/// Stands between a HdfsFileSystemModel, the only source model that it takes, and the views: folders first, names in
/// the order of dialog/NaturalCompare.h, and only those files that the name filter lets through.
class HdfsSortFilterProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT
public:
    explicit HdfsSortFilterProxyModel(QObject *parent = nullptr);

    /// Takes one line of the dialog's file types, see dialog/NameFilter.h. Rows are filtered by it from the next reset
    /// of the source model on. Before the first line no file is let through.
    void setNameFilter(const QString &filter);

    const NameFilter &nameFilter() const { return m_nameFilter; }

    /// Folders always pass.
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const;

    bool lessThan(const QModelIndex &left, const QModelIndex &right) const;

private:
    NameFilter m_nameFilter;
    mutable TextRanks m_textRanks;
};

#endif
