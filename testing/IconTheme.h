// A desktop whose icon theme has pictures for two types of files: red ones for text/plain, blue ones for all images
// that have none of their own.
#ifndef TESTING_ICONTHEME_H
#define TESTING_ICONTHEME_H

#include <gtest/gtest.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtGui/QIcon>
#include <QtGui/QPixmap>

/// Is the application's theme while it lives.
class IconTheme
{
public:
    IconTheme() : m_outerPaths(QIcon::themeSearchPaths()), m_outerName(QIcon::themeName())
    {
        EXPECT_TRUE(QDir().mkpath(path("/16x16/mimetypes")));
        QFile index(path("/index.theme"));
        EXPECT_TRUE(index.open(QIODevice::WriteOnly));
        index.write("[Icon Theme]\nName=quor-test\nDirectories=16x16/mimetypes\n"
                    "[16x16/mimetypes]\nSize=16\nContext=MimeTypes\nType=Fixed\n");
        index.close();
        save("/16x16/mimetypes/text-plain.png", Qt::red);
        save("/16x16/mimetypes/image-x-generic.png", Qt::blue);
        QIcon::setThemeSearchPaths(QStringList(m_directory.path()));
        QIcon::setThemeName(QLatin1String("quor-test"));
    }
    ~IconTheme()
    {
        QIcon::setThemeSearchPaths(m_outerPaths);
        QIcon::setThemeName(m_outerName);
    }
    IconTheme(const IconTheme &) = delete;
    IconTheme &operator=(const IconTheme &) = delete;

    /// The colour in the middle of a picture of 16 x 16 pixels; invalid for a null one.
    static QColor colourOf(const QPixmap &pixmap)
    {
        return pixmap.isNull() ? QColor() : pixmap.toImage().pixelColor(8, 8);
    }

private:
    QString path(const char *file) const
    {
        return m_directory.path() + QLatin1String("/quor-test") + QLatin1String(file);
    }
    void save(const char *file, Qt::GlobalColor colour) const
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(colour);
        EXPECT_TRUE(pixmap.save(path(file)));
    }

    const QTemporaryDir m_directory;
    const QStringList m_outerPaths;
    const QString m_outerName;
};

#endif
