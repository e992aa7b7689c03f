#include "dialog/NaturalCompare.h"

#include <gtest/gtest.h>

namespace {

int compare(const char *first, const char *second, Qt::CaseSensitivity caseSensitivity = Qt::CaseInsensitive)
{
    return naturalCompare(QString::fromUtf8(first), QString::fromUtf8(second), caseSensitivity);
}

void expectBefore(const char *first, const char *second)
{
    EXPECT_GT(0, compare(first, second)) << first << " | " << second;
    EXPECT_LT(0, compare(second, first)) << first << " | " << second;
}

TEST(NaturalCompare, NumbersCountByTheirValue)
{
    expectBefore("file2", "file10");
    expectBefore("img2.png", "img10.png");
    expectBefore("img9", "img10");
    expectBefore("a19b", "a20a");
    expectBefore("1", "12");
    expectBefore("99999999999999999999999998", "99999999999999999999999999");
}

TEST(NaturalCompare, LeadingZerosDoNotCountUntilNothingElseDiffers)
{
    expectBefore("file002", "file10");
    expectBefore("file2", "file0010");
    expectBefore("a02", "a2");
    expectBefore("0", "1");
    expectBefore("00", "01");
}

TEST(NaturalCompare, WhiteSpaceDoesNotCountUntilNothingElseDiffers)
{
    expectBefore("a b", "ac");
    expectBefore("ab", "a c");
    expectBefore("a b", "ab");
    expectBefore(" a\t2", "a10");
}

TEST(NaturalCompare, CaseDoesNotCountUnlessAskedFor)
{
    EXPECT_EQ(0, compare("Beta", "beta"));
    EXPECT_EQ(0, compare("\xc3\x9c", "\xc3\xbc"));
    expectBefore("alpha", "Beta");
    expectBefore("Alpha", "beta");
    EXPECT_NE(0, compare("Beta", "beta", Qt::CaseSensitive));
}

TEST(NaturalCompare, ABeginningComesBeforeTheWholeName)
{
    expectBefore("", "a");
    expectBefore("a", "ab");
    expectBefore("", "0");
    expectBefore("", " ");
}

TEST(NaturalCompare, ANameIsEqualToItself)
{
    for (const char *name : {"", " ", "0", "000", "a", "a1b02 c", "\t", "\xe6\xb1\x89\xc3\xbc", "a 0"})
        EXPECT_EQ(0, compare(name, name)) << name;
}

TEST(NaturalCompare, TurnsRoundWithItsNames)
{
    const char *const names[] = {"",   " ",  "0",   "00", "01",  "1", "10", "2",        "a",   "A",    "a b",
                                 "ab", "a0", "a 0", "a1", "a01", "b", "-",  "\xc3\xbc", "a.b", "a10b", "a2b"};
    for (const char *first : names) {
        for (const char *second : names)
            EXPECT_EQ(compare(first, second) < 0, compare(second, first) > 0) << first << " | " << second;
    }
}

} // namespace
