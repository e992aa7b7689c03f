#ifndef DIALOG_LOOKINMODEL_H
#define DIALOG_LOOKINMODEL_H

#include <QtCore/QAbstractListModel>
#include <QtCore/QString>
#include <QtCore/QStringList>

class DialogContext;

/// Where the dialog is and the places to go from there, for its look-in box: only the current path after `setPath`;
/// after `rebuild` the current directory, its parents up to the root, "My Computer", the heading "Recent Places"
/// (disabled) and the directories that were visited.
class LookInModel : public QAbstractListModel
{
    Q_OBJECT

public:
    /// Empty at first. The context, which stays the caller's, must outlive the model.
    explicit LookInModel(const DialogContext &context, QObject *parent = nullptr);

    /// Shows `path` alone, in a row that cannot be chosen. "" is the computer level.
    void setPath(const QString &path);

    /// Shows everything, with the context's history as it is now.
    void rebuild();

    int rowCount(const QModelIndex &parent = QModelIndex()) const;
    /// The text (Qt::DisplayRole) and the icon (Qt::DecorationRole) of a row.
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const;
    Qt::ItemFlags flags(const QModelIndex &index) const;

private:
    bool isHeading(int row) const;

    const DialogContext &m_context;
    QString m_currentPath;
    QStringList m_entries; ///< paths, and the heading's text
    int m_chainLength;     ///< rows from the current directory up to its root; -1 while there is only the current path
};

#endif
