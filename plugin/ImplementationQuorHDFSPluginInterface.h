// The root object of the plug-in. Every operation only forwards to the code that does the work.
#ifndef PLUGIN_IMPLEMENTATIONQUORHDFSPLUGININTERFACE_H
#define PLUGIN_IMPLEMENTATIONQUORHDFSPLUGININTERFACE_H

#include "platform/QtCompat.h"
#include "plugin/QuorHDFSPluginInterface.h"

#include <QtCore/QObject>

class ImplementationQuorHDFSPluginInterface : public QObject, public QuorHDFSPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(QuorHDFSPluginInterface)
    Q_PLUGIN_METADATA(IID "QuorHDFSPluginInterface/1.0")

public:
    /// Connects an existing, unconnected object with explicit values; reads and writes no settings. `webHdfs` is on
    /// when it is not 0; `reserved` is accepted and not used. 0 = connected, 1 = failed.
    virtual qint32 connectWithParameters(NameNodeConnection *connection, QByteArray host, quint32 port, QByteArray user,
                                         quint32 preferredAddressIndex, quint8 useSasl, qint32 webHdfs,
                                         quint32 reserved);

    virtual qint32 initialize();
    virtual NameNodeConnection *connect();
    virtual void deleteConnection(NameNodeConnection *connection);
    virtual qint32 disconnect(NameNodeConnection *connection);
    virtual HdfsFileReader *openReader(NameNodeConnection *connection, QByteArray path);
    virtual HdfsFileWriter *createWriter(NameNodeConnection *connection, QByteArray path, quint32 permission,
                                         quint16 replication, qint64 blockSize);
    virtual qint32 fileExists(NameNodeConnection *connection, QByteArray path, bool *exists, bool *isFile);
    virtual HdfsFileStatus *fileInfo(NameNodeConnection *connection, QByteArray path, bool *failed);
    virtual HdfsFileStatus *getListing(NameNodeConnection *connection, QByteArray path, qint32 *count);
    virtual qint32 copy(NameNodeConnection *connection, QByteArray source, QByteArray destination);
    virtual qint32 rename(NameNodeConnection *connection, QByteArray source, QByteArray destination);
    virtual qint32 delete_(NameNodeConnection *connection, QByteArray path, quint8 recursive);
    virtual qint32 mkdirs(NameNodeConnection *connection, QByteArray path, quint32 permission, quint8 createParents);
    virtual qint32 setReplication(NameNodeConnection *connection, QByteArray path, quint16 replication);
    virtual void freeListing(HdfsFileStatus *head);
    virtual qint32 setPermission(NameNodeConnection *connection, QByteArray path, quint16 permission);
    virtual qint32 setOwner(NameNodeConnection *connection, QByteArray path, QByteArray user, QByteArray group);
    virtual void deleteReader(HdfsFileReader *reader);
    virtual void freeBlockList(HdfsFileReader *reader);
    virtual void setPosition(HdfsFileReader *reader, qint64 offset);
    virtual qint64 fileLength(HdfsFileReader *reader);
    virtual qint64 position(HdfsFileReader *reader);
    virtual quint32 read(HdfsFileReader *reader, char *buffer, quint32 length, qint32 *blockIndex);
    virtual void deleteWriter(HdfsFileWriter *writer);
    virtual qint32 closeWriter(HdfsFileWriter *writer, const char *buffer, quint32 length);
    virtual qint64 bytesWritten(HdfsFileWriter *writer);
    virtual qint32 write(HdfsFileWriter *writer, const char *buffer, quint32 length);
    virtual void setSyncBlock(HdfsFileWriter *writer, quint8 flag);
    virtual quint8 syncBlock(HdfsFileWriter *writer);
    virtual bool setChunkSize(HdfsFileWriter *writer, quint32 chunkSize);
    virtual quint32 chunkSize(HdfsFileWriter *writer);
    virtual QString getOpenFileName(QWidget *parent, QString caption, QString directory, QString filter);
    virtual QString getSaveFileName(QWidget *parent, QString caption, QString directory, QString filter);
    virtual QString getExistingDirectory(QWidget *parent, QString caption, QString directory);
};

#endif
