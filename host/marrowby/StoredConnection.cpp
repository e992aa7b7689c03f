#include "host/marrowby/StoredConnection.h"

#include <QtCore/QStringList>

namespace {

const QLatin1String kHdfs("hdfs");
const QLatin1String kWebHdfs("webhdfs");

QString withChanges(const QString &stored, const ConnectionValues &values)
{
    QStringList fields = stored.split(QLatin1Char('|'));
    if (!values.nameNode.isNull() && values.nameNode != fields.at(0)) {
        fields[0] = values.nameNode;
        if (fields.size() > 1)
            fields[1] = QLatin1String("0");
    }
    if (!values.user.isNull()) {
        while (fields.size() < 3)
            fields.append(fields.size() == 1 ? QLatin1String("0") : QLatin1String(""));
        fields[2] = values.user;
    }
    return fields.join(QLatin1String("|"));
}

} // namespace

bool storeConnectionValues(const ConnectionValues &values)
{
    const std::unique_ptr<QSettings> settings = platform::openConnectionSettings();
    settings->setValue(kHdfs, withChanges(platform::settingText(*settings, kHdfs), values));
    if (!values.webHdfs.isNull())
        settings->setValue(kWebHdfs, values.webHdfs);
    settings->sync();
    return settings->status() == QSettings::NoError;
}

ConnectionValues storedConnectionValues()
{
    const std::unique_ptr<QSettings> settings = platform::openConnectionSettings();
    const QStringList fields = platform::settingText(*settings, kHdfs).split(QLatin1Char('|'));
    ConnectionValues values;
    values.nameNode = fields.at(0);
    if (fields.size() > 2)
        values.user = fields.at(2);
    values.webHdfs = platform::settingText(*settings, kWebHdfs, QLatin1String("0"));
    return values;
}

bool useForOneRun(platform::TemporarySettingsStore *store, const ConnectionValues &values)
{
    QString hdfs;
    QString webHdfs;
    {
        const std::unique_ptr<QSettings> stored = platform::openConnectionSettings();
        hdfs = withChanges(platform::settingText(*stored, kHdfs), values);
        webHdfs = platform::settingText(*stored, kWebHdfs, QLatin1String("0"));
    }
    if (!store->open())
        return false;
    const std::unique_ptr<QSettings> settings = platform::openConnectionSettings();
    settings->setValue(kHdfs, hdfs);
    settings->setValue(kWebHdfs, values.webHdfs.isNull() ? webHdfs : values.webHdfs);
    settings->sync();
    return settings->status() == QSettings::NoError;
}
