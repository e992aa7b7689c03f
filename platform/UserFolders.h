#ifndef PLATFORM_USERFOLDERS_H
#define PLATFORM_USERFOLDERS_H

#include <QtCore/QString>

namespace platform {

/// The folders of the user that the system's own dialogs offer, absolute and written with "/". Windows says where they
/// are, which may be anywhere, a share too; elsewhere they have these names in the home folder. Empty when the system
/// knows none; one that is named need not exist, and none is made.
QString desktopFolder();
QString documentsFolder();

} // namespace platform

#endif
