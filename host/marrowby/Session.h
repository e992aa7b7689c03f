// The plug-in at work: loaded, initialised and connected for the life of the object.
#ifndef HOST_MARROWBY_SESSION_H
#define HOST_MARROWBY_SESSION_H

#include "host/core/CapturedLog.h"
#include "host/marrowby/ConnectionSettings.h"
#include "host/marrowby/LoadedPlugin.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>
#include <vector>

/// What is asked for this run, beside the command.
struct SessionOptions {
    QString plugin;   ///< file of the plug-in; empty: the library QuorHDFS beside this program
    QString nameNode; ///< HOST[:PORT] in place of the stored one; empty: the stored one
    QString user;     ///< in place of the stored one; empty: the stored one
    // 0 or 1 in place of the stored value; -1: the stored one
    int webHdfs = -1;
    int abandonBlock = -1;
    bool verbose = false;
};

/// What is stored, with what `options` say for this run in place of it. `*differs`: whether they say anything.
ConnectionSettings settingsForThisRun(const SessionOptions &options, bool *differs);

class Session
{
public:
    /// Throws NoConnection when there is no plug-in, nothing is configured or the NameNode cannot be reached.
    explicit Session(const SessionOptions &options);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    QuorHDFSPluginInterface *operator->() const { return m_plugin.operator->(); }
    NameNodeConnection *connection() const { return m_connection; }
    const QByteArray &user() const { return m_user; }
    /// "host:port" of the NameNode.
    const QByteArray &authority() const { return m_authority; }

    /// What another run of this program needs before its command to work as this one does.
    std::vector<QByteArray> options() const;

    /// What the plug-in logged since the last `forgetLog`.
    const QStringList &log() const { return m_log.entries(); }
    void forgetLog() { m_log.clear(); }

private:
    void connect(const SessionOptions &options);

    CapturedLog m_log;
    LoadedPlugin m_plugin;
    NameNodeConnection *m_connection;
    QByteArray m_user;
    QByteArray m_authority;
};

#endif
