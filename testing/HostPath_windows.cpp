#include "testing/HostPath.h"

#include <QtCore/QDir>

#include <windows.h>

#include <stdexcept>

// Wine shows the whole file system of the machine as the drive Z:.
QString localPathOf(const QByteArray &path)
{
    return QLatin1String("Z:") + QString::fromUtf8(path);
}

QByteArray serversPathOf(const QString &path)
{
    typedef char *(CDECL * UnixFileName)(const wchar_t *);
    const UnixFileName unixFileName = reinterpret_cast<UnixFileName>(
        reinterpret_cast<void *>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    if (!unixFileName)
        throw std::runtime_error("only on Wine the servers see the files of this process");
    const QString nativePath = QDir::toNativeSeparators(path);
    char *const name = unixFileName(reinterpret_cast<const wchar_t *>(nativePath.utf16()));
    if (!name)
        throw std::runtime_error("the servers see no file " + path.toStdString());
    const QByteArray found(name);
    ::HeapFree(::GetProcessHeap(), 0, name);
    return found;
}
