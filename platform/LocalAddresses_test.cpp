#include "platform/LocalAddresses.h"

#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netdb.h>

namespace {

TEST(LocalAddresses, HoldTheLoopbackAddressAndOnlyIPv4)
{
    std::vector<std::string> addresses;
    ASSERT_EQ(0, platform::localIPv4Addresses(&addresses));
    EXPECT_EQ(1, std::count(addresses.begin(), addresses.end(), "127.0.0.1"));
    for (const std::string &address : addresses) {
        in_addr parsed;
        EXPECT_EQ(1, ::inet_pton(AF_INET, address.c_str(), &parsed)) << address;
    }
}

TEST(LocalAddresses, ReplaceWhatTheListHeldBefore)
{
    std::vector<std::string> once;
    ASSERT_EQ(0, platform::localIPv4Addresses(&once));
    std::vector<std::string> twice = once;
    ASSERT_EQ(0, platform::localIPv4Addresses(&twice));
    EXPECT_EQ(once, twice);
}

TEST(LocalAddresses, AreEmptyWhenTheSystemCannotBeAsked)
{
    std::vector<std::string> addresses(1, "old");
    SystemCallFaults faults;
    faults.fail(SystemCall::Interfaces, 0, ENOMEM);
    EXPECT_EQ(1, platform::localIPv4Addresses(&addresses));
    EXPECT_TRUE(addresses.empty());
}

TEST(LocalAddresses, LeaveOutOneThatHasNoText)
{
    std::vector<std::string> all;
    ASSERT_EQ(0, platform::localIPv4Addresses(&all));
    SystemCallFaults faults;
    faults.fail(SystemCall::NumericName, 0, EAI_FAIL);
    std::vector<std::string> addresses;
    ASSERT_EQ(0, platform::localIPv4Addresses(&addresses));
    EXPECT_EQ(std::vector<std::string>(all.begin() + 1, all.end()), addresses);
}

} // namespace
