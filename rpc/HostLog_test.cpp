#include "rpc/HostLog.h"

#include "testing/LogCapture.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

TEST(HostLog, PassesLinesOnAtLevelOne)
{
    LogCapture log;
    logToHost("plain");
    logToHost(QString::fromUtf8("J\xc3\xbcrgen"));
    ASSERT_EQ(2u, log.lines().size());
    EXPECT_EQ(1, log.lines()[0].level);
    EXPECT_EQ("plain", log.lines()[0].text);
    EXPECT_EQ(1, log.lines()[1].level);
    EXPECT_EQ("J\xc3\xbcrgen", log.lines()[1].text);
}

TEST(HostLog, ShowsAMissingCodecTextAsNone)
{
    EXPECT_EQ("(none)", codecErrorText(nullptr).toStdString());
    EXPECT_EQ("", codecErrorText("").toStdString());
    EXPECT_EQ("stream full", codecErrorText("stream full").toStdString());
}

TEST(HostLog, ReportsASocketErrorWithItsNumberAndTheSystemsText)
{
    LogCapture log;
    logSocketError(kSocketErrorFormat, ECONNREFUSED);
    logSocketError("Warning HDFS: socket error: %1\n  %2", 0);
    EXPECT_TRUE(log.holds({"Error at socket(): 111\n  Connection refused",
                           std::string("Warning HDFS: socket error: 0\n  ") + std::strerror(0)}));
}

} // namespace
