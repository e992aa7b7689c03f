#include "dialog/SizeText.h"

#include <QtCore/QLocale>

#include <gtest/gtest.h>

#include <limits>

namespace {

class SizeText : public ::testing::Test
{
protected:
    SizeText() : outer() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }
    ~SizeText() override { QLocale::setDefault(outer); }

    static std::string of(qint64 bytes) { return formatSize(bytes).toStdString(); }

    const QLocale outer;
};

TEST_F(SizeText, UsesTheLargestUnitThatIsFilled)
{
    EXPECT_EQ("0 bytes", of(0));
    EXPECT_EQ("1,023 bytes", of(1023));
    EXPECT_EQ("1 KB", of(1024));
    EXPECT_EQ("1,023 KB", of(1048575));
    EXPECT_EQ("1.0 MB", of(1048576));
    EXPECT_EQ("1.5 MB", of(1572864));
    EXPECT_EQ("1,024.0 MB", of(1073741823));
    EXPECT_EQ("1.00 GB", of(1073741824));
    EXPECT_EQ("1,024.00 GB", of(1099511627775));
    EXPECT_EQ("1.000 TB", of(1099511627776));
    EXPECT_EQ("8,388,608.000 TB", of(std::numeric_limits<qint64>::max()));
}

TEST_F(SizeText, CutsKilobytes)
{
    EXPECT_EQ("1 KB", of(1536));
    EXPECT_EQ("1 KB", of(2047));
    EXPECT_EQ("2 KB", of(2048));
}

TEST_F(SizeText, ShowsNegativeNumbersAsBytes)
{
    EXPECT_EQ("-1 bytes", of(-1));
    EXPECT_EQ("-9,223,372,036,854,775,808 bytes", of(std::numeric_limits<qint64>::min()));
}

TEST_F(SizeText, FollowsTheDefaultLocale)
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ("1.023 bytes", of(1023));
    EXPECT_EQ("1,5 MB", of(1572864));
}

} // namespace
