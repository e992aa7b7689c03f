#include "platform/UserFolders.h"

#include "testing/TemporarySettings.h"

#include <gtest/gtest.h>

namespace {

TEST(UserFolders, StandInTheHomeFolder)
{
    const TemporaryEnvironment home("HOME", "/home/somebody");
    EXPECT_EQ("/home/somebody/Desktop", platform::desktopFolder().toStdString());
    EXPECT_EQ("/home/somebody/Documents", platform::documentsFolder().toStdString());
}

TEST(UserFolders, MayStandAtTheTop)
{
    const TemporaryEnvironment home("HOME", "/");
    EXPECT_EQ("/Desktop", platform::desktopFolder().toStdString());
    EXPECT_EQ("/Documents", platform::documentsFolder().toStdString());
}

} // namespace
