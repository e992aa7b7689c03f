#include "platform/NativeFileDialog.h"

#include <QFileDialog>

namespace platform {

namespace {

QString openFileName(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return QFileDialog::getOpenFileName(parent, caption, directory, filter);
}

QString saveFileName(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return QFileDialog::getSaveFileName(parent, caption, directory, filter);
}

QString existingDirectory(QWidget *parent, const QString &caption, const QString &directory)
{
    return QFileDialog::getExistingDirectory(parent, caption, directory, QFileDialog::ShowDirsOnly);
}

NativeFileDialogs nativeFileDialogs = {openFileName, saveFileName, existingDirectory};

} // namespace

QString getOpenFileName(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return nativeFileDialogs.getOpenFileName(parent, caption, directory, filter);
}

QString getSaveFileName(QWidget *parent, const QString &caption, const QString &directory, const QString &filter)
{
    return nativeFileDialogs.getSaveFileName(parent, caption, directory, filter);
}

QString getExistingDirectory(QWidget *parent, const QString &caption, const QString &directory)
{
    return nativeFileDialogs.getExistingDirectory(parent, caption, directory);
}

NativeFileDialogs replaceNativeFileDialogs(const NativeFileDialogs &dialogs)
{
    const NativeFileDialogs before = nativeFileDialogs;
    nativeFileDialogs = dialogs;
    return before;
}

} // namespace platform
