#include "host/marrowby/RemoteError.h"

#include <gtest/gtest.h>

namespace {

const char kDenied[] = "ExceptionClassName=org.apache.hadoop.security.AccessControlException\n"
                       "errorMsg=Permission denied: user=alice, access=WRITE, inode=\"/\":root:supergroup:drwxr-xr-x\n"
                       "\tat org.apache.hadoop.Server(Server.java:1)\n";

} // namespace

TEST(RemoteError, ClassAndFirstLineOfTheMessageAreFound)
{
    const RemoteError error = remoteErrorIn(QStringList(kDenied));
    EXPECT_EQ(error.className, "org.apache.hadoop.security.AccessControlException");
    EXPECT_EQ(error.message, "Permission denied: user=alice, access=WRITE, inode=\"/\":root:supergroup:drwxr-xr-x");
}

TEST(RemoteError, TheLastExceptionCounts)
{
    const QStringList log = {kDenied, "ExceptionClassName=B\nerrorMsg=second", "something else"};
    EXPECT_EQ(remoteErrorIn(log).className, "B");
    EXPECT_EQ(reasonIn(log), "second");
}

TEST(RemoteError, AnExceptionWithoutAMessageIsCalledByItsClass)
{
    EXPECT_EQ(reasonIn(QStringList("ExceptionClassName=B\nerrorMsg=")), "B");
    EXPECT_EQ(reasonIn(QStringList("ExceptionClassName=B")), "B");
}

TEST(RemoteError, WithoutAnExceptionTheLastEntryIsTheReason)
{
    const QStringList log = {"TCPIP send failed", "Error at socket(): 104\n  Connection reset by peer"};
    EXPECT_TRUE(remoteErrorIn(log).className.isEmpty());
    EXPECT_EQ(reasonIn(log), "Error at socket(): 104 Connection reset by peer");
}

TEST(RemoteError, ASilentFailureHasNoReason)
{
    EXPECT_EQ(reasonIn(QStringList()), "it failed without a reason");
}

TEST(RemoteError, ARequestThatWasTooLongIsToldFromOtherFailures)
{
    EXPECT_TRUE(requestWasTooLong(QStringList("Encoding failed: stream full")));
    EXPECT_FALSE(requestWasTooLong(QStringList("ERROR HDFS: Encoding failed: stream full")));
    EXPECT_FALSE(requestWasTooLong(QStringList("TCPIP send failed")));
    EXPECT_FALSE(requestWasTooLong(QStringList()));
}

TEST(RemoteError, ARequestThatCouldNotBeEncodedIsRecognisedWhoeverItWasFor)
{
    EXPECT_TRUE(couldNotBeEncoded({"Warning", "Encoding failed: stream full"}));
    EXPECT_TRUE(couldNotBeEncoded({"ERROR HDFS: Encoding failed: stream full", "something else"}));
    EXPECT_FALSE(couldNotBeEncoded({"Warning HDFS: TCPIP send failed (1)"}));
}
