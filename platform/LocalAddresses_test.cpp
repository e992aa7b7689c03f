#include "platform/LocalAddresses.h"

#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

TEST(LocalAddresses, HoldTheLoopbackAddressAndOnlyIPv4)
{
    std::vector<std::string> addresses;
    ASSERT_EQ(0, platform::localIPv4Addresses(&addresses));
    EXPECT_EQ(1, std::count(addresses.begin(), addresses.end(), "127.0.0.1"));
    for (const std::string &address : addresses) {
        unsigned part[4];
        char behind;
        EXPECT_EQ(4, std::sscanf(address.c_str(), "%3u.%3u.%3u.%3u%c", part, part + 1, part + 2, part + 3, &behind))
            << address;
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
    faults.fail(SystemCall::NumericName, 0, 1);
    std::vector<std::string> addresses;
    ASSERT_EQ(0, platform::localIPv4Addresses(&addresses));
    EXPECT_EQ(std::vector<std::string>(all.begin() + 1, all.end()), addresses);
}

} // namespace
