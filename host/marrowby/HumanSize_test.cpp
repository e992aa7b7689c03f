#include "host/marrowby/HumanSize.h"

#include <gtest/gtest.h>

TEST(HumanSize, BytesBelowOneKibibyteStandAlone)
{
    EXPECT_EQ(humanSize(0), "0");
    EXPECT_EQ(humanSize(1023), "1023");
}

TEST(HumanSize, WholeUnitsHaveNoDecimal)
{
    EXPECT_EQ(humanSize(1024), "1 K");
    EXPECT_EQ(humanSize(10240), "10 K");
    EXPECT_EQ(humanSize(1048576), "1 M");
}

TEST(HumanSize, OtherSizesHaveOneRoundedDecimal)
{
    EXPECT_EQ(humanSize(1025), "1.0 K");
    EXPECT_EQ(humanSize(1996), "1.9 K");
    EXPECT_EQ(humanSize(1997), "2.0 K");
    EXPECT_EQ(humanSize(102399), "100.0 K");
    EXPECT_EQ(humanSize(2500000), "2.4 M");
}

TEST(HumanSize, HalfATenthIsRoundedUp)
{
    EXPECT_EQ(humanSize(1024 + 256), "1.3 K");
}

TEST(HumanSize, WhatWouldRoundUpToAWholeNextUnitIsShownInThatUnit)
{
    EXPECT_EQ(humanSize(1048524), "1023.9 K");
    EXPECT_EQ(humanSize(1048525), "1.0 M");
    EXPECT_EQ(humanSize(1048575), "1.0 M");
}

TEST(HumanSize, TheLargestSizesStayInTheLargestUnit)
{
    EXPECT_EQ(humanSize(Q_UINT64_C(1) << 60), "1 E");
    EXPECT_EQ(humanSize(Q_UINT64_C(0xFFFFFFFFFFFFFFFF)), "16.0 E");
}
