#include "testing/LoadedLibrary.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <dlfcn.h>

bool isLibraryLoaded(const QString &fileName)
{
    void *handle = ::dlopen(QFile::encodeName(fileName).constData(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle)
        ::dlclose(handle);
    return handle != nullptr;
}

QSet<QString> exportedSymbols(const QString &fileName)
{
    QProcess nm;
    nm.start("nm", QStringList() << "--dynamic"
                                 << "--defined-only"
                                 << "--format=posix" << fileName);
    EXPECT_TRUE(nm.waitForFinished());
    EXPECT_EQ(0, nm.exitCode());
    QSet<QString> symbols;
    for (const QByteArray &line : nm.readAllStandardOutput().split('\n')) {
        if (!line.isEmpty())
            symbols.insert(line.split(' ').at(0));
    }
    return symbols;
}
