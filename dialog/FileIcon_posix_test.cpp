#include "dialog/FileIcon.h"

#include "testing/IconTheme.h"

#include <QtGui/QPixmapCache>

namespace {

QColor colourOf(const char *fileName)
{
    return IconTheme::colourOf(iconForFileName(QString::fromUtf8(fileName)).pixmap(16));
}

TEST(FileIconOfATheme, IsFoundOnceAndKept)
{
    QPixmapCache::clear();
    {
        const IconTheme theme;
        EXPECT_EQ(QColor(Qt::red), colourOf("a.txt"));
        EXPECT_EQ(QColor(Qt::blue), colourOf("b.PNG"));
    }
    EXPECT_EQ(QColor(Qt::red), colourOf("c.TXT"));
    EXPECT_EQ(QColor(Qt::blue), colourOf("d.png"));
    QPixmap kept;
    EXPECT_TRUE(QPixmapCache::find(QLatin1String("qt_.TXT"), &kept));
    EXPECT_TRUE(QPixmapCache::find(QLatin1String("qt_.PNG"), &kept));
    QPixmapCache::clear();
}

TEST(FileIconOfATheme, EndingsWithoutOneAreNotKeptAsIconsAndFoundOnceTheCacheIsCleared)
{
    QPixmapCache::clear();
    QPixmap kept;
    for (const char *name : {"a.nosuchending", "b.\xe2\x80\xae", "c.\n", "d.a/b"}) {
        const QString text = QString::fromUtf8(name);
        EXPECT_TRUE(iconForFileName(text).isNull()) << name;
        EXPECT_FALSE(QPixmapCache::find(QLatin1String("qt_") + text.mid(1).toUpper(), &kept));
    }
    QPixmapCache::insert(QLatin1String("none_qt_.TXT"), QPixmap(1, 1));
    const IconTheme theme;
    EXPECT_FALSE(colourOf("a.txt").isValid());
    QPixmapCache::clear();
    EXPECT_EQ(QColor(Qt::red), colourOf("a.txt"));
    QPixmapCache::clear();
}

} // namespace
