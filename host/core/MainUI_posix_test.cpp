#include "host/core/MainUI.h"

#include <gtest/gtest.h>

#include <QtCore/QtGlobal>

TEST(MainUIOnPosix, AFileThatTakesNothingLeavesTheEntryToStandardError)
{
    qputenv("MARROWBY_LOG", "/dev/full");
    ::testing::internal::CaptureStderr();
    MainUI::addLog(LogLevelWarning, "one");
    const std::string written = ::testing::internal::GetCapturedStderr();
    qunsetenv("MARROWBY_LOG");
    EXPECT_EQ(written, "one\n");
}
