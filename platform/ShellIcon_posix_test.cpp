#include "platform/ShellIcon.h"

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtGui/QIcon>

namespace {

/// A desktop whose icon theme has pictures for a few types of files.
class ShellIcon : public ::testing::Test
{
protected:
    ShellIcon() : outerPaths(QIcon::themeSearchPaths()), outerTheme(QIcon::themeName())
    {
        const QString theme = directory.path() + QLatin1String("/quor-test");
        EXPECT_TRUE(QDir().mkpath(theme + QLatin1String("/16x16/mimetypes")));
        QFile index(theme + QLatin1String("/index.theme"));
        EXPECT_TRUE(index.open(QIODevice::WriteOnly));
        index.write("[Icon Theme]\nName=quor-test\nDirectories=16x16/mimetypes\n"
                    "[16x16/mimetypes]\nSize=16\nContext=MimeTypes\nType=Fixed\n");
        index.close();
        save(theme, "text-plain", Qt::red);
        save(theme, "image-x-generic", Qt::blue);
        QIcon::setThemeSearchPaths(QStringList(directory.path()));
        QIcon::setThemeName(QLatin1String("quor-test"));
    }
    ~ShellIcon() override
    {
        QIcon::setThemeSearchPaths(outerPaths);
        QIcon::setThemeName(outerTheme);
    }

    static QColor colourOf(const char *fileName)
    {
        const QPixmap pixmap = platform::shellIcon(QString::fromUtf8(fileName));
        return pixmap.isNull() ? QColor() : pixmap.toImage().pixelColor(8, 8);
    }

    QTemporaryDir directory;

private:
    static void save(const QString &theme, const char *name, Qt::GlobalColor colour)
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(colour);
        EXPECT_TRUE(
            pixmap.save(theme + QLatin1String("/16x16/mimetypes/") + QLatin1String(name) + QLatin1String(".png")));
    }

    const QStringList outerPaths;
    const QString outerTheme;
};

TEST_F(ShellIcon, IsThatOfTheEndingsType)
{
    EXPECT_EQ(QColor(Qt::red), colourOf("qt_.TXT"));
    EXPECT_EQ(QColor(Qt::red), colourOf("a.txt"));
    EXPECT_EQ(QSize(16, 16), platform::shellIcon(QLatin1String("qt_.TXT")).size());
}

TEST_F(ShellIcon, IsThatOfTheFamilyOfTypesWhenTheTypeHasNone)
{
    EXPECT_EQ(QColor(Qt::blue), colourOf("qt_.PNG"));
    EXPECT_EQ(QColor(Qt::blue), colourOf("qt_.JPEG"));
}

TEST_F(ShellIcon, IsNullForUnknownTypesAndForThoseWithoutAPicture)
{
    for (const char *name : {"qt_.NOSUCHENDING", "qt_.ZIP", "qt_.", "qt_", "", "\n", "qt_.A/B"})
        EXPECT_FALSE(colourOf(name).isValid()) << name;
}

} // namespace
