// What the system says about a shared library.
#ifndef TESTING_LOADEDLIBRARY_H
#define TESTING_LOADEDLIBRARY_H

#include <QtCore/QSet>
#include <QtCore/QString>

/// Whether this process has the library in this file loaded; does not load it.
bool isLibraryLoaded(const QString &fileName);

/// The names that the library, which is loaded, exports.
QSet<QString> exportedSymbols(const QString &fileName);

#endif
