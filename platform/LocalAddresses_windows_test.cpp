#include "platform/LocalAddresses.h"

#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace {

TEST(WindowsLocalAddresses, AreAskedForTwiceForTheSizeAndForThemselves)
{
    std::vector<std::string> addresses;
    SystemCallFaults faults;
    EXPECT_EQ(0, platform::localIPv4Addresses(&addresses));
    EXPECT_EQ(2, faults.count(SystemCall::Interfaces));
    EXPECT_FALSE(addresses.empty());
}

TEST(WindowsLocalAddresses, AreEmptyWhenTheSizeIsNotSaid)
{
    for (int error : {ERROR_SUCCESS, ERROR_NO_DATA, ERROR_ADDRESS_NOT_ASSOCIATED, ERROR_INVALID_PARAMETER}) {
        std::vector<std::string> addresses(1, "old");
        SystemCallFaults faults;
        faults.fail(SystemCall::Interfaces, 0, error);
        EXPECT_EQ(1, platform::localIPv4Addresses(&addresses)) << error;
        EXPECT_EQ(1, faults.count(SystemCall::Interfaces));
        EXPECT_TRUE(addresses.empty());
    }
}

TEST(WindowsLocalAddresses, AreEmptyWhenTheSecondAnswerIsAnError)
{
    for (int error : {ERROR_BUFFER_OVERFLOW, ERROR_NO_DATA, ERROR_NOT_ENOUGH_MEMORY}) {
        std::vector<std::string> addresses(1, "old");
        SystemCallFaults faults;
        faults.fail(SystemCall::Interfaces, 1, error);
        EXPECT_EQ(1, platform::localIPv4Addresses(&addresses)) << error;
        EXPECT_TRUE(addresses.empty());
    }
}

} // namespace
