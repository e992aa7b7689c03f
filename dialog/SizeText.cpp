#include "dialog/SizeText.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>

namespace {

const qint64 kKilobyte = 1024;
const qint64 kMegabyte = 1024 * kKilobyte;
const qint64 kGigabyte = 1024 * kMegabyte;
const qint64 kTerabyte = 1024 * kGigabyte;

const char kContext[] = "HdfsFileSystemModel";

QString filled(const char *format, const QString &number)
{
    return QCoreApplication::translate(kContext, format).arg(number, 0, QLatin1Char(' '));
}

QString fraction(qint64 bytes, qint64 unit, int decimals)
{
    return QLocale().toString(static_cast<double>(bytes) / static_cast<double>(unit), 'f', decimals);
}

} // namespace

QString formatSize(qint64 bytes)
{
    if (bytes >= kTerabyte)
        return filled(QT_TRANSLATE_NOOP("HdfsFileSystemModel", "%1 TB"), fraction(bytes, kTerabyte, 3));
    if (bytes >= kGigabyte)
        return filled(QT_TRANSLATE_NOOP("HdfsFileSystemModel", "%1 GB"), fraction(bytes, kGigabyte, 2));
    if (bytes >= kMegabyte)
        return filled(QT_TRANSLATE_NOOP("HdfsFileSystemModel", "%1 MB"), fraction(bytes, kMegabyte, 1));
    if (bytes < kKilobyte)
        return filled(QT_TRANSLATE_NOOP("HdfsFileSystemModel", "%1 bytes"),
                      QLocale().toString(static_cast<qlonglong>(bytes)));
    return filled(QT_TRANSLATE_NOOP("HdfsFileSystemModel", "%1 KB"),
                  QLocale().toString(static_cast<qlonglong>(bytes / kKilobyte)));
}
