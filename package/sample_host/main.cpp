// What a host does with the plug-in: lists, writes, reads, deletes, and lets the user choose. Says each step on
// standard output; ends with 1 at the first that goes wrong. Usage: sample_host PLUGIN FOLDER
// FOLDER gets pictures of the dialog: hdfs.png, computer.png, local.png.
#include "plugin/QuorHDFSPluginInterface.h"
#include "rpc/HdfsFileStatus.h"

#include <QtCore/QPluginLoader>
#include <QtCore/QTimer>
#include <QtGui/QPixmap>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

#include <cstdio>
#include <cstdlib>

namespace {

void check(bool succeeded, const char *step)
{
    std::printf("%s: %s\n", step, succeeded ? "done" : "failed");
    std::fflush(stdout);
    if (!succeeded)
        std::exit(1);
}

QByteArray pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 31 + i / 251) & 0xFF);
    return bytes;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    check(arguments.size() == 3, "arguments");
    QPluginLoader loader(arguments.at(1));
    QObject *const root = loader.instance();
    if (!root)
        std::printf("%s\n", loader.errorString().toLocal8Bit().constData());
    check(root != nullptr, "load");
    QuorHDFSPluginInterface *const hdfs = qobject_cast<QuorHDFSPluginInterface *>(root);
    check(hdfs != nullptr, "interface");
    check(hdfs->initialize() == 0, "initialize");
    NameNodeConnection *const connection = hdfs->connect();
    check(connection != nullptr, "connect");

    const QByteArray path = "/tmp/sample host \xc3\xa4.bin";
    const QByteArray bytes = pattern(3 * 1024 * 1024 + 17);
    HdfsFileWriter *const writer = hdfs->createWriter(connection, path, 0644, 1, 1024 * 1024);
    check(writer != nullptr, "create");
    check(hdfs->write(writer, bytes.constData(), 1000) == 0, "write");
    check(hdfs->closeWriter(writer, bytes.constData() + 1000, static_cast<quint32>(bytes.size() - 1000)) == 0, "close");
    hdfs->deleteWriter(writer);

    HdfsFileReader *const reader = hdfs->openReader(connection, path);
    check(reader != nullptr && hdfs->fileLength(reader) == bytes.size(), "open");
    QByteArray back(bytes.size(), '\0');
    check(hdfs->read(reader, back.data(), static_cast<quint32>(back.size()), nullptr) ==
              static_cast<quint32>(bytes.size()),
          "read");
    check(back == bytes, "the same bytes");
    hdfs->deleteReader(reader);

    qint32 count = 0;
    HdfsFileStatus *const listing = hdfs->getListing(connection, "/tmp", &count);
    bool listed = false;
    for (const HdfsFileStatus *entry = listing; entry; entry = entry->next)
        listed = listed || (path.endsWith(entry->path.data) && entry->length == static_cast<quint64>(bytes.size()));
    check(count > 0 && listed, "list");
    hdfs->freeListing(listing);
    check(hdfs->delete_(connection, path, 0) == 0, "delete");
    bool exists = true;
    bool isFile = true;
    check(hdfs->fileExists(connection, path, &exists, &isFile) == 0 && !exists, "gone");
    hdfs->deleteConnection(connection);

    const struct {
        const char *name;
        const char *directory;
    } pictures[] = {{"hdfs", "hdfs:/"}, {"computer", ""}, {"local", "C:/windows"}};
    for (const auto &picture : pictures) {
        const QString file = arguments.at(2) + "/" + picture.name + ".png";
        bool shown = false;
        QTimer::singleShot(1500, &application, [&] {
            QWidget *const dialog = QApplication::activeModalWidget();
            shown = dialog && dialog->grab().save(file);
            if (dialog)
                dialog->close();
        });
        check(hdfs->getOpenFileName(nullptr, "Sample", picture.directory, "All Files (*.*)").isEmpty() && shown,
              picture.name);
    }
    delete root;
    check(loader.unload(), "unload");
    return 0;
}
