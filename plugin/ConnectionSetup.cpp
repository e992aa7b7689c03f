#include "plugin/ConnectionSetup.h"

#include "platform/Settings.h"
#include "rpc/HostLog.h"
#include "rpc/NameNodeConnection.h"

#include <QtCore/QStringList>

namespace {

const int kDefaultPort = 8020;
const std::uint64_t kReservedArgument = 10000;

/// The parts of the value "hdfs".
struct HdfsSetting {
    QStringList fields; ///< as they stand, separated by "|" in the store
    QString host;
    int port;
    int addressIndex;
    QString user;
};

HdfsSetting parseHdfsSetting(const QString &value)
{
    HdfsSetting setting;
    setting.fields = value.split(QLatin1Char('|'));
    const QStringList addresses = setting.fields.at(0).split(QLatin1Char(','));
    const QStringList hostAndPort = addresses.at(0).split(QLatin1Char(':'));
    setting.host = hostAndPort.at(0);
    setting.port = hostAndPort.size() > 1 ? hostAndPort.at(1).toInt() : kDefaultPort;
    setting.addressIndex = setting.fields.size() > 1 ? setting.fields.at(1).toInt() : 0;
    if (setting.fields.size() > 2)
        setting.user = setting.fields.at(2);
    if (setting.user.isEmpty())
        setting.user = QString::fromLocal8Bit(qgetenv("USERNAME"));
    return setting;
}

/// A function of its own, so that a leak check knows the one allocation that is left behind on purpose from all others.
NameNodeConnection *newConnection()
{
    return new NameNodeConnection;
}

/// A decimal number in the store that is not 0.
bool isSwitchedOn(const QSettings &settings, const char *name)
{
    return platform::settingText(settings, QLatin1String(name), QLatin1String("0")).toInt() != 0;
}

QString withAddressIndex(const HdfsSetting &setting, int index)
{
    QStringList fields = setting.fields;
    if (fields.size() > 1)
        fields[1] = QString::number(index);
    else if (index != 0)
        fields.append(QString::number(index));
    return fields.join(QLatin1String("|"));
}

} // namespace

NameNodeConnection *connectFromSettings(QString *userName)
{
    NameNodeConnection *connection = newConnection();
    const std::unique_ptr<QSettings> settings = platform::openConnectionSettings();
    const HdfsSetting setting = parseHdfsSetting(platform::settingText(*settings, QLatin1String("hdfs")));
    if (setting.host.isEmpty())
        return nullptr; // the connection is deliberately left allocated
    const bool useWebHdfs = isSwitchedOn(*settings, "webhdfs");
    connection->abandonsFailedBlocks = isSwitchedOn(*settings, "abandonBlock");
    if (userName)
        *userName = setting.user;

    if (connection->connect(setting.host.toLatin1(), static_cast<std::uint32_t>(setting.port), setting.user.toUtf8(),
                            static_cast<std::uint32_t>(setting.addressIndex), false, useWebHdfs, kReservedArgument,
                            kReservedArgument) != 0) {
        logToHost("Connection to HDFS failed.\n");
        delete connection;
        return nullptr;
    }
    const int reachedIndex = static_cast<int>(connection->preferredAddressIndex);
    if (reachedIndex != setting.addressIndex)
        settings->setValue(QLatin1String("hdfs"), withAddressIndex(setting, reachedIndex));
    return connection;
}
