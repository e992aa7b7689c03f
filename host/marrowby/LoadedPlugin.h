#ifndef HOST_MARROWBY_LOADEDPLUGIN_H
#define HOST_MARROWBY_LOADEDPLUGIN_H

#include "host/core/CapturedLog.h"
#include "plugin/QuorHDFSPluginInterface.h"

#include <QtCore/QPluginLoader>
#include <QtCore/QString>

/// The plug-in, loaded and initialised for the life of the object. The library stays in the process.
class LoadedPlugin
{
public:
    /// `file` empty: the library QuorHDFS beside this program. `log` collects what the plug-in says meanwhile. Throws
    /// NoConnection when it cannot be loaded or used.
    LoadedPlugin(const QString &file, const CapturedLog &log);
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin &) = delete;
    LoadedPlugin &operator=(const LoadedPlugin &) = delete;

    QuorHDFSPluginInterface *operator->() const { return m_hdfs; }
    QString fileName() const { return m_loader.fileName(); }

private:
    QPluginLoader m_loader;
    QuorHDFSPluginInterface *m_hdfs;
};

#endif
