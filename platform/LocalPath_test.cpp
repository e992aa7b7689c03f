#include "platform/LocalPath.h"

#include <QtCore/QDir>

#include <gtest/gtest.h>

namespace {

TEST(LocalPath, IsAbsoluteWhenItNamesThePlaceWhereItStarts)
{
    EXPECT_TRUE(platform::isAbsoluteLocalPath(QDir::homePath()));
    EXPECT_TRUE(platform::isAbsoluteLocalPath(QDir::rootPath()));
    EXPECT_FALSE(platform::isAbsoluteLocalPath(QString()));
    EXPECT_FALSE(platform::isAbsoluteLocalPath("a"));
    EXPECT_FALSE(platform::isAbsoluteLocalPath("a:"));
    EXPECT_FALSE(platform::isAbsoluteLocalPath("name.txt"));
    EXPECT_FALSE(platform::isAbsoluteLocalPath("below/name.txt"));
    EXPECT_FALSE(platform::isAbsoluteLocalPath(".."));
}

} // namespace
