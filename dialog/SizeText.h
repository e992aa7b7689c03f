#ifndef DIALOG_SIZETEXT_H
#define DIALOG_SIZETEXT_H

#include <QtCore/QString>

/// A number of bytes as the dialog shows it, in the largest unit that it fills and with the separators of the default
/// QLocale: "1,023 bytes", "1 KB" (cut, not rounded), "1.5 MB", "1.50 GB", "1.500 TB". Negative numbers are bytes.
QString formatSize(qint64 bytes);

#endif
