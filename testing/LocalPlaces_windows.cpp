#include "testing/LocalPlaces_windows.h"

#include "testing/HostPath.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <windows.h>

#include <stdexcept>

namespace {

QString unusedDriveLetter()
{
    const DWORD used = ::GetLogicalDrives();
    for (char letter = 'Y'; letter > 'C'; --letter) {
        if (!(used & (1u << (letter - 'A'))))
            return QString(QLatin1Char(letter));
    }
    throw std::runtime_error("all drive letters are taken");
}

const wchar_t *wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}

/// Where Wine looks for the folders of servers.
QString foldersOfServers()
{
    const QByteArray driveC = QDir::fromNativeSeparators(QFile::decodeName(serversPathOf("C:/"))).toUtf8();
    return localPathOf(driveC.left(driveC.indexOf("/c:"))) + QLatin1String("/unc");
}

} // namespace

DriveWithoutMedium::DriveWithoutMedium() : m_letter(unusedDriveLetter())
{
    const QString nowhere = QDir::toNativeSeparators(QDir::temp().filePath(QLatin1String("no-such-medium")));
    const QString device = m_letter + QLatin1Char(':');
    if (!::DefineDosDeviceW(0, wide(device), wide(nowhere)))
        throw std::runtime_error("no drive letter can be defined");
}

DriveWithoutMedium::~DriveWithoutMedium()
{
    const QString device = m_letter + QLatin1Char(':');
    ::DefineDosDeviceW(DDD_REMOVE_DEFINITION, wide(device), nullptr);
}

Share::Share() : m_server(QLatin1String("quor-") + QString::number(::GetCurrentProcessId()))
{
    if (!QDir().mkpath(foldersOfServers() + QLatin1Char('/') + m_server + QLatin1String("/share")))
        throw std::runtime_error("no share can be made");
}

Share::~Share()
{
    QDir(foldersOfServers() + QLatin1Char('/') + m_server).removeRecursively();
    QDir().rmdir(foldersOfServers());
}

QString Share::path() const
{
    return QLatin1String("//") + m_server + QLatin1String("/share");
}
