#include "host/marrowby/Session.h"

#include "host/marrowby/ConnectionSettings.h"
#include "host/marrowby/Errors.h"
#include "host/marrowby/Interrupt.h"
#include "host/marrowby/OneRunSettings.h"
#include "host/marrowby/RemoteError.h"

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

ConnectionSettings settingsForThisRun(const SessionOptions &options, bool *differs)
{
    ConnectionSettings settings = ConnectionSettings::load();
    *differs =
        !options.nameNode.isEmpty() || !options.user.isEmpty() || options.webHdfs >= 0 || options.abandonBlock >= 0;
    if (!options.nameNode.isEmpty())
        settings.setAddress(options.nameNode);
    if (!options.user.isEmpty())
        settings.user = options.user;
    if (options.webHdfs >= 0)
        settings.webHdfs = options.webHdfs != 0;
    if (options.abandonBlock >= 0)
        settings.abandonBlock = options.abandonBlock != 0;
    return settings;
}

Session::Session(const SessionOptions &options)
    : m_log(options.verbose ? CapturedLog::AlsoToStandardError : CapturedLog::Quiet), m_plugin(options.plugin, m_log),
      m_connection(nullptr)
{
    connect(options);
}

Session::~Session()
{
    m_plugin->deleteConnection(m_connection);
}

std::vector<QByteArray> Session::options() const
{
    return {"--plugin", QFile::encodeName(m_plugin.fileName()), "--namenode", m_authority,
            "--user",   QString::fromUtf8(m_user).toLocal8Bit()};
}

void Session::connect(const SessionOptions &options)
{
    provideUserName();
    bool differs = false;
    const ConnectionSettings settings = settingsForThisRun(options, &differs);
    // The plug-in would say the same with a null connection and no message.
    if (!settings.hasNameNode())
        throw NoConnection(nothingConfigured());
    std::unique_ptr<OneRunSettings> oneRun;
    if (differs)
        oneRun.reset(new OneRunSettings(settings));
    m_user = settings.effectiveUser();
    m_authority = settings.authority();
    m_connection = m_plugin->connect();
    oneRun.reset();
    if (!m_connection) {
        checkForInterrupt();
        throw NoConnection(cannotConnect(m_authority, m_user, m_log.entries(), options.nameNode.isEmpty()));
    }
}
