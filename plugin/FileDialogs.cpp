#include "plugin/FileDialogs.h"

#include "dialog/HDFSFileDialog.h"
#include "platform/NativeFileDialog.h"
#include "platform/Settings.h"
#include "plugin/ConnectionSetup.h"
#include "rpc/HostLog.h"

#include <QApplication>
#include <QtCore/QPointer>
#include <QtCore/QSettings>

namespace {

/// What one call of the host is about.
struct Request {
    DialogMode mode;
    QWidget *parent;
    QString caption;
    QString directory;
    QString filter;
};

QString runNativeDialog(const Request &request)
{
    switch (request.mode) {
    case DialogModeSave:
        return platform::getSaveFileName(request.parent, request.caption, request.directory, request.filter);
    case DialogModeOpen:
        return platform::getOpenFileName(request.parent, request.caption, request.directory, request.filter);
    case DialogModeDirectory:
        break;
    }
    return platform::getExistingDirectory(request.parent, request.caption, request.directory);
}

QString runOwnDialog(const Request &request)
{
    // The host may destroy the parent, and the dialog with it, while the dialog runs.
    const QPointer<HDFSFileDialog> dialog = new HDFSFileDialog(request.parent, request.mode, request.caption,
                                                               request.directory, request.filter, connectFromSettings);
    const int outcome = dialog->exec();
    if (!dialog)
        return QString();
    const QString path = dialog->selectedPath();
    const bool wantsNative = dialog->nativeRequested();
    delete dialog.data();
    if (outcome == QDialog::Accepted)
        return path;
    return wantsNative ? runNativeDialog(request) : QString();
}

bool ownDialogIsWanted()
{
    const QSettings settings(QLatin1String("Quor"), QLatin1String("Marrowby"));
    const bool isDefault = platform::settingText(settings, QLatin1String("defaultBrowser"))
                               .startsWith(QLatin1Char('a'), Qt::CaseInsensitive);
    const bool takesTheOther = QApplication::keyboardModifiers() & Qt::ControlModifier;
    return isDefault != takesTheOther;
}

QString run(const Request &request)
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        logToHost("Warning HDFS: no file dialog in a process without a user interface");
        return QString();
    }
    return ownDialogIsWanted() ? runOwnDialog(request) : runNativeDialog(request);
}

} // namespace

QString chooseFileToOpen(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return run(Request{DialogModeOpen, parent, caption, directory, filter});
}

QString chooseFileToSave(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return run(Request{DialogModeSave, parent, caption, directory, filter});
}

QString chooseDirectory(QWidget *parent, const QString &caption, const QString &directory)
{
    return run(Request{DialogModeDirectory, parent, caption, directory, QLatin1String("*.*")});
}
