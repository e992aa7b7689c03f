#include "rpc/HostLog.h"

#include "platform/Sockets.h"
#include "testing/LogCapture.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>

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
    const int refused = systemError(ECONNREFUSED);
    const std::string number = std::to_string(refused);
    logSocketError(kSocketErrorFormat, refused);
    logSocketError("Warning HDFS: socket error: %1\n  %2", refused);
    EXPECT_TRUE(log.holds({"Error at socket(): " + number + "\n  " + platform::socketErrorText(refused),
                           "Warning HDFS: socket error: " + number + "\n  " + platform::socketErrorText(refused)}));
}

TEST(HostLog, LeavesTheTextOfNoErrorToTheSystem)
{
    LogCapture log;
    logSocketError(kSocketErrorFormat, 0);
    EXPECT_TRUE(log.holds({"Error at socket(): 0\n  " + platform::socketErrorText(0)}));
}

} // namespace
