#include "host/marrowby/Session.h"

#include "host/marrowby/ConnectionSettings.h"
#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/OneRunSettings.h"
#include "host/marrowby/RemoteError.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

namespace {

QByteArray nothingConfigured()
{
    return "no NameNode is configured.\n"
           "Store one with    marrowby configure --namenode HOST:PORT\n"
           "or name it for this run with    marrowby --namenode HOST:PORT COMMAND ...\n"
           "The settings are read from " +
           ConnectionSettings::location().toUtf8();
}

QByteArray cannotConnect(const QByteArray &authority, const QByteArray &user, const QStringList &log, bool stored)
{
    // The plug-in's last entry only repeats that it failed; the ones before it say why.
    QStringList reasons = log;
    if (reasons.size() > 1 && reasons.last().startsWith(QLatin1String("Connection to HDFS failed")))
        reasons.removeLast();
    QByteArray text = "cannot connect to the NameNode " + authority + " as " + user + ": " + reasonIn(reasons) +
                      ".\nIs that the address of its RPC port, and does it run? ";
    text += stored ? "The address was read from " + ConnectionSettings::location().toUtf8() +
                         "; `marrowby configure` shows and changes it."
                   : QByteArray("The address was given with --namenode.");
    return text;
}

} // namespace

Session::Session(const SessionOptions &options)
    : m_log(options.verbose ? CapturedLog::AlsoToStandardError : CapturedLog::Quiet), m_hdfs(nullptr),
      m_connection(nullptr)
{
    load(options.plugin);
    connect(options);
}

Session::~Session()
{
    m_hdfs->deleteConnection(m_connection);
    delete m_loader.instance();
}

std::vector<QByteArray> Session::options() const
{
    return {"--plugin", QFile::encodeName(m_loader.fileName()), "--namenode", m_authority,
            "--user",   QString::fromUtf8(m_user).toLocal8Bit()};
}

void Session::load(const QString &plugin)
{
    const QString file =
        plugin.isEmpty() ? QCoreApplication::applicationDirPath() + QLatin1String("/QuorHDFS") : plugin;
    m_loader.setFileName(file);
    QObject *const root = m_loader.instance();
    if (!root)
        throw NoConnection("cannot load the plug-in " + file.toUtf8() + ": " + m_loader.errorString().toUtf8());
    m_hdfs = qobject_cast<QuorHDFSPluginInterface *>(root);
    if (!m_hdfs) {
        delete root;
        throw NoConnection(m_loader.fileName().toUtf8() + " is a plug-in, but not for HDFS");
    }
    if (m_hdfs->initialize() != 0) {
        delete root;
        throw NoConnection("the plug-in cannot use the network: " + reasonIn(m_log.entries()));
    }
}

void Session::connect(const SessionOptions &options)
{
    provideUserName();
    ConnectionSettings settings = ConnectionSettings::load();
    std::unique_ptr<OneRunSettings> oneRun;
    const bool stored = options.nameNode.isEmpty();
    try {
        if (!stored || !options.user.isEmpty() || options.webHdfs >= 0 || options.abandonBlock >= 0) {
            if (!stored)
                settings.setAddress(options.nameNode);
            if (!options.user.isEmpty())
                settings.user = options.user;
            if (options.webHdfs >= 0)
                settings.webHdfs = options.webHdfs != 0;
            if (options.abandonBlock >= 0)
                settings.abandonBlock = options.abandonBlock != 0;
            if (settings.hasNameNode())
                oneRun.reset(new OneRunSettings(settings));
        }
        // The plug-in would say the same with a null connection and no message.
        if (!settings.hasNameNode())
            throw NoConnection(nothingConfigured());
        m_user = settings.effectiveUser();
        m_authority = settings.authority();
        m_connection = m_hdfs->connect();
        oneRun.reset();
        if (!m_connection) {
            checkForInterrupt();
            throw NoConnection(cannotConnect(m_authority, m_user, m_log.entries(), stored));
        }
    } catch (...) {
        delete m_loader.instance();
        throw;
    }
}
