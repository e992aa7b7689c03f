// A host that has loaded the plug-in and is connected to the NameNode of the user's settings.
#ifndef BENCHMARK_HOST_H
#define BENCHMARK_HOST_H

#include "plugin/QuorHDFSPluginInterface.h"

#include <QtCore/QPluginLoader>

#include <cstdio>
#include <cstdlib>

/// The first of the values of `read` that are no number of bytes.
const quint32 kFirstReadError = 0xFFFFFFFEu;

class Host
{
public:
    /// Ends the process when there is no plug-in or no connection.
    explicit Host(const char *library)
    {
        QPluginLoader loader(QString::fromLocal8Bit(library));
        hdfs = qobject_cast<QuorHDFSPluginInterface *>(loader.instance());
        if (!hdfs || hdfs->initialize() != 0 || !(connection = hdfs->connect())) {
            std::fprintf(stderr, "host_bench: no connection: %s\n", qPrintable(loader.errorString()));
            std::exit(1);
        }
    }
    ~Host() { hdfs->deleteConnection(connection); }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    HdfsFileReader *open(const char *path)
    {
        HdfsFileReader *reader = hdfs->openReader(connection, path);
        if (!reader)
            fail("open");
        return reader;
    }

    static void fail(const char *what)
    {
        std::fprintf(stderr, "host_bench: %s failed\n", what);
        std::exit(1);
    }

    QuorHDFSPluginInterface *hdfs = nullptr;
    NameNodeConnection *connection = nullptr;
};

#endif
