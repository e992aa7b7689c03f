// The file dialog beside Qt's own, each in a window on the display. Prints one line of numbers for each run; seconds
// and bytes.
//
//     dialog_bench own|qt list|detail SMALL LARGE COUNT RUNS
//         SMALL and LARGE: directories (of HDFS with "hdfs:" before them, for the own dialog), LARGE with COUNT files.
//         A line: from the request for LARGE to its rows sorted and painted; another sort column, painted; to the last
//         row, painted.
//     dialog_bench rows LARGE COUNT RUNS
//         A line: heap of a model with LARGE and its proxy; bytes of the records.
//     dialog_bench open own|empty SMALL RUNS
//         A line: from nothing to a painted dialog, for the own one and for one without anything in it.
#include "benchmark/Clock.h"
#include "dialog/HDFSFileDialog.h"
#include "dialog/HdfsFileSystemModel.h"
#include "dialog/HdfsSortFilterProxyModel.h"
#include "plugin/ConnectionSetup.h"
#include "rpc/NameNodeConnection.h"
#include "rpc/Network.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QFileSystemModel>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QTreeView>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <malloc.h>
#include <memory>

namespace {

const int kPatienceMilliseconds = 120000;

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "dialog_bench: %s failed\n", what);
    std::exit(1);
}

std::size_t heapBytes()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Handles events until `holds`, and then all that are left, and paints.
void settle(QWidget *painted, const std::function<bool()> &holds)
{
    QElapsedTimer timer;
    timer.start();
    while (!holds()) {
        if (timer.elapsed() > kPatienceMilliseconds)
            fail("waiting");
        QApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 5);
    }
    QApplication::sendPostedEvents();
    QApplication::processEvents();
    painted->repaint();
}

bool always()
{
    return true;
}

/// One of the two dialogs: what they have in common is their views.
class Subject
{
public:
    virtual ~Subject() {}
    virtual QDialog *dialog() = 0;
    virtual void enter(const QString &directory) = 0;
    virtual bool hasRows(int count) = 0;
    QAbstractItemView *view(bool detail)
    {
        return detail ? dialog()->findChild<QAbstractItemView *>("treeView")
                      : dialog()->findChild<QAbstractItemView *>("listView");
    }
};

class OwnDialog : public Subject
{
public:
    OwnDialog(const QString &small, bool detail)
        : m_dialog(nullptr, DialogModeOpen, "Own", small, "All (*)", connectFromSettings)
    {
        if (detail)
            QMetaObject::invokeMethod(&m_dialog, "on_detailModeButton_clicked");
    }
    QDialog *dialog() override { return &m_dialog; }
    void enter(const QString &directory) override { m_dialog.setDirectory(directory); }
    bool hasRows(int count) override { return view(false)->model()->rowCount() == count; }

private:
    HDFSFileDialog m_dialog;
};

class QtDialog : public Subject
{
public:
    QtDialog(const QString &small, bool detail) : m_dialog(nullptr, "Qt", small, "All (*)")
    {
        m_dialog.setOption(QFileDialog::DontUseNativeDialog);
        m_dialog.setOption(QFileDialog::DontUseCustomDirectoryIcons);
        m_dialog.setFileMode(QFileDialog::ExistingFile);
        m_dialog.setViewMode(detail ? QFileDialog::Detail : QFileDialog::List);
    }
    QDialog *dialog() override { return &m_dialog; }
    void enter(const QString &directory) override { m_dialog.setDirectory(directory); }
    bool hasRows(int count) override
    {
        QAbstractItemView *const list = view(false);
        return list->model()->rowCount(list->rootIndex()) == count;
    }

private:
    QFileDialog m_dialog;
};

std::unique_ptr<Subject> makeSubject(const char *which, const QString &small, bool detail)
{
    if (std::strcmp(which, "own") == 0)
        return std::unique_ptr<Subject>(new OwnDialog(small, detail));
    return std::unique_ptr<Subject>(new QtDialog(small, detail));
}

