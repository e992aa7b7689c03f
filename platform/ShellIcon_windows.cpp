#include "platform/ShellIcon.h"

#include "platform/QtCompat.h"

#include <windows.h>

#include <objbase.h>
#include <shellapi.h>

// QtGui has it, its headers have not.
Q_DECL_IMPORT QPixmap qt_pixmapFromWinHICON(HICON icon);

namespace {

/// The shell needs COM on the calling thread. Whether somebody has started it before us makes no difference.
void startComOnce()
{
    static const HRESULT started = CoInitialize(NULL);
    Q_UNUSED(started);
}

} // namespace

namespace platform {

QPixmap shellIcon(const QString &fileName)
{
    startComOnce();
    SHFILEINFOW info;
    ZeroMemory(&info, sizeof info);
    const UINT flags = SHGFI_ICON | SHGFI_SYSICONINDEX | SHGFI_USEFILEATTRIBUTES | SHGFI_SMALLICON | SHGFI_ADDOVERLAYS |
                       SHGFI_OVERLAYINDEX;
    static_assert((SHGFI_ICON | SHGFI_SYSICONINDEX | SHGFI_USEFILEATTRIBUTES | SHGFI_SMALLICON | SHGFI_ADDOVERLAYS |
                   SHGFI_OVERLAYINDEX) == 0x4171,
                  "flags");
    if (!SHGetFileInfoW(reinterpret_cast<const wchar_t *>(fileName.utf16()), 0, &info, sizeof info, flags) ||
        !info.hIcon)
        return QPixmap();
    const QPixmap pixmap = QUOR_PIXMAP_FROM_WIN_HICON(info.hIcon);
    DestroyIcon(info.hIcon);
    return pixmap;
}

} // namespace platform
