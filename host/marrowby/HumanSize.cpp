#include "host/marrowby/HumanSize.h"

namespace {

const quint64 kStep = 1024;
const char kPrefixes[] = {'K', 'M', 'G', 'T', 'P', 'E'};
const int kPrefixCount = sizeof kPrefixes;

/// In tenths of `unit`, half a tenth rounded up.
quint64 tenthsOf(quint64 bytes, quint64 unit)
{
    return bytes / unit * 10 + (bytes % unit * 10 + unit / 2) / unit;
}

} // namespace

QByteArray humanSize(quint64 bytes)
{
    if (bytes < kStep)
        return QByteArray::number(bytes);
    int prefix = 0;
    quint64 unit = kStep;
    // What would be rounded up to 1024.0 is 1.0 of the next unit.
    while (prefix + 1 < kPrefixCount && tenthsOf(bytes, unit) >= kStep * 10) {
        unit *= kStep;
        ++prefix;
    }
    QByteArray text;
    if (bytes % unit == 0) {
        text = QByteArray::number(bytes / unit);
    } else {
        const quint64 tenths = tenthsOf(bytes, unit);
        text = QByteArray::number(tenths / 10) + '.' + QByteArray::number(tenths % 10);
    }
    return text + ' ' + kPrefixes[prefix];
}
