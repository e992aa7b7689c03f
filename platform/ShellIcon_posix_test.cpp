#include "platform/ShellIcon.h"

#include "testing/IconTheme.h"

namespace {

QColor colourOf(const char *fileName)
{
    return IconTheme::colourOf(platform::shellIcon(QString::fromUtf8(fileName)));
}

TEST(ShellIcon, IsThatOfTheEndingsType)
{
    const IconTheme theme;
    EXPECT_EQ(QColor(Qt::red), colourOf("qt_.TXT"));
    EXPECT_EQ(QColor(Qt::red), colourOf("a.txt"));
    EXPECT_EQ(QSize(16, 16), platform::shellIcon(QLatin1String("qt_.TXT")).size());
}

TEST(ShellIcon, IsThatOfTheFamilyOfTypesWhenTheTypeHasNone)
{
    const IconTheme theme;
    EXPECT_EQ(QColor(Qt::blue), colourOf("qt_.PNG"));
    EXPECT_EQ(QColor(Qt::blue), colourOf("qt_.JPEG"));
}

TEST(ShellIcon, IsNullForUnknownTypesAndForThoseWithoutAPicture)
{
    const IconTheme theme;
    for (const char *name : {"qt_.NOSUCHENDING", "qt_.ZIP", "qt_.", "qt_", "", "\n", "qt_.A/B"})
        EXPECT_FALSE(colourOf(name).isValid()) << name;
}

} // namespace
