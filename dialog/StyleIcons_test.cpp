#include "dialog/StyleIcons.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QProxyStyle>

namespace {

/// Counts how often it is asked, and has an icon of one colour.
class CountingStyle : public QProxyStyle
{
public:
    explicit CountingStyle(Qt::GlobalColor colour) : colour(colour) {}
    QIcon standardIcon(StandardPixmap, const QStyleOption *, const QWidget *) const override
    {
        ++requests;
        QPixmap pixmap(16, 16);
        pixmap.fill(colour);
        return QIcon(pixmap);
    }
    const Qt::GlobalColor colour;
    mutable int requests = 0;
};

QColor colourOf(const QIcon &icon)
{
    return icon.pixmap(16).toImage().pixelColor(8, 8);
}

TEST(StyleIcons, EachIsMadeOnceUntilTheyAreForgottenOrTheStyleChanges)
{
    const QString outer = QApplication::style()->objectName();
    CountingStyle *red = new CountingStyle(Qt::red);
    QApplication::setStyle(red);
    const int before = red->requests;
    StyleIcons icons;
    EXPECT_EQ(QColor(Qt::red), colourOf(icons.icon(QStyle::SP_DirIcon)));
    EXPECT_EQ(QColor(Qt::red), colourOf(icons.icon(QStyle::SP_DirIcon)));
    EXPECT_EQ(before + 1, red->requests);
    icons.icon(QStyle::SP_FileIcon);
    EXPECT_EQ(before + 2, red->requests);
    icons.forget();
    icons.icon(QStyle::SP_DirIcon);
    EXPECT_EQ(before + 3, red->requests);
    QApplication::setStyle(new CountingStyle(Qt::blue));
    EXPECT_EQ(QColor(Qt::blue), colourOf(icons.icon(QStyle::SP_DirIcon)));
    QApplication::setStyle(outer);
}

} // namespace
