// The dialog in which the user chooses a file or a directory on HDFS or on a local disk.
#ifndef DIALOG_HDFSFILEDIALOG_H
#define DIALOG_HDFSFILEDIALOG_H

#include "dialog/DialogContext.h"
#include "platform/NoSystemQuestions.h"

#include <QDialog>
#include <QStyle>
#include <QtCore/QList>
#include <QtCore/QModelIndex>

#include <memory>

class HdfsFileSystemModel;
class HdfsSortFilterProxyModel;
class LookInModel;
class QAbstractItemView;
class QMessageBox;
class QPoint;

namespace Ui {
class HDFSFileDialog;
}

/// Paths are those of the dialog: "hdfs:" followed by an absolute HDFS path, a local path with forward slashes, or ""
/// for the computer level ("My Computer").
///
/// The chosen path of a save into HDFS may carry write options: PATH|REPLICATION|BLOCKSIZE, PATH|REPLICATION or
/// PATH||BLOCKSIZE, the block size in megabytes; a replication of 1 and a block size of 64 are left out. What the
/// dialog is opened with has the same form.
///
/// The dialog runs on the GUI thread and asks the cluster there: every access blocks it until the answer has come.
class HDFSFileDialog : public QDialog, public DialogContext
{
    Q_OBJECT

public:
    /// Makes a connection that the dialog will own, or returns null; writes the name of the HDFS user that was used to
    /// `*userName`. Called when HDFS is first needed, and again for every later access until there is a connection.
    typedef NameNodeConnection *(*Connect)(QString *userName);

    /// `selection` is where the dialog opens: a directory, or a file whose name is filled in. `filter` holds lines such
    /// as "Text files (*.txt *.csv)" separated by ";;" or line feeds; empty stands for "All Files (*.*)".
    HDFSFileDialog(QWidget *parent, DialogMode mode, const QString &title, const QString &selection,
                   const QString &filter, Connect connect);
    virtual ~HDFSFileDialog();

    /// The result; empty until the dialog was accepted.
    QString selectedPath() const { return m_selectedPath; }

    /// Whether the user left for the operating system's own dialog.
    bool nativeRequested() const { return m_nativeRequested; }

    virtual NameNodeConnection *connection();
    virtual DialogMode mode() const { return m_mode; }
    virtual QString userName() const { return m_userName; }
    virtual QString userGroup() const { return m_userGroup; }
    virtual QStringList history() const { return m_history; }
    virtual QWidget *detailView() const;
    virtual QWidget *plainView() const;

public slots:
    /// Shows a directory and notes it in the history. "My Computer" stands for the computer level.
    void setDirectory(const QString &path);
    virtual void accept();

private slots:
    void updateOkButton();
    void on_backButton_clicked();
    void on_forwardButton_clicked();
    void on_toParentButton_clicked();
    void on_newFolderButton_clicked();
    void on_listModeButton_clicked();
    void on_detailModeButton_clicked();
    void on_currentChanged(const QModelIndex &index);
    void on_showContextMenu(const QPoint &position);
    void on_actionRename_triggered();
    void on_actionDelete_triggered();
    void on_actionNewFolder_triggered();
    void on_enterDirectory(const QModelIndex &index);
    void on_clickBookmarks(const QModelIndex &index);
    void on_filterSelected(const QString &filter);
    void on_pbNative_clicked();

    void refresh();
    void forgetCurrentItem();
    void queueActivation(const QModelIndex &index);
    void followActivation();
    void forgetActivations();
    void startWithoutCurrentItem();
    void followRename(const QModelIndex &topLeft, const QModelIndex &bottomRight);

protected:
    virtual bool eventFilter(QObject *watched, QEvent *event);
    virtual void keyPressEvent(QKeyEvent *event);

private:
    QString withDefaultExtension(const QString &text) const;
    QString absolutePath(const QString &text) const;
    QString writeOptions() const;

    void growWithDensity();
    void setUpModels();
    void setUpBookmarks();
    void addBookmark(const QString &place, QStyle::StandardPixmap icon);
    void setUpFilters(const QString &filter);
    void setUpKeys();
    void connectSignals();
    void takeWriteOptions(const QStringList &parts);

    void selectPath(const QString &path);
    void addToHistory(const QString &path);
    QAbstractItemView *visibleView() const;
    QModelIndex currentSourceIndex() const;
    bool currentItemIsDirectory() const;
    void edit(const QModelIndex &proxyIndex);
    QList<int> rowsToDelete() const;
    /// False when the dialog has gone meanwhile.
    bool deleteRow(const QModelIndex &proxyIndex);

    /// Gone: the host has destroyed the dialog while the user was asked. Nothing of it may be touched any more.
    enum Answer { Refused, Confirmed, Gone };
    Answer ask(const QString &title, const QString &question);
    /// False when the dialog has gone meanwhile.
    bool warn(const QString &text);
    Answer run(QMessageBox *newBox, const QString &text);

    const platform::NoSystemQuestions m_noQuestions; ///< the first: all of the dialog looks at local drives
    std::unique_ptr<Ui::HDFSFileDialog> m_ui;
    Connect m_connect;
    QList<QPersistentModelIndex> m_activations; ///< of the views, not yet followed
    QString m_selectedPath;
    bool m_nativeRequested;
    QStringList m_history;
    int m_historyIndex; ///< of the current directory; -1 before the first
    DialogMode m_mode;
    QString m_userName;
    QString m_userGroup;
    NameNodeConnection *m_connection; ///< owned; null until it is needed
    HdfsFileSystemModel *m_model;     ///< owned, as the next two
    HdfsSortFilterProxyModel *m_proxy;
    LookInModel *m_lookInModel;
};

#endif
