// The file dialogs as the host asks for them: the library's own, or the operating system's.
#ifndef PLUGIN_FILEDIALOGS_H
#define PLUGIN_FILEDIALOGS_H

#include <QtCore/QString>

class QWidget;

/// The host's setting "defaultBrowser" (organisation "Quor", application "Marrowby") says which dialog these show: the
/// library's own when it begins with "a" or "A", else the operating system's; the other one while the user holds Ctrl.
/// In the own dialog the user may still ask for the system's. `parent` may be null. Each returns the chosen path, empty
/// when the user cancelled; see HDFSFileDialog for its form. In a process without a user interface nothing can be
/// shown: empty, after a line in the log.
QString chooseFileToOpen(QWidget *parent, const QString &caption, const QString &directory, const QString &filter);
QString chooseFileToSave(QWidget *parent, const QString &caption, const QString &directory, const QString &filter);
QString chooseDirectory(QWidget *parent, const QString &caption, const QString &directory);

#endif
