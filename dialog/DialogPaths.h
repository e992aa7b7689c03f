// Paths as the dialog writes them. An HDFS path is "hdfs:" and the absolute path behind it ("hdfs:/user/data"), a
// local path is Qt's, with forward slashes ("D:/Users"), and "" is the computer level.
#ifndef DIALOG_DIALOGPATHS_H
#define DIALOG_DIALOGPATHS_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

class DialogContext;

/// The path of the root directory of HDFS: "hdfs:/".
QString hdfsRoot();

/// What the user reads where the path is "": "My Computer".
QString computerLevelText();

/// Whether the path begins with "hdfs:", in this case only.
bool isHdfsPath(const QString &path);

/// What the NameNode knows an HDFS path as: what stands behind "hdfs:", in UTF-8. "/" for "hdfs:" alone.
QByteArray nameNodePath(const QString &hdfsPath);

/// The path of `name` in `directory`, with one "/" between the two.
QString joinPath(const QString &directory, const QString &name);

/// The directory that holds `path`; "" for roots, for the computer level and for names without a directory. Judged by
/// the text alone, and always shorter than a path that is not empty.
QString parentPath(const QString &path);

// What follows asks the NameNode about HDFS paths, and finds nothing there without a connection. It blocks meanwhile.

/// Whether the path is a directory; the computer level is one. Unlike everything else this takes "hdfs:" in any case.
bool isDirectoryPath(DialogContext &context, const QString &path);

/// Whether there is anything of that path; there always is a computer level.
bool pathExists(DialogContext &context, const QString &path);

/// Mode bits (as 0755) of an HDFS path, QFile::Permissions of a local one; 0 when there is none and for the computer
/// level.
int pathPermissions(DialogContext &context, const QString &path);

#endif
