#include "host/marrowby/WriteSettings.h"

#include "host/marrowby/Errors.h"

#include <QtCore/QByteArray>

#include <cstring>
#include <limits>

namespace {

const char kBlockSize[] = "dfs.blocksize";
const char kReplication[] = "dfs.replication";
const char kBytesPerChecksum[] = "dfs.bytes-per-checksum";
const char kPrefixes[] = "kmgtpe";
const qint64 kBlockSizeUnit = 1024; // what the plug-in's writers insist on
const qint64 kDefaultBytesPerChecksum = 1024;
const qint64 kBlockSizeEnd = Q_INT64_C(1) << 32;
const qint64 kHighestReplication = 32767;

qint64 number(const QByteArray &text)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber)
        throw UsageError("For input string: \"" + text + '"');
    return value;
}

/// "64k" is 65536.
qint64 numberWithPrefix(const QByteArray &typed)
{
    const QByteArray text = typed.trimmed();
    if (text.isEmpty())
        return number(text);
    const char last = text.at(text.size() - 1);
    if (last >= '0' && last <= '9')
        return number(text);
    const char *const prefix = std::strchr(kPrefixes, last | 0x20);
    if (!prefix)
        throw UsageError(QByteArray("Invalid size prefix '") + last + "' in '" + text +
                         "'. Allowed prefixes are k, m, g, t, p, e(case insensitive)");
    const int shift = 10 * static_cast<int>(prefix - kPrefixes + 1);
    const qint64 value = number(text.left(text.size() - 1));
    const qint64 highest = std::numeric_limits<qint64>::max() >> shift;
    if (value > highest || value < -highest)
        throw UsageError(text + " does not fit in a Long");
    return value * (Q_INT64_C(1) << shift);
}

UsageError unfit(const char *name, qint64 value, const char *why)
{
    return UsageError("Invalid values: " + QByteArray(name) + " (=" + QByteArray::number(value) + ") " + why);
}

void take(WriteSettings *settings, const QByteArray &name, const QByteArray &value)
{
    if (name == kBlockSize) {
        settings->blockSize = numberWithPrefix(value);
        if (settings->blockSize <= 0 || settings->blockSize >= kBlockSizeEnd)
            throw unfit(kBlockSize, settings->blockSize, "must be above 0 and below 4g.");
    } else if (name == kReplication) {
        const qint64 replication = number(value.trimmed());
        if (replication < 0 || replication > kHighestReplication)
            throw unfit(kReplication, replication, "must be from 1 to 32767.");
        settings->replication = static_cast<quint16>(replication); // of 0 the NameNode says what it thinks
    } else if (name == kBytesPerChecksum) {
        const qint64 bytes = number(value.trimmed());
        if (bytes <= 0 || bytes >= kBlockSizeEnd)
            throw unfit(kBytesPerChecksum, bytes, "must be above 0 and below 4g.");
        settings->bytesPerChecksum = static_cast<quint32>(bytes);
    }
}

} // namespace

WriteSettings WriteSettings::from(const std::vector<std::string> &properties)
{
    WriteSettings settings;
    for (const std::string &property : properties) {
        const std::size_t equals = property.find('=');
        if (equals != std::string::npos)
            take(&settings, QByteArray::fromStdString(property.substr(0, equals)),
                 QByteArray::fromStdString(property.substr(equals + 1)));
    }
    if (settings.blockSize % kBlockSizeUnit != 0)
        throw unfit(kBlockSize, settings.blockSize, "must be a multiple of 1024.");
    const qint64 chunk = settings.bytesPerChecksum ? settings.bytesPerChecksum : kDefaultBytesPerChecksum;
    if (settings.blockSize % chunk != 0)
        throw UsageError("Invalid values: dfs.bytes-per-checksum (=" + QByteArray::number(chunk) +
                         ") must divide block size (=" + QByteArray::number(settings.blockSize) + ").");
    return settings;
}
