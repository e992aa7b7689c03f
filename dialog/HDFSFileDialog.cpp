#include "dialog/HDFSFileDialog.h"

#include "dialog/BusyPointer.h"
#include "dialog/DialogPaths.h"
#include "dialog/HdfsFileSystemModel.h"
#include "dialog/HdfsSortFilterProxyModel.h"
#include "dialog/LookInModel.h"
#include "dialog/NameFilter.h"
#include "host/core/MainUI.h"
#include "platform/LocalPath.h"
#include "platform/UserFolders.h"
#include "rpc/ClientProtocol.h"
#include "rpc/HostLog.h"
#include "rpc/NameNodeConnection.h"

#include "ui_HDFSFileDialog.h"

#include <QApplication>
#include <QDesktopWidget>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMessageBox>
#include <QPixmapCache>
#include <QPushButton>
#include <QStyle>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>

namespace {

const int kDefaultReplication = 1;
const int kDefaultBlockSize = 64; // megabytes
const int kWriteBits = 0222;
/// Widths of the detail view's columns, in heights of the host's font.
const int kColumnWidths[] = {21, 6, 9, 11, 6, 6};
const int kFormDotsPerInch = 96;
const int kNextDotsPerInch = 120; ///< the next larger setting of Windows; in between the form is large enough
const double kShareOfScreen = 0.9;
/// A server that claims to have every name must not keep the dialog asking.
const int kMostNewFolderNames = 10000;

/// A number of the text that the dialog is opened with. False leaves the box as it is.
bool takeNumber(const QString &text, int *number)
{
    const double value = text.toDouble();
    if (!(value > -2147483648.0 && value < 2147483648.0))
        return false;
    *number = static_cast<int>(value);
    return true;
}

/// Whether a text is the path of a local drive ("D:/x"), which no name in HDFS can be.
bool beginsWithDrive(const QString &text)
{
    return text.length() >= 3 && text.at(1) == QLatin1Char(':');
}

} // namespace

HDFSFileDialog::HDFSFileDialog(QWidget *parent, DialogMode mode, const QString &title, const QString &selection,
                               const QString &filter, Connect connect)
    : QDialog(parent), m_ui(new Ui::HDFSFileDialog), m_connect(connect), m_nativeRequested(false), m_historyIndex(-1),
      m_mode(mode), m_connection(nullptr), m_model(nullptr), m_proxy(nullptr), m_lookInModel(nullptr)
{
    m_ui->setupUi(this);
    growWithDensity();
    setWindowTitle(title);
    setUpModels();
    m_ui->listModeButton->setChecked(true);
    on_listModeButton_clicked();
    m_ui->backButton->setIcon(style()->standardIcon(QStyle::SP_ArrowBack));
    m_ui->forwardButton->setIcon(style()->standardIcon(QStyle::SP_ArrowForward));
    m_ui->toParentButton->setIcon(style()->standardIcon(QStyle::SP_FileDialogToParent));
    m_ui->listModeButton->setIcon(style()->standardIcon(QStyle::SP_FileDialogContentsView));
    m_ui->detailModeButton->setIcon(style()->standardIcon(QStyle::SP_FileDialogDetailedView));
    m_ui->newFolderButton->setIcon(style()->standardIcon(QStyle::SP_FileDialogNewFolder));
    m_ui->splitter->setSizes(QList<int>() << 80 << 500);
    setUpBookmarks();
    setUpFilters(filter);
    setUpKeys();
    connectSignals();

    const QStringList parts = selection.split(QLatin1Char('|'));
    takeWriteOptions(parts);
    selectPath(parts.first());
    m_ui->fileNameEdit->setFocus();
}

HDFSFileDialog::~HDFSFileDialog()
{
    delete m_connection;
    delete m_model;
    delete m_proxy;
    delete m_lookInModel;
    QPixmapCache::clear();
}

