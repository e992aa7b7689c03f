#ifndef DIALOG_NATURALCOMPARE_H
#define DIALOG_NATURALCOMPARE_H

#include "rpc/HdfsFileStatus.h"

#include <QtCore/QString>

/// The order of names in the dialog: numbers inside names count by their value ("file2" before "file10"), white space
/// is left out until nothing else tells the names apart, letters follow the user's locale. Negative, 0 or positive as
/// `first` comes before, with or after `second`. 0 only for names that QString::compare takes for the same.
///
/// How the locale orders two ASCII characters is asked once in the life of the process.
int naturalCompare(const QString &first, const QString &second, Qt::CaseSensitivity caseSensitivity);

/// The same for names in UTF-8, which are not decoded as long as they are ASCII.
int naturalCompare(const ByteString &first, const ByteString &second, Qt::CaseSensitivity caseSensitivity);

#endif
