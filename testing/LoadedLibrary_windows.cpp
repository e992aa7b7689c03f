#include "testing/LoadedLibrary.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <gtest/gtest.h>

#include <windows.h>

namespace {

HMODULE moduleOf(const QString &fileName)
{
    const QString nativeName = QDir::toNativeSeparators(QFileInfo(fileName).absoluteFilePath());
    return ::GetModuleHandleW(reinterpret_cast<const wchar_t *>(nativeName.utf16()));
}

} // namespace

bool isLibraryLoaded(const QString &fileName)
{
    return moduleOf(fileName) != nullptr;
}

// From the table of the library's own image, as the system has loaded it.
QSet<QString> exportedSymbols(const QString &fileName)
{
    QSet<QString> symbols;
    const char *const image = reinterpret_cast<const char *>(moduleOf(fileName));
    EXPECT_TRUE(image);
    if (!image)
        return symbols;
    const IMAGE_DOS_HEADER *const start = reinterpret_cast<const IMAGE_DOS_HEADER *>(image);
    const IMAGE_NT_HEADERS *const headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(image + start->e_lfanew);
    const DWORD position = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress;
    const IMAGE_EXPORT_DIRECTORY *const table = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY *>(image + position);
    const DWORD *const names = reinterpret_cast<const DWORD *>(image + table->AddressOfNames);
    for (DWORD i = 0; position != 0 && i < table->NumberOfNames; ++i)
        symbols.insert(QString::fromLatin1(image + names[i]));
    return symbols;
}
