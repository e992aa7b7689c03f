#include "host/marrowby/LoadedPlugin.h"

#include "host/marrowby/Errors.h"
#include "host/marrowby/RemoteError.h"

#include <QtCore/QCoreApplication>

LoadedPlugin::LoadedPlugin(const QString &file, const CapturedLog &log) : m_hdfs(nullptr)
{
    m_loader.setFileName(file.isEmpty() ? QCoreApplication::applicationDirPath() + QLatin1String("/QuorHDFS") : file);
    QObject *const root = m_loader.instance();
    if (!root)
        throw NoConnection("cannot load the plug-in " + m_loader.fileName().toUtf8() + ": " +
                           m_loader.errorString().toUtf8());
    m_hdfs = qobject_cast<QuorHDFSPluginInterface *>(root);
    if (!m_hdfs) {
        delete root;
        throw NoConnection(m_loader.fileName().toUtf8() + " is a plug-in, but not for HDFS");
    }
    if (m_hdfs->initialize() != 0) {
        delete root;
        throw NoConnection("the plug-in cannot use the network: " + reasonIn(log.entries()));
    }
}

LoadedPlugin::~LoadedPlugin()
{
    delete m_loader.instance();
}
