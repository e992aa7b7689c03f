#include "platform/UniqueId.h"

#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <rpc.h>

#include <cstring>

namespace {

TEST(WindowsUniqueId, IsNullWhenTheSystemMakesNone)
{
    for (int error : {RPC_S_UUID_NO_ADDRESS, RPC_S_OUT_OF_MEMORY}) {
        SystemCallFaults faults;
        faults.fail(SystemCall::Identify, 0, error);
        EXPECT_FALSE(platform::createUniqueId()) << error;
        EXPECT_EQ(0, faults.count(SystemCall::Duplicate));
    }
}

TEST(WindowsUniqueId, IsTakenAlsoWhenItIsUniqueOnThisMachineOnly)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Identify, 0, RPC_S_UUID_LOCAL_ONLY);
    const platform::UniqueId id = platform::createUniqueId();
    ASSERT_TRUE(id);
    EXPECT_EQ(36u, std::strlen(id.get()));
    EXPECT_TRUE(faults.hasFailed(SystemCall::Identify));
}

TEST(WindowsUniqueId, MayBeCutShorterByItsOwner)
{
    platform::UniqueId id = platform::createUniqueId();
    ASSERT_TRUE(id);
    id.get()[16] = '\0';
    EXPECT_EQ(16u, std::strlen(id.get()));
    id.reset();
    EXPECT_FALSE(id);
}

} // namespace
