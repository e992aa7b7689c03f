#include "dialog/FileIcon.h"

#include "platform/ShellIcon.h"

#include <gtest/gtest.h>

#include <QtGui/QPixmapCache>

namespace {

class FileIcon : public ::testing::Test
{
protected:
    FileIcon() { QPixmapCache::clear(); }
    ~FileIcon() override { QPixmapCache::clear(); }

    static QPixmap keep(const char *key, Qt::GlobalColor colour)
    {
        QPixmap pixmap(16, 16);
        pixmap.fill(colour);
        EXPECT_TRUE(QPixmapCache::insert(QLatin1String(key), pixmap));
        return pixmap;
    }
    static QImage picture(const QIcon &icon) { return icon.pixmap(16, QIcon::Normal, QIcon::Off).toImage(); }
};

TEST_F(FileIcon, WithoutADotThereIsNone)
{
    keep("qt_", Qt::red);
    keep("qt_README", Qt::red);
    EXPECT_TRUE(iconForFileName(QLatin1String("README")).isNull());
    EXPECT_TRUE(iconForFileName(QString()).isNull());
}

TEST_F(FileIcon, IsKeptUnderTheEndingInUpperCase)
{
    const QPixmap red = keep("qt_.TXT", Qt::red);
    const QPixmap blue = keep("qt_.GZ", Qt::blue);
    const QPixmap green = keep("qt_.", Qt::green);
    for (const char *name : {"x.txt", "X.TXT", ".txt", "a.b.Txt"})
        EXPECT_EQ(red.toImage(), picture(iconForFileName(QLatin1String(name)))) << name;
    EXPECT_EQ(blue.toImage(), picture(iconForFileName(QLatin1String("archive.tar.gz"))));
    EXPECT_EQ(green.toImage(), picture(iconForFileName(QLatin1String("a."))));
}

TEST_F(FileIcon, ThatAnEndingHasNoneIsKeptAsLong)
{
    keep("none_qt_.TXT", Qt::red);
    EXPECT_TRUE(iconForFileName(QLatin1String("x.txt")).isNull());
    QPixmapCache::clear();
    EXPECT_EQ(platform::shellIcon(QLatin1String("qt_.TXT")).isNull(), iconForFileName(QLatin1String("x.txt")).isNull());
}

TEST_F(FileIcon, WhatTheShellHasOrHasNotIsKept)
{
    const QPixmap shell = platform::shellIcon(QLatin1String("qt_.TXT"));
    const QIcon icon = iconForFileName(QLatin1String("x.txt"));
    EXPECT_EQ(shell.isNull(), icon.isNull());
    QPixmap kept;
    EXPECT_EQ(!shell.isNull(), QPixmapCache::find(QLatin1String("qt_.TXT"), &kept));
    EXPECT_EQ(shell.isNull(), QPixmapCache::find(QLatin1String("none_qt_.TXT"), &kept) && kept.width() == 1);
    kept = QPixmap();
    QPixmapCache::find(QLatin1String("qt_.TXT"), &kept);
    EXPECT_EQ(shell.toImage(), kept.toImage());
    EXPECT_EQ(shell.toImage(), picture(icon));
}

} // namespace
