#include "plugin/ImplementationQuorHDFSPluginInterface.h"

#include "io/HdfsFileCopy.h"
#include "io/HdfsFileReader.h"
#include "io/HdfsFileWriter.h"
#include "plugin/ConnectionSetup.h"
#include "plugin/FileDialogs.h"
#include "rpc/ClientProtocol.h"
#include "rpc/NameNodeConnection.h"
#include "rpc/Network.h"

namespace {

const std::uint64_t kReservedArgument = 10000;

} // namespace

qint32 ImplementationQuorHDFSPluginInterface::connectWithParameters(NameNodeConnection *connection, QByteArray host,
                                                                    quint32 port, QByteArray user,
                                                                    quint32 preferredAddressIndex, quint8 useSasl,
                                                                    qint32 webHdfs, quint32 reserved)
{
    return connection->connect(host, port, user, preferredAddressIndex, useSasl != 0, webHdfs != 0, reserved,
                               kReservedArgument);
}

qint32 ImplementationQuorHDFSPluginInterface::initialize()
{
    return initNetwork();
}

NameNodeConnection *ImplementationQuorHDFSPluginInterface::connect()
{
    return connectFromSettings(nullptr);
}

void ImplementationQuorHDFSPluginInterface::deleteConnection(NameNodeConnection *connection)
{
    delete connection;
}

qint32 ImplementationQuorHDFSPluginInterface::disconnect(NameNodeConnection *connection)
{
    return connection->disconnect();
}

HdfsFileReader *ImplementationQuorHDFSPluginInterface::openReader(NameNodeConnection *connection, QByteArray path)
{
    return HdfsFileReader::open(connection, path);
}

HdfsFileWriter *ImplementationQuorHDFSPluginInterface::createWriter(NameNodeConnection *connection, QByteArray path,
                                                                    quint32 permission, quint16 replication,
                                                                    qint64 blockSize)
{
    return HdfsFileWriter::create(connection, path, permission, replication, blockSize);
}

qint32 ImplementationQuorHDFSPluginInterface::fileExists(NameNodeConnection *connection, QByteArray path, bool *exists,
                                                         bool *isFile)
{
    return ClientProtocol::fileExists(connection, path, exists, isFile);
}

HdfsFileStatus *ImplementationQuorHDFSPluginInterface::fileInfo(NameNodeConnection *connection, QByteArray path,
                                                                bool *failed)
{
    return ClientProtocol::fileInfo(connection, path, failed);
}

HdfsFileStatus *ImplementationQuorHDFSPluginInterface::getListing(NameNodeConnection *connection, QByteArray path,
                                                                  qint32 *count)
{
    return ClientProtocol::getListing(connection, path, count);
}

qint32 ImplementationQuorHDFSPluginInterface::copy(NameNodeConnection *connection, QByteArray source,
                                                   QByteArray destination)
{
    return copyHdfsFile(connection, source, destination);
}

qint32 ImplementationQuorHDFSPluginInterface::rename(NameNodeConnection *connection, QByteArray source,
                                                     QByteArray destination)
{
    return ClientProtocol::rename(connection, source, destination);
}

qint32 ImplementationQuorHDFSPluginInterface::delete_(NameNodeConnection *connection, QByteArray path, quint8 recursive)
{
    return ClientProtocol::delete_(connection, path, recursive != 0);
}

qint32 ImplementationQuorHDFSPluginInterface::mkdirs(NameNodeConnection *connection, QByteArray path,
                                                     quint32 permission, quint8 createParents)
{
    return ClientProtocol::mkdirs(connection, path, permission, createParents != 0);
}

qint32 ImplementationQuorHDFSPluginInterface::setReplication(NameNodeConnection *connection, QByteArray path,
                                                             quint16 replication)
{
    return ClientProtocol::setReplication(connection, path, static_cast<std::int16_t>(replication));
}

void ImplementationQuorHDFSPluginInterface::freeListing(HdfsFileStatus *head)
{
    ClientProtocol::freeListing(head);
}

qint32 ImplementationQuorHDFSPluginInterface::setPermission(NameNodeConnection *connection, QByteArray path,
                                                            quint16 permission)
{
    return ClientProtocol::setPermission(connection, path, static_cast<std::int16_t>(permission));
}

qint32 ImplementationQuorHDFSPluginInterface::setOwner(NameNodeConnection *connection, QByteArray path, QByteArray user,
                                                       QByteArray group)
{
    return ClientProtocol::setOwner(connection, path, user, group);
}

void ImplementationQuorHDFSPluginInterface::deleteReader(HdfsFileReader *reader)
{
    delete reader;
}

void ImplementationQuorHDFSPluginInterface::freeBlockList(HdfsFileReader *reader)
{
    reader->freeBlockList();
}

void ImplementationQuorHDFSPluginInterface::setPosition(HdfsFileReader *reader, qint64 offset)
{
    reader->position = offset;
}

qint64 ImplementationQuorHDFSPluginInterface::fileLength(HdfsFileReader *reader)
{
    return static_cast<qint64>(reader->fileLength);
}

qint64 ImplementationQuorHDFSPluginInterface::position(HdfsFileReader *reader)
{
    return reader->position;
}

quint32 ImplementationQuorHDFSPluginInterface::read(HdfsFileReader *reader, char *buffer, quint32 length,
                                                    qint32 *blockIndex)
{
    return reader->read(buffer, length, blockIndex);
}

void ImplementationQuorHDFSPluginInterface::deleteWriter(HdfsFileWriter *writer)
{
    if (writer)
        writer->finish();
    delete writer;
}

qint32 ImplementationQuorHDFSPluginInterface::closeWriter(HdfsFileWriter *writer, const char *buffer, quint32 length)
{
    return writer->close(buffer, length);
}

qint64 ImplementationQuorHDFSPluginInterface::bytesWritten(HdfsFileWriter *writer)
{
    return static_cast<qint64>(writer->totalWritten());
}

qint32 ImplementationQuorHDFSPluginInterface::write(HdfsFileWriter *writer, const char *buffer, quint32 length)
{
    return writer->write(buffer, length);
}

void ImplementationQuorHDFSPluginInterface::setSyncBlock(HdfsFileWriter *writer, quint8 flag)
{
    writer->setSyncBlock(flag);
}

quint8 ImplementationQuorHDFSPluginInterface::syncBlock(HdfsFileWriter *writer)
{
    return writer->syncBlock();
}

bool ImplementationQuorHDFSPluginInterface::setChunkSize(HdfsFileWriter *writer, quint32 chunkSize)
{
    return writer->setChunkSize(chunkSize);
}

quint32 ImplementationQuorHDFSPluginInterface::chunkSize(HdfsFileWriter *writer)
{
    return writer->chunkSize();
}

QString ImplementationQuorHDFSPluginInterface::getOpenFileName(QWidget *parent, QString caption, QString directory,
                                                               QString filter)
{
    return chooseFileToOpen(parent, caption, directory, filter);
}

QString ImplementationQuorHDFSPluginInterface::getSaveFileName(QWidget *parent, QString caption, QString directory,
                                                               QString filter)
{
    return chooseFileToSave(parent, caption, directory, filter);
}

QString ImplementationQuorHDFSPluginInterface::getExistingDirectory(QWidget *parent, QString caption, QString directory)
{
    return chooseDirectory(parent, caption, directory);
}

QUOR_PLUGIN_INSTANCE(ImplementationQuorHDFSPluginInterface)
