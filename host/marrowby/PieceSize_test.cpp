#include "host/marrowby/PieceSize.h"

#include <gtest/gtest.h>

TEST(PieceSize, FastReadsMakePiecesLargerUpToALimit)
{
    PieceSize size;
    const quint32 first = size.bytes();
    size.took(5);
    EXPECT_EQ(size.bytes(), 2 * first);
    for (int i = 0; i < 20; ++i)
        size.took(5);
    EXPECT_EQ(size.bytes(), +PieceSize::kLargest);
}

TEST(PieceSize, SlowReadsMakePiecesSmallerDownToALimit)
{
    PieceSize size;
    const quint32 first = size.bytes();
    size.took(900);
    EXPECT_EQ(size.bytes(), first / 2);
    for (int i = 0; i < 20; ++i)
        size.took(900);
    EXPECT_EQ(size.bytes(), +PieceSize::kSmallest);
}

TEST(PieceSize, ReadsThatTakeTheirTimeKeepThem)
{
    PieceSize size;
    const quint32 first = size.bytes();
    size.took(200);
    EXPECT_EQ(size.bytes(), first);
}