/// The form's size is for 96 dots per inch. Where texts have more dots, it would show a few rows of files only.
void HDFSFileDialog::growWithDensity()
{
    const int dotsPerInch = logicalDpiY();
    if (dotsPerInch < kNextDotsPerInch)
        return;
    const QSize room = QApplication::desktop()->availableGeometry(this).size() * kShareOfScreen;
    resize((size() * dotsPerInch / kFormDotsPerInch).boundedTo(room).expandedTo(size()));
}

void HDFSFileDialog::setUpModels()
{
    m_model = new HdfsFileSystemModel(*this);
    m_proxy = new HdfsSortFilterProxyModel;
    m_proxy->setSourceModel(m_model);
    m_proxy->setSortCaseSensitivity(Qt::CaseInsensitive);
    m_proxy->setSortRole(Qt::UserRole);
    // Qt 4 does not sort again by itself after a rename.
    m_proxy->setDynamicSortFilter(true);
    m_lookInModel = new LookInModel(*this);

    m_ui->listView->setModel(m_proxy);
    m_ui->listView->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_ui->listView->setContextMenuPolicy(Qt::CustomContextMenu);
    m_ui->treeView->setModel(m_proxy);
    // What the user sees selected is what is renamed and deleted, whichever view shows it.
    QItemSelectionModel *own = m_ui->treeView->selectionModel();
    m_ui->treeView->setSelectionModel(m_ui->listView->selectionModel());
    delete own;
    m_ui->treeView->setContextMenuPolicy(Qt::CustomContextMenu);
    m_ui->treeView->setUniformRowHeights(true);
    m_ui->treeView->header()->setSortIndicator(0, Qt::AscendingOrder);
    for (int column = 0; column < m_model->columnCount(); ++column)
        m_ui->treeView->setColumnWidth(column, kColumnWidths[column] * MainUI::pixelSize());
    m_ui->lookInCombo->setModel(m_lookInModel);
}

void HDFSFileDialog::setUpFilters(const QString &filter)
{
    QStringList lines;
    if (filter.isEmpty())
        lines << tr("All Files (*.*)");
    else if (!filter.contains(QLatin1String(";;")) && filter.contains(QLatin1Char('\n')))
        lines = filter.split(QLatin1Char('\n'));
    else
        lines = filter.split(QLatin1String(";;"));
    for (int i = 0; i < lines.size(); ++i)
        lines[i] = lines.at(i).simplified();
    m_ui->fileTypeCombo->addItems(lines);
    m_proxy->setNameFilter(lines.first());
}

