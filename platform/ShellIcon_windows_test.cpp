#include "platform/ShellIcon.h"

#include <gtest/gtest.h>

#include <QtGui/QImage>

#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

namespace {

/// What the shell has given and nobody has given back.
std::set<HICON> icons;
enum { Answers, HasNoIcon, Fails } shell = Answers;

} // namespace

// What the linker puts in the place of the system's functions, and what it calls these then.
extern "C" {

extern decltype(&::SHGetFileInfoW) __real___imp_SHGetFileInfoW;
extern decltype(&::DestroyIcon) __real___imp_DestroyIcon;

static DWORD_PTR WINAPI wrapped_SHGetFileInfoW(const wchar_t *name, DWORD attributes, SHFILEINFOW *info, UINT size,
                                               UINT flags)
{
    EXPECT_EQ(0x4171u, flags);
    EXPECT_EQ(0u, attributes);
    const DWORD_PTR result = __real___imp_SHGetFileInfoW(name, attributes, info, size, flags);
    if (shell == Answers) {
        if (result && info->hIcon)
            icons.insert(info->hIcon);
        return result;
    }
    if (result && info->hIcon)
        __real___imp_DestroyIcon(info->hIcon);
    // After a failure there is anything in it.
    info->hIcon = shell == HasNoIcon ? nullptr : reinterpret_cast<HICON>(1);
    return shell == HasNoIcon ? 1 : 0;
}

static BOOL WINAPI wrapped_DestroyIcon(HICON icon)
{
    EXPECT_EQ(1u, icons.erase(icon)) << "not one of the shell's, or no more";
    return __real___imp_DestroyIcon(icon);
}

extern decltype(&::SHGetFileInfoW) __wrap___imp_SHGetFileInfoW;
extern decltype(&::DestroyIcon) __wrap___imp_DestroyIcon;
decltype(&::SHGetFileInfoW) __wrap___imp_SHGetFileInfoW = wrapped_SHGetFileInfoW;
decltype(&::DestroyIcon) __wrap___imp_DestroyIcon = wrapped_DestroyIcon;

} // extern "C"

namespace {

int visiblePixels(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    int visible = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            visible += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
    }
    return visible;
}

/// The highest numbers that many new objects of this process get. Those of deleted objects come first, so that the
/// highest one grows with what is left behind. (Wine's GetGuiResources and GetProcessHandleCount count nothing.)
struct HighestNumbers {
    HighestNumbers()
    {
        std::vector<HBITMAP> bitmaps;
        std::vector<HANDLE> events;
        for (int i = 0; i < 2000; ++i) {
            bitmaps.push_back(::CreateBitmap(1, 1, 1, 1, nullptr));
            events.push_back(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
            bitmap = (std::max)(bitmap, number(bitmaps.back()));
            event = (std::max)(event, number(events.back()) / 4);
        }
        for (const HBITMAP each : bitmaps)
            ::DeleteObject(each);
        for (const HANDLE each : events)
            ::CloseHandle(each);
    }

    /// Without what tells it from the object that had the number before.
    static int number(void *object) { return LOWORD(reinterpret_cast<std::uintptr_t>(object)); }

    int bitmap = 0; ///< of what is drawn with; an icon is made of two
    int event = 0;  ///< of the kernel's
};

TEST(WindowsShellIcon, IsASmallPictureWithSomethingInIt)
{
    const QPixmap icon = platform::shellIcon(QLatin1String("qt_.TXT"));
    EXPECT_EQ(QSize(16, 16), icon.size());
    EXPECT_LT(0, visiblePixels(icon));
}

TEST(WindowsShellIcon, IsWhatTheSystemGivesForAnyName)
{
    const QString names[] = {QLatin1String("qt_.NOSUCHENDING"),
                             QLatin1String("qt_."),
                             QLatin1String("qt_"),
                             QString(),
                             QLatin1String("."),
                             QLatin1String("qt_.\n"),
                             QLatin1String("qt_.\"<>|?*"),
                             QLatin1String("qt_.A\\B/C:D"),
                             QString::fromUtf8("qt_.\xC3\x84\xE8\xA8\x88\xF0\x9F\x98\x80"),
                             QLatin1String("qt_.") + QChar(0xD800),
                             QLatin1String("qt_.") + QChar(0) + QLatin1Char('A'),
                             QLatin1String("qt_.") + QString(300, QLatin1Char('A')),
                             QLatin1String("qt_.") + QString(100000, QLatin1Char('A'))};
    for (const QString &name : names) {
        const QPixmap icon = platform::shellIcon(name);
        // No picture is an answer, an empty one is none.
        EXPECT_EQ(icon.isNull(), visiblePixels(icon) == 0) << name.left(20).toStdString();
    }
}

TEST(WindowsShellIcon, IsNullWhenTheShellHasNone)
{
    for (const auto state : {HasNoIcon, Fails}) {
        shell = state;
        EXPECT_TRUE(platform::shellIcon(QLatin1String("qt_.TXT")).isNull());
        shell = Answers;
        EXPECT_FALSE(platform::shellIcon(QLatin1String("qt_.TXT")).isNull());
    }
}

TEST(WindowsShellIcon, LeavesNothingBehind)
{
    const QString names[] = {QLatin1String("qt_.TXT"), QLatin1String("qt_.NOSUCHENDING")};
    // The first one loads what the shell keeps.
    for (const QString &name : names)
        platform::shellIcon(name);
    const HighestNumbers before;
    EXPECT_TRUE(icons.empty());
    for (int i = 0; i < 200; ++i) {
        for (const QString &name : names)
            platform::shellIcon(name);
    }
    const HighestNumbers after;
    EXPECT_TRUE(icons.empty());
    // One of each call would be 400.
    EXPECT_LT(after.bitmap, before.bitmap + 100);
    EXPECT_LT(after.event, before.event + 100);
}

} // namespace
