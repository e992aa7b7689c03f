#include "host/marrowby/ModeChange.h"

#include "host/marrowby/FileMode.h"

#include <gtest/gtest.h>

namespace {

/// The mode that a file of mode `mode` has after `chmod text`, in octal; "refused" when there is no such text.
std::string after(const char *text, quint32 mode, bool isDirectory = false)
{
    ModeChange change;
    if (!ModeChange::parse(text, &change))
        return "refused";
    return modeOctal(change.appliedTo(mode, isDirectory)).toStdString();
}

const bool kDirectory = true;

} // namespace

TEST(ModeChange, AnOctalModeReplacesEverything)
{
    EXPECT_EQ(after("644", 01777), "644");
    EXPECT_EQ(after("0755", 0), "755");
    EXPECT_EQ(after("1777", 0644), "1777");
    EXPECT_EQ(after("000", 0777), "0");
    EXPECT_EQ(after("+644", 0777), "644");
    EXPECT_EQ(after(" 755 ", 0), "755");
}

TEST(ModeChange, AnOctalModeHasThreeDigitsBehindAnOptionalStickyBit)
{
    for (const char *text : {"7", "07", "99", "648", "4755", "2755", "00644", "77777", "-644", "=644", "644,u+x"})
        EXPECT_EQ(after(text, 0644), "refused") << text;
}

TEST(ModeChange, ASymbolicClauseChangesTheNamedClasses)
{
    EXPECT_EQ(after("u+x", 0644), "744");
    EXPECT_EQ(after("go-r", 0644), "600");
    EXPECT_EQ(after("a+w", 0444), "666");
    EXPECT_EQ(after("g=rw", 0755), "765");
    EXPECT_EQ(after("uu+x", 0644), "744");
}

TEST(ModeChange, AClauseWithoutAClassMeansEverybodyWhateverTheUmask)
{
    EXPECT_EQ(after("+w", 0444), "666");
    EXPECT_EQ(after("+x", 0764), "775");
    EXPECT_EQ(after("-rx", 0755), "200");
    EXPECT_EQ(after("=r", 0775), "444");
}

TEST(ModeChange, SeveralClausesAreSeparatedByCommas)
{
    EXPECT_EQ(after("a+rw,o-w", 0744), "764");
    EXPECT_EQ(after("u=x,g=w", 0755), "125");
    EXPECT_EQ(after("u+x, g+w", 0455), "575");
    EXPECT_EQ(after("u+x,,", 0644), "744");
}

TEST(ModeChange, TheLastClauseForAClassCounts)
{
    EXPECT_EQ(after("u-w,g+rw,+x", 0775), "775");
    EXPECT_EQ(after("a=rw,u+x", 0575), "566");
}

TEST(ModeChange, TheLastOperatorOfAClauseCounts)
{
    EXPECT_EQ(after("u++x", 0644), "744");
    EXPECT_EQ(after("u+-x", 0755), "655");
}

TEST(ModeChange, CapitalXExecutesOnlyWhatIsExecutableAlreadyOrADirectory)
{
    EXPECT_EQ(after("a+X", 0644), "644");
    EXPECT_EQ(after("a+X", 0744), "755");
    EXPECT_EQ(after("u+X", 0644, kDirectory), "744");
    EXPECT_EQ(after("g=rX", 0755), "755");
    EXPECT_EQ(after("=X", 0644), "0");
}

TEST(ModeChange, TheStickyBitGoesWithOthersAndWithEverybody)
{
    EXPECT_EQ(after("+t", 0777), "1777");
    EXPECT_EQ(after("a+t", 0777), "1777");
    EXPECT_EQ(after("o+t", 0777), "1777");
    EXPECT_EQ(after("u+t", 0755), "755");
    EXPECT_EQ(after("ug-t", 01777), "1777");
    EXPECT_EQ(after("o-t", 01777), "777");
    EXPECT_EQ(after("=t", 0755), "1000");
    EXPECT_EQ(after("o=rt", 0775), "1774");
}

TEST(ModeChange, TheStickyBitStaysUnlessOthersAreSetAnew)
{
    EXPECT_EQ(after("u=x", 01777), "1177");
    EXPECT_EQ(after("o-x", 01777), "1776");
    EXPECT_EQ(after("+w", 01755), "1777");
    EXPECT_EQ(after("o=x", 01777), "771");
    EXPECT_EQ(after("a=rwx", 01776), "777");
}

TEST(ModeChange, TheAclMarkIsNoModeBit)
{
    EXPECT_EQ(after("u+x", 010644), "744");
}

TEST(ModeChange, WhatIsNoModeIsRefused)
{
    for (const char *text :
         {"", "abc", "u", "+", "u+", "o=", "u+s", "u=g", "ug+o", "u+rwx-w", "x+u", ",u+x", "u+x g+x", "u+x;g+x", "8"})
        EXPECT_EQ(after(text, 0644), "refused") << text;
}

TEST(ModeChange, ARefusedModeLeavesTheChangeAsItWas)
{
    ModeChange change;
    ASSERT_TRUE(ModeChange::parse("u+x", &change));
    EXPECT_FALSE(ModeChange::parse("u+s", &change));
    EXPECT_EQ(change.appliedTo(0644, false), 0744u);
}

TEST(FileMode, ModesAreWrittenTheWayListingsShowThem)
{
    EXPECT_EQ(modeText(0755), "rwxr-xr-x");
    EXPECT_EQ(modeText(0), "---------");
    EXPECT_EQ(modeText(01777), "rwxrwxrwt");
    EXPECT_EQ(modeText(01754), "rwxr-xr-T");
    EXPECT_EQ(modeText(010640), "rw-r-----");
}
