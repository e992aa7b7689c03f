#include "rpc/Network.h"

#include "platform/LocalAddresses.h"
#include "platform/Sockets.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

// The state belongs to the process: one test goes through its life in order.
TEST(Network, StartsOnceAfterFailuresAndKnowsTheLocalAddressesThen)
{
    EXPECT_FALSE(isLocalAddress("127.0.0.1"));
    {
        // Where the system's sockets must be started at all.
        SystemCallFaults faults;
        EXPECT_EQ(0, platform::startSockets());
        if (faults.count(SystemCall::Start) > 0) {
            faults.fail(SystemCall::Start, 0, 1);
            EXPECT_EQ(1, initNetwork());
            EXPECT_EQ(0, faults.count(SystemCall::Interfaces));
        }
    }
    {
        SystemCallFaults faults;
        faults.fail(SystemCall::Interfaces, 0, ENOMEM);
        EXPECT_EQ(1, initNetwork());
        EXPECT_FALSE(isLocalAddress("127.0.0.1"));
        faults.fail(SystemCall::Allocate, 0, ENOMEM);
        EXPECT_EQ(1, initNetwork());
        EXPECT_TRUE(faults.hasFailed(SystemCall::Allocate));
        EXPECT_FALSE(isLocalAddress("127.0.0.1"));
    }

    EXPECT_EQ(0, initNetwork());
    std::vector<std::string> addresses;
    ASSERT_EQ(0, platform::localIPv4Addresses(&addresses));
    for (const std::string &address : addresses)
        EXPECT_TRUE(isLocalAddress(address.c_str())) << address;
    EXPECT_TRUE(isLocalAddress("127.0.0.1"));
    for (const char *address : {"127.0.0.2", "127.0.0.1 ", "127.0.0.", "127.0.0.01", "", "::1", "localhost"})
        EXPECT_FALSE(isLocalAddress(address)) << address;

    SystemCallFaults faults;
    EXPECT_EQ(0, initNetwork());
    EXPECT_EQ(0, faults.count(SystemCall::Start));
    EXPECT_EQ(0, faults.count(SystemCall::Interfaces));
    EXPECT_EQ(0, faults.count(SystemCall::Allocate));
    faults.fail(SystemCall::Interfaces, 0, ENOMEM);
    EXPECT_EQ(0, initNetwork());
    EXPECT_TRUE(isLocalAddress("127.0.0.1"));
}

} // namespace
