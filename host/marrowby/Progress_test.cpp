#include "host/marrowby/Progress.h"

#include <gtest/gtest.h>

namespace {

const quint64 kMebibyte = 1024 * 1024;

TransferState halfWay()
{
    TransferState state;
    state.name = QLatin1String("several-blocks.bin");
    state.done = 5 * kMebibyte;
    state.total = 10 * kMebibyte;
    state.bytesPerSecond = 512 * 1024;
    return state;
}

std::string line(const TransferState &state, int width)
{
    return progressLine(state, width).toStdString();
}

} // namespace

TEST(Progress, ALineSaysHowFarHowFastAndHowLong)
{
    EXPECT_EQ(line(halfWay(), 80), "several-blocks.bin   50%  5 M of 10 M  512 K/s  0:10 left");
}

TEST(Progress, WithoutARateThereIsNoTimeLeft)
{
    TransferState state = halfWay();
    state.bytesPerSecond = 0;
    EXPECT_EQ(line(state, 80), "several-blocks.bin   50%  5 M of 10 M");
}

TEST(Progress, AnUnknownTotalLeavesOutTheShareAndTheTimeLeft)
{
    TransferState state = halfWay();
    state.total = kUnknownTotal;
    EXPECT_EQ(line(state, 80), "several-blocks.bin  5 M  512 K/s");
}

TEST(Progress, AFileThatGrewIsComplete)
{
    TransferState state = halfWay();
    state.total = 2 * kMebibyte;
    EXPECT_EQ(line(state, 80), "several-blocks.bin  100%  5 M of 5 M  512 K/s  0:00 left");
}

TEST(Progress, ANarrowLineKeepsTheEndOfTheName)
{
    EXPECT_EQ(line(halfWay(), 52), "...blocks.bin   50%  5 M of 10 M  512 K/s  0:10 left");
}

TEST(Progress, AnEvenNarrowerLineLosesWhatMattersLeast)
{
    EXPECT_EQ(line(halfWay(), 40), "...locks.bin   50%  5 M of 10 M  512 K/s");
}

TEST(Progress, NoWidthIsExceeded)
{
    TransferState state = halfWay();
    for (const char *name :
         {"x", "several-blocks.bin", "a-very-long-name-of-a-file-that-does-not-fit-anywhere.parquet"}) {
        state.name = QLatin1String(name);
        for (int width = 0; width < 120; ++width)
            EXPECT_LE(progressLine(state, width).size(), width) << name << " in " << width;
    }
}

TEST(Progress, AnEmptyTransferIsComplete)
{
    TransferState state;
    state.name = QLatin1String("empty");
    EXPECT_EQ(line(state, 80), "empty  100%  0 of 0");
}

TEST(Progress, TimesReadLikeAClock)
{
    EXPECT_EQ(clockTime(7), QLatin1String("0:07"));
    EXPECT_EQ(clockTime(754), QLatin1String("12:34"));
    EXPECT_EQ(clockTime(3723), QLatin1String("1:02:03"));
}

TEST(Progress, NothingIsShownWhereThereIsNoTerminal)
{
    ::testing::internal::CaptureStderr();
    {
        Progress progress(QLatin1String("x"), kMebibyte, true);
        progress.advance(kMebibyte);
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}
