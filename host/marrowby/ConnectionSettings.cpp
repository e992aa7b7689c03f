#include "host/marrowby/ConnectionSettings.h"

#include "host/marrowby/Login.h"
#include "platform/Settings.h"

namespace {

const char kHdfs[] = "hdfs";
const char kWebHdfs[] = "webhdfs";
const char kAbandonBlock[] = "abandonBlock";
const char kUserVariable[] = "USERNAME";
const char kDefaultPort[] = "8020";
const int kHighestPort = 65535;

QString switchText(bool on)
{
    return QString::fromLatin1(on ? "1" : "0");
}

QString firstOf(const QString &addresses)
{
    return addresses.section(QLatin1Char(','), 0, 0);
}

} // namespace

ConnectionSettings ConnectionSettings::fromValues(const QString &hdfs, const QString &webHdfs,
                                                  const QString &abandonBlock)
{
    ConnectionSettings settings;
    QStringList fields = hdfs.split(QLatin1Char('|'));
    settings.address = fields.takeFirst();
    if (!fields.isEmpty())
        settings.addressIndex = fields.takeFirst();
    if (!fields.isEmpty())
        settings.user = fields.takeFirst();
    settings.furtherFields = fields;
    settings.webHdfs = webHdfs.toInt() != 0;
    settings.abandonBlock = abandonBlock.toInt() != 0;
    return settings;
}

QString ConnectionSettings::hdfsValue() const
{
    QStringList fields(address);
    const bool userField = !user.isEmpty() || !furtherFields.isEmpty();
    if (!addressIndex.isEmpty() || userField)
        fields << (addressIndex.isEmpty() ? QString(QLatin1Char('0')) : addressIndex);
    if (userField)
        fields << user << furtherFields;
    return fields.join(QLatin1String("|"));
}

ConnectionSettings ConnectionSettings::load()
{
    const std::unique_ptr<QSettings> store = platform::openConnectionSettings();
    return fromValues(platform::settingText(*store, QLatin1String(kHdfs)),
                      platform::settingText(*store, QLatin1String(kWebHdfs)),
                      platform::settingText(*store, QLatin1String(kAbandonBlock)));
}

bool ConnectionSettings::save() const
{
    const std::unique_ptr<QSettings> store = platform::openConnectionSettings();
    store->setValue(QLatin1String(kHdfs), hdfsValue());
    store->setValue(QLatin1String(kWebHdfs), switchText(webHdfs));
    store->setValue(QLatin1String(kAbandonBlock), switchText(abandonBlock));
    store->sync();
    return store->status() == QSettings::NoError;
}

QString ConnectionSettings::location()
{
    return platform::openConnectionSettings()->fileName();
}

void ConnectionSettings::setAddress(const QString &hostAndPort)
{
    if (address != hostAndPort && !addressIndex.isEmpty())
        addressIndex = QLatin1String("0");
    address = hostAndPort;
}

bool ConnectionSettings::hasNameNode() const
{
    return !firstOf(address).section(QLatin1Char(':'), 0, 0).isEmpty();
}

QByteArray ConnectionSettings::authority() const
{
    const QByteArray first = firstOf(address).toUtf8();
    return first.contains(':') ? first : first + ':' + kDefaultPort;
}

QByteArray ConnectionSettings::effectiveUser() const
{
    return user.isEmpty() ? QString::fromLocal8Bit(qgetenv(kUserVariable)).toUtf8() : user.toUtf8();
}

std::string checkedAddress(const std::string &text, QString *address)
{
    QString hostAndPort = QString::fromLocal8Bit(text.c_str());
    if (hostAndPort.startsWith(QLatin1String("hdfs://")))
        hostAndPort = hostAndPort.mid(7);
    while (hostAndPort.endsWith(QLatin1Char('/')))
        hostAndPort.chop(1);
    const QStringList parts = hostAndPort.split(QLatin1Char(':'));
    const QString host = parts.at(0);
    bool possible = !host.isEmpty() && parts.size() <= 2;
    for (const QChar &c : host)
        possible = possible && c.unicode() < 128 && (c.isLetterOrNumber() || QString::fromLatin1("-._").contains(c));
    if (possible && parts.size() == 2) {
        const int port = parts.at(1).toInt(&possible);
        possible = possible && port >= 1 && port <= kHighestPort;
    }
    if (!possible)
        return "'" + text + "' is not HOST or HOST:PORT";
    if (address)
        *address = hostAndPort;
    return std::string();
}

std::string checkedUser(const std::string &text)
{
    if (text.empty() || text.find('|') != std::string::npos || text.find('/') != std::string::npos)
        return "'" + text + "' is no user name";
    return std::string();
}

void provideUserName()
{
    if (!qgetenv(kUserVariable).isEmpty())
        return;
    const QByteArray login = loginName();
    if (!login.isEmpty())
        qputenv(kUserVariable, login);
}