/// A bookmark's text is the place that it leads to.
void HDFSFileDialog::setUpBookmarks()
{
    struct Bookmark {
        QString place;
        QStyle::StandardPixmap icon;
    };
    const Bookmark local[] = {
        {QDir::homePath(), QStyle::SP_DirHomeIcon},
        {platform::desktopFolder(), QStyle::SP_DesktopIcon},
        {platform::documentsFolder(), QStyle::SP_DirIcon},
    };
    addBookmark(computerLevelText(), QStyle::SP_ComputerIcon);
    addBookmark(hdfsRoot(), QStyle::SP_DriveNetIcon);
    // On Windows each of them may be where the user wants it, also where another one is.
    QList<QFileInfo> places;
    for (const Bookmark &bookmark : local) {
        // A share whose server is away would keep the dialog waiting before it is shown.
        const bool isOnAShare = bookmark.place.startsWith(QLatin1String("//"));
        const QFileInfo place(bookmark.place);
        if (bookmark.place.isEmpty() || (!isOnAShare && (!place.isDir() || places.contains(place))))
            continue;
        if (!isOnAShare)
            places.append(place);
        addBookmark(bookmark.place, bookmark.icon);
    }
    // The end of a path tells more than its beginning.
    m_ui->listWidget->setTextElideMode(Qt::ElideLeft);
    const int iconExtent = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_ui->listWidget->setIconSize(QSize(iconExtent, iconExtent));
    m_ui->listWidget->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

void HDFSFileDialog::addBookmark(const QString &place, QStyle::StandardPixmap icon)
{
    QListWidgetItem *item = new QListWidgetItem(style()->standardIcon(icon), place, m_ui->listWidget);
    item->setToolTip(place);
}

/// What works in every other file dialog, too.
void HDFSFileDialog::setUpKeys()
{
    m_ui->backButton->setShortcut(QKeySequence(Qt::ALT + Qt::Key_Left));
    m_ui->forwardButton->setShortcut(QKeySequence(Qt::ALT + Qt::Key_Right));
    m_ui->toParentButton->setShortcut(QKeySequence(Qt::ALT + Qt::Key_Up));
    m_ui->actionRename->setShortcut(QKeySequence(Qt::Key_F2));
    m_ui->actionDelete->setShortcut(QKeySequence(Qt::Key_Delete));
    QAction *refreshAction = new QAction(this);
    refreshAction->setShortcut(QKeySequence(Qt::Key_F5));
    QObject::connect(refreshAction, SIGNAL(triggered()), this, SLOT(refresh()));
    addAction(refreshAction);
    QAbstractItemView *const views[] = {m_ui->listView, m_ui->treeView};
    for (QAbstractItemView *view : views) {
        foreach (QAction *action, QList<QAction *>() << m_ui->actionRename << m_ui->actionDelete) {
            action->setShortcutContext(Qt::WidgetShortcut);
            view->addAction(action);
        }
        view->installEventFilter(this);
    }
}

void HDFSFileDialog::connectSignals()
{
    QAbstractItemView *const views[] = {m_ui->listView, m_ui->treeView};
    for (QAbstractItemView *view : views) {
        QObject::connect(view, SIGNAL(customContextMenuRequested(QPoint)), this, SLOT(on_showContextMenu(QPoint)));
        QObject::connect(view, SIGNAL(activated(QModelIndex)), this, SLOT(queueActivation(QModelIndex)));
    }
    QObject::connect(m_ui->listView->selectionModel(), SIGNAL(currentChanged(QModelIndex, QModelIndex)), this,
                     SLOT(on_currentChanged(QModelIndex)));
    QObject::connect(m_model, SIGNAL(dataChanged(QModelIndex, QModelIndex)), this,
                     SLOT(followRename(QModelIndex, QModelIndex)));
    QObject::connect(m_model, SIGNAL(modelAboutToBeReset()), this, SLOT(forgetActivations()));
    QObject::connect(m_proxy, SIGNAL(layoutAboutToBeChanged()), this, SLOT(forgetActivations()));
    QObject::connect(m_proxy, SIGNAL(rowsAboutToBeRemoved(QModelIndex, int, int)), this, SLOT(forgetActivations()));
    // The views were connected before, and have reset themselves then.
    QObject::connect(m_proxy, SIGNAL(modelReset()), this, SLOT(startWithoutCurrentItem()));
    QObject::connect(m_ui->fileNameEdit, SIGNAL(textChanged(QString)), this, SLOT(updateOkButton()));
    QObject::connect(m_ui->fileNameEdit, SIGNAL(textEdited(QString)), this, SLOT(forgetCurrentItem()));
    QObject::connect(m_ui->listWidget, SIGNAL(clicked(QModelIndex)), this, SLOT(on_clickBookmarks(QModelIndex)));
    QObject::connect(m_ui->lookInCombo, SIGNAL(activated(QString)), this, SLOT(setDirectory(QString)));
    QObject::connect(m_ui->fileTypeCombo, SIGNAL(activated(QString)), this, SLOT(on_filterSelected(QString)));
    QObject::connect(m_ui->buttonBox, SIGNAL(accepted()), this, SLOT(accept()));
    QObject::connect(m_ui->buttonBox, SIGNAL(rejected()), this, SLOT(reject()));
}

void HDFSFileDialog::takeWriteOptions(const QStringList &parts)
{
    int number = 0;
    if (parts.size() > 1 && !parts.at(1).isEmpty() && takeNumber(parts.at(1), &number))
        m_ui->sbReplication->setValue(number);
    if (parts.size() > 2 && !parts.at(2).isEmpty() && takeNumber(parts.at(2), &number))
        m_ui->sbBlockSize->setValue(number);
}

NameNodeConnection *HDFSFileDialog::connection()
{
    // A NameNode that went away is as good as none.
    if (m_connection && !m_connection->isReadyForACall()) {
        delete m_connection;
        m_connection = nullptr;
    }
    if (!m_connection) {
        BusyPointer busy;
        m_connection = m_connect(&m_userName);
    }
    return m_connection;
}

QWidget *HDFSFileDialog::detailView() const
{
    return m_ui->treeView;
}

QWidget *HDFSFileDialog::plainView() const
{
    return m_ui->listView;
}

// Where the user is and goes.

void HDFSFileDialog::setDirectory(const QString &path)
{
    const QString directory = path == computerLevelText() ? QString() : path;
    {
        BusyPointer busy;
        m_model->listDirectory(directory);
    }
    // The name of an item in the directory that was left means nothing here. One that was typed is still to come.
    if (m_mode == DialogModeDirectory && !m_ui->fileNameEdit->isModified())
        m_ui->fileNameEdit->clear();
    m_lookInModel->setPath(directory);
    m_ui->lookInCombo->setCurrentIndex(0);
    m_ui->toParentButton->setEnabled(!m_model->currentPath().isEmpty());
    m_ui->newFolderButton->setEnabled(!m_model->currentPath().isEmpty());
    m_ui->widgetHDFS->setVisible(m_mode == DialogModeSave && isHdfsPath(directory));
    addToHistory(directory);
    m_ui->forwardButton->setEnabled(m_history.size() - m_historyIndex >= 2);
    m_ui->backButton->setEnabled(m_historyIndex >= 1);
}

void HDFSFileDialog::addToHistory(const QString &path)
{
    if (m_historyIndex >= 0 && m_history.at(m_historyIndex) == path)
        return;
    while (m_history.size() > m_historyIndex + 1)
        m_history.removeLast();
    m_history.append(path);
    ++m_historyIndex;
}

void HDFSFileDialog::on_backButton_clicked()
{
    if (m_history.isEmpty() || m_historyIndex < 1)
        return;
    --m_historyIndex;
    setDirectory(QString(m_history.at(m_historyIndex)));
}

void HDFSFileDialog::on_forwardButton_clicked()
{
    if (m_history.isEmpty() || m_historyIndex >= m_history.size() - 1)
        return;
    ++m_historyIndex;
    setDirectory(QString(m_history.at(m_historyIndex)));
}

void HDFSFileDialog::on_toParentButton_clicked()
{
    setDirectory(parentPath(m_model->currentPath()));
}

void HDFSFileDialog::on_clickBookmarks(const QModelIndex &index)
{
    setDirectory(index.data(Qt::DisplayRole).toString());
}

void HDFSFileDialog::on_enterDirectory(const QModelIndex &index)
{
    const QString path = m_model->filePath(m_proxy->mapToSource(index));
    if (path.isEmpty())
        return;
    if (!isDirectoryPath(*this, path)) {
        accept();
        return;
    }
    if (m_mode == DialogModeDirectory)
        m_ui->fileNameEdit->clear();
    setDirectory(path);
}

/// The directory changes after the view has finished with the event. Qt 4 queues no index as a slot's argument.
void HDFSFileDialog::queueActivation(const QModelIndex &index)
{
    m_activations.append(index);
    QMetaObject::invokeMethod(this, "followActivation", Qt::QueuedConnection);
}

void HDFSFileDialog::followActivation()
{
    if (m_activations.isEmpty())
        return;
    const QModelIndex index = m_activations.takeFirst();
    on_enterDirectory(index);
}

/// An activation that is still queued (the Enter key was pressed twice while the dialog was busy) names a row that is
/// about to go.
void HDFSFileDialog::forgetActivations()
{
    QCoreApplication::removePostedEvents(this, QEvent::MetaCall);
    m_activations.clear();
}

void HDFSFileDialog::selectPath(const QString &path)
{
    const QString nameBefore = m_ui->fileNameEdit->text();
    const QString parent = parentPath(path);
    if (isDirectoryPath(*this, path)) {
        setDirectory(path);
    } else if (isDirectoryPath(*this, parent)) {
        setDirectory(parent);
        const int slash = path.mid(parent.size()).startsWith(QLatin1Char('/')) ? 1 : 0;
        m_ui->fileNameEdit->setText(path.mid(parent.size() + slash));
    } else {
        setDirectory(QString());
        m_ui->fileNameEdit->setText(path);
    }
    // When the name has changed, that was done already; it may ask the NameNode.
    if (m_ui->fileNameEdit->text() == nameBefore)
        updateOkButton();
}

void HDFSFileDialog::refresh()
{
    BusyPointer busy;
    m_model->listDirectory(m_model->currentPath());
}

void HDFSFileDialog::on_filterSelected(const QString &filter)
{
    m_proxy->setNameFilter(filter);
    m_model->resetRows();
}

// How it is shown.

void HDFSFileDialog::on_listModeButton_clicked()
{
    m_ui->listModeButton->setChecked(true);
    m_ui->detailModeButton->setChecked(false);
    m_ui->stackedWidget->setCurrentIndex(0);
    m_ui->treeView->hide();
    m_ui->listView->show();
}

void HDFSFileDialog::on_detailModeButton_clicked()
{
    m_ui->detailModeButton->setChecked(true);
    m_ui->listModeButton->setChecked(false);
    m_ui->stackedWidget->setCurrentIndex(1);
    m_ui->listView->hide();
    m_ui->treeView->show();
}

QAbstractItemView *HDFSFileDialog::visibleView() const
{
    if (m_ui->stackedWidget->currentIndex() == 0)
        return m_ui->listView;
    return m_ui->treeView;
}

QModelIndex HDFSFileDialog::currentSourceIndex() const
{
    return m_proxy->mapToSource(visibleView()->currentIndex());
}

bool HDFSFileDialog::currentItemIsDirectory() const
{
    return m_model->isDir(currentSourceIndex());
}

// The name.

void HDFSFileDialog::on_currentChanged(const QModelIndex &index)
{
    const QModelIndex source = m_proxy->mapToSource(index);
    if (m_model->isDir(source) && m_mode != DialogModeDirectory)
        return;
    const QString name = m_model->fileName(source);
    if (!name.isEmpty() && !m_ui->fileNameEdit->hasFocus())
        m_ui->fileNameEdit->setText(name);
    updateOkButton();
}

/// Who types a name does not mean the item that was current before, even if that is a directory.
void HDFSFileDialog::forgetCurrentItem()
{
    m_ui->listView->selectionModel()->clear();
}

/// A view that gets the focus would make its first row current, and that is a name which nobody has chosen.
void HDFSFileDialog::startWithoutCurrentItem()
{
    m_ui->listView->setCurrentIndex(QModelIndex());
    m_ui->treeView->setCurrentIndex(QModelIndex());
}

/// The name of the current item is the one that it has now.
void HDFSFileDialog::followRename(const QModelIndex &topLeft, const QModelIndex &bottomRight)
{
    // The type in the row goes with the name.
    visibleView()->viewport()->update();
    // The views have made its neighbour current when the filter does not let the new name through.
    if (!m_proxy->mapFromSource(topLeft).isValid()) {
        forgetCurrentItem();
        m_ui->fileNameEdit->setText(m_model->fileName(topLeft));
        return;
    }
    const QModelIndex current = currentSourceIndex();
    if (current.isValid() && topLeft.row() <= current.row() && current.row() <= bottomRight.row())
        on_currentChanged(m_proxy->mapFromSource(current));
}

void HDFSFileDialog::updateOkButton()
{
    const QString text = m_ui->fileNameEdit->text();
    bool isEnabled = true;
    bool opens = false;
    if (text.isEmpty()) {
        isEnabled = m_mode == DialogModeDirectory;
    } else if (text == QLatin1String("..")) {
        opens = true;
    } else {
        QString directory;
        QString file;
        if (isDirectoryPath(*this, text)) {
            directory = text;
            opens = true;
        } else {
            const int slash = text.lastIndexOf(QLatin1Char('/'));
            directory = slash < 0 ? text : text.left(slash);
            file = slash < 0 ? QString() : text.mid(slash + 1);
        }
        if (text.contains(QLatin1String(".."))) {
            directory = text;
            file.clear();
        }
        if (directory == m_model->currentPath() && file.isEmpty())
            isEnabled = false;
    }
    // Both buttons, deliberately.
    m_ui->buttonBox->setEnabled(isEnabled);
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setText(opens ? tr("&Open") : tr("OK"));
}

/// `text`, but with the extension of the chosen file type when no pattern of that matches it.
QString HDFSFileDialog::withDefaultExtension(const QString &text) const
{
    if (m_proxy->nameFilter().matches(text))
        return text;
    NameFilter chosen;
    chosen.setFilter(m_ui->fileTypeCombo->currentText());
    const QString pattern = chosen.firstPattern();
    const int dot = pattern.indexOf(QLatin1Char('.'));
    if (dot <= 0)
        return text;
    const QString extension = pattern.mid(dot);
    if (extension == QLatin1String(".*"))
        return text;
    const int lastDot = text.lastIndexOf(QLatin1Char('.'));
    const bool hasExtension = lastDot > text.lastIndexOf(QLatin1Char('/'));
    return (hasExtension ? text.left(lastDot) : text) + extension;
}

QString HDFSFileDialog::absolutePath(const QString &text) const
{
    const QString current = m_model->currentPath();
    if (text.isEmpty())
        return current;
    if (isHdfsPath(text) || beginsWithDrive(text))
        return text;
    // "/x" is of HDFS while HDFS is shown.
    if (!isHdfsPath(current) && platform::isAbsoluteLocalPath(text))
        return text;
    return joinPath(current, text);
}

QString HDFSFileDialog::writeOptions() const
{
    const int replication = m_ui->sbReplication->value();
    const int blockSize = m_ui->sbBlockSize->value();
    if (replication != kDefaultReplication && blockSize != kDefaultBlockSize)
        return QString::fromLatin1("|%1|%2").arg(replication).arg(blockSize);
    if (replication != kDefaultReplication)
        return QString::fromLatin1("|%1").arg(replication);
    if (blockSize != kDefaultBlockSize)
        return QString::fromLatin1("||%1").arg(blockSize);
    return QString();
}

void HDFSFileDialog::accept()
{
    // Who holds Ctrl may choose what is not there.
    const bool mayBeMissing = (QApplication::keyboardModifiers() & Qt::ControlModifier) != 0;
    QString path = m_ui->fileNameEdit->text();
    if (path.isEmpty() && m_mode != DialogModeDirectory)
        return;
    if (path == QLatin1String("..")) {
        on_toParentButton_clicked();
        m_ui->fileNameEdit->clear();
        return;
    }
    if (m_mode != DialogModeDirectory) {
        const QString named = withDefaultExtension(path);
        if (named != path) {
            path = named;
            m_ui->fileNameEdit->setText(path);
        }
    }
    path = absolutePath(path);

    if (m_mode != DialogModeDirectory) {
        // Its activation opens it.
        if (currentItemIsDirectory())
            return;
        if (isDirectoryPath(*this, path)) {
            setDirectory(path);
            return;
        }
    }
    if (m_mode == DialogModeSave) {
        if (pathExists(*this, path)) {
            const Answer answer = ask(windowTitle(), tr("'%1' already exists.\nDo you want to replace it?").arg(path));
            if (answer == Refused)
                selectPath(path);
            if (answer != Confirmed)
                return;
        }
    } else if (m_mode == DialogModeOpen) {
        if (!pathExists(*this, path)) {
            const bool isHere =
                warn(tr("%1\nFile not found.\nPlease verify the correct file name was given.").arg(path));
            if (!isHere || !mayBeMissing)
                return;
        }
    } else if (!isDirectoryPath(*this, path)) {
        if (!warn(tr("%1\nDirectory not found.\nPlease verify the correct directory name was given.").arg(path)))
            return;
        selectPath(path);
        if (!mayBeMissing)
            return;
    }
    if (m_mode == DialogModeSave && isHdfsPath(path))
        path += writeOptions();
    m_selectedPath = path;
    QDialog::accept();
}

// What the user does to an item.

void HDFSFileDialog::on_showContextMenu(const QPoint &position)
{
    QAbstractItemView *view = visibleView();
    const QModelIndex index = m_proxy->mapToSource(view->indexAt(position));
    const QPointer<QMenu> menu = new QMenu(view);
    if (index.isValid()) {
        const bool canWrite = m_model->canWrite(index);
        m_ui->actionRename->setEnabled(canWrite);
        m_ui->actionDelete->setEnabled(canWrite);
        m_ui->actionNewFolder->setEnabled((pathPermissions(*this, m_model->currentPath()) & kWriteBits) != 0);
        menu->addAction(m_ui->actionRename);
        menu->addAction(m_ui->actionDelete);
        menu->addSeparator();
        menu->addAction(m_ui->actionNewFolder);
    }
    forgetActivations();
    menu->exec(view->viewport()->mapToGlobal(position));
    if (!menu)
        return;
    delete menu.data();
    // The menu's own state only: the keys ask before they do harm.
    m_ui->actionRename->setEnabled(true);
    m_ui->actionDelete->setEnabled(true);
}

/// Lets the user type the name of an item in the view that is shown.
void HDFSFileDialog::edit(const QModelIndex &proxyIndex)
{
    const QModelIndex name = proxyIndex.sibling(proxyIndex.row(), 0);
    if (!name.isValid() || !(m_proxy->flags(name) & Qt::ItemIsEditable))
        return;
    QAbstractItemView *view = visibleView();
    view->setFocus();
    view->setCurrentIndex(name);
    view->scrollTo(name);
    view->edit(name);
}

void HDFSFileDialog::on_actionRename_triggered()
{
    edit(m_ui->listView->currentIndex());
}

QList<int> HDFSFileDialog::rowsToDelete() const
{
    const QItemSelectionModel *selection = m_ui->listView->selectionModel();
    QList<int> rows;
    for (int row = 0; selection->hasSelection() && row < m_proxy->rowCount(); ++row) {
        if (selection->rowIntersectsSelection(row, QModelIndex()))
            rows.append(row);
    }
    if (rows.isEmpty() && m_ui->listView->currentIndex().isValid())
        rows.append(m_ui->listView->currentIndex().row());
    return rows;
}

void HDFSFileDialog::on_actionDelete_triggered()
{
    const QList<int> rows = rowsToDelete();
    for (int i = rows.size() - 1; i >= 0; --i) {
        if (!deleteRow(m_proxy->index(rows.at(i), 0)))
            return;
    }
    refresh();
}

bool HDFSFileDialog::deleteRow(const QModelIndex &proxyIndex)
{
    const QModelIndex index = m_proxy->mapToSource(proxyIndex);
    const QString name = m_model->fileName(index);
    const QString path = m_model->filePath(index);
    // A drive, or what a listing should not hold: the path would be that of something else.
    if (!m_model->isEntryName(name)) {
        logToHost(QString::fromLatin1("Cannot delete '%1'").arg(name));
        return true;
    }
    Answer answer = Confirmed;
    if ((m_model->permissions(index) & kWriteBits) == 0)
        answer = ask(tr("Delete"), tr("'%1' is write protected.\nDo you want to delete it anyway?").arg(name));
    if (answer == Confirmed)
        answer = ask(tr("Delete"), tr("Are you sure you want to delete '%1'?").arg(name));
    if (answer != Confirmed)
        return answer != Gone;
    BusyPointer busy;
    bool isDeleted = false;
    if (isHdfsPath(path)) {
        NameNodeConnection *nameNode = connection();
        isDeleted = nameNode && ClientProtocol::delete_(nameNode, nameNodePath(path), false) == 0;
    } else {
        isDeleted = QDir().rmdir(path);
    }
    if (!isDeleted)
        logToHost(QString::fromLatin1("Cannot delete '%1'").arg(name));
    return true;
}

void HDFSFileDialog::on_newFolderButton_clicked()
{
    m_ui->listView->clearSelection();
    const QString directory = m_model->currentPath();
    const QString plainName = tr("New Folder");
    QString name = plainName;
    QModelIndex index;
    {
        BusyPointer busy;
        int next = 2;
        for (; next <= kMostNewFolderNames && pathExists(*this, joinPath(directory, name)); ++next)
            name = plainName + QString::fromLatin1("(%1)").arg(next);
        if (next <= kMostNewFolderNames)
            index = m_model->mkdir(name);
        else
            logToHost(QString::fromLatin1("Cannot create directory '%1'").arg(joinPath(directory, plainName)));
    }
    if (index.isValid())
        edit(m_proxy->mapFromSource(index));
}

void HDFSFileDialog::on_actionNewFolder_triggered()
{
    on_newFolderButton_clicked();
}

void HDFSFileDialog::on_pbNative_clicked()
{
    m_nativeRequested = true;
    reject();
}

/// Keys in the views that these do not know by themselves.
bool HDFSFileDialog::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        QKeyEvent *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Backspace && key->modifiers() == Qt::NoModifier) {
            if (m_ui->toParentButton->isEnabled())
                on_toParentButton_clicked();
            return true;
        }
        // Where nothing is current, a view takes every key that moves for the way to its first row.
        const int rows = m_proxy->rowCount();
        if (key->key() == Qt::Key_End && !visibleView()->currentIndex().isValid() && rows > 0) {
            visibleView()->setCurrentIndex(m_proxy->index(rows - 1, 0));
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

/// The Enter key opens the current item of a view or goes to the current bookmark, and is not meant for the OK button,
/// too. With Ctrl, which means something to `accept`, it is meant for OK; QDialog does not take it so.
void HDFSFileDialog::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && visibleView()->hasFocus())
        return;
    if (isEnter && m_ui->listWidget->hasFocus()) {
        if (m_ui->listWidget->currentIndex().isValid())
            on_clickBookmarks(m_ui->listWidget->currentIndex());
        return;
    }
    if (isEnter && (event->modifiers() & Qt::ControlModifier)) {
        m_ui->buttonBox->button(QDialogButtonBox::Ok)->click();
        return;
    }
    QDialog::keyPressEvent(event);
}

HDFSFileDialog::Answer HDFSFileDialog::ask(const QString &title, const QString &question)
{
    QMessageBox *box =
        new QMessageBox(QMessageBox::Warning, title, QString(), QMessageBox::Yes | QMessageBox::No, this);
    box->setDefaultButton(QMessageBox::No);
    return run(box, question);
}

bool HDFSFileDialog::warn(const QString &text)
{
    return run(new QMessageBox(QMessageBox::Warning, windowTitle(), QString(), QMessageBox::Ok, this), text) != Gone;
}

HDFSFileDialog::Answer HDFSFileDialog::run(QMessageBox *newBox, const QString &text)
{
    // What was activated before the question does not change the directory under it.
    forgetActivations();
    const QPointer<QMessageBox> box = newBox;
    // Names are no markup.
    box->setTextFormat(Qt::PlainText);
    box->setText(text);
    const int button = box->exec();
    if (!box)
        return Gone;
    delete box.data();
    return button == QMessageBox::Yes ? Confirmed : Refused;
}
