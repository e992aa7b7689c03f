// The system's own file dialogs. Each call runs one, modally, and returns the chosen path; "" when the user cancelled.
#ifndef PLATFORM_NATIVEFILEDIALOG_H
#define PLATFORM_NATIVEFILEDIALOG_H

#include <QtCore/QString>

class QWidget;

namespace platform {

/// `filter` has the file types, separated by ";;". Null for `parent`: a window of its own.
QString getOpenFileName(QWidget *parent, const QString &caption, const QString &directory, const QString &filter);
QString getSaveFileName(QWidget *parent, const QString &caption, const QString &directory, const QString &filter);
/// Shows directories only.
QString getExistingDirectory(QWidget *parent, const QString &caption, const QString &directory);

/// What the three calls above go to: QFileDialog's, until somebody else's are put in their place.
struct NativeFileDialogs {
    QString (*getOpenFileName)(QWidget *parent, const QString &caption, const QString &directory,
                               const QString &filter);
    QString (*getSaveFileName)(QWidget *parent, const QString &caption, const QString &directory,
                               const QString &filter);
    QString (*getExistingDirectory)(QWidget *parent, const QString &caption, const QString &directory);
};
/// For the GUI thread only. Returns what was there before.
NativeFileDialogs replaceNativeFileDialogs(const NativeFileDialogs &dialogs);

} // namespace platform

#endif
