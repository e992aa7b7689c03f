#include "platform/UserFolders.h"

#include <QtCore/QDir>

#include <windows.h>

#include <shlobj.h>

namespace {

QString folder(int identifier)
{
    wchar_t path[MAX_PATH] = L"";
    // Unverified: who wants to know whether it exists has to look anyway, and looking at a share may take its time.
    if (SHGetFolderPathW(nullptr, identifier | CSIDL_FLAG_DONT_VERIFY, nullptr, SHGFP_TYPE_CURRENT, path) != S_OK)
        return QString();
    return QDir::cleanPath(QDir::fromNativeSeparators(QString::fromWCharArray(path)));
}

} // namespace

QString platform::desktopFolder()
{
    return folder(CSIDL_DESKTOPDIRECTORY);
}

QString platform::documentsFolder()
{
    return folder(CSIDL_PERSONAL);
}