/// Sorts by size, the smallest last, and waits for it.
void sortBySize(QAbstractItemView *view)
{
    QTreeView *const tree = qobject_cast<QTreeView *>(view);
    tree->sortByColumn(1, Qt::DescendingOrder);
}

void measureDialog(const char *which, bool detail, const QString &small, const QString &large, int count, int runs)
{
    for (int run = 0; run < runs; ++run) {
        const std::unique_ptr<Subject> subject = makeSubject(which, small, detail);
        subject->dialog()->resize(1042, 512);
        subject->dialog()->show();
        QAbstractItemView *const view = subject->view(detail);
        // QFileDialog remembers how it was sorted the last time.
        if (QTreeView *const tree = qobject_cast<QTreeView *>(view))
            tree->sortByColumn(0, Qt::AscendingOrder);
        settle(view->viewport(), [view] { return view->isVisible(); });

        const Clock entering;
        subject->enter(large);
        settle(view->viewport(), [&subject, count] { return subject->hasRows(count); });
        const double entered = entering.wall();

        double sorted = 0;
        if (detail) {
            const Clock sorting;
            sortBySize(view);
            settle(view->viewport(), always);
            sorted = sorting.wall();
        }
        const Clock scrolling;
        view->scrollToBottom();
        settle(view->viewport(), always);
        std::printf("%.6f %.6f %.6f\n", entered, sorted, scrolling.wall());
        std::fflush(stdout);
    }
}

/// What a model asks of its dialog, without one.
class ModelOnly : public DialogContext
{
public:
    ModelOnly() : m_connection(connectFromSettings(&m_userName)) {}
    ~ModelOnly() { delete m_connection; }
    NameNodeConnection *connection() override { return m_connection; }
    DialogMode mode() const override { return DialogModeOpen; }
    QString userName() const override { return m_userName; }
    QString userGroup() const override { return QString(); }
    QStringList history() const override { return QStringList(); }
    QWidget *detailView() const override { return nullptr; }
    QWidget *plainView() const override { return nullptr; }

private:
    QString m_userName;
    NameNodeConnection *m_connection;
};

void measureRows(const QString &large, int count, int runs)
{
    ModelOnly context;
    for (int run = 0; run < runs; ++run) {
        const std::size_t before = heapBytes();
        HdfsFileSystemModel model(context);
        HdfsSortFilterProxyModel proxy;
        proxy.setSourceModel(&model);
        proxy.setSortRole(Qt::UserRole);
        proxy.setNameFilter("All (*)");
        proxy.sort(0);
        model.listDirectory(large);
        if (proxy.rowCount() != count)
            fail("listing");
        const std::size_t heap = heapBytes() - before;
        std::size_t bytes = 0;
        for (int row = 0; row < count; ++row) {
            const HdfsFileStatus *const record = model.record(model.index(row, 0));
            bytes += sizeof *record + record->path.size + record->owner.size + record->group.size + 3;
        }
        std::printf("%zu %zu\n", heap, bytes);
    }
}

void measureOpening(const char *which, const QString &small, int runs)
{
    for (int run = 0; run < runs; ++run) {
        const Clock clock;
        std::unique_ptr<QDialog> dialog;
        if (std::strcmp(which, "own") == 0)
            dialog.reset(new HDFSFileDialog(nullptr, DialogModeOpen, "Own", small, QString(), connectFromSettings));
        else
            dialog.reset(new QDialog);
        dialog->resize(1042, 512);
        dialog->show();
        settle(dialog.get(), [&dialog] { return dialog->isVisible(); });
        std::printf("%.6f\n", clock.wall());
    }
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (initNetwork() != 0)
        fail("initNetwork");
    if (argc == 7)
        measureDialog(argv[1], std::strcmp(argv[2], "detail") == 0, argv[3], argv[4], std::atoi(argv[5]),
                      std::atoi(argv[6]));
    else if (argc == 5 && std::strcmp(argv[1], "rows") == 0)
        measureRows(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
    else if (argc == 5 && std::strcmp(argv[1], "open") == 0)
        measureOpening(argv[2], argv[3], std::atoi(argv[4]));
    else
        fail("reading the command line");
    return 0;
}
