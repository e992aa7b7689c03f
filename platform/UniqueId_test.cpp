#include "platform/UniqueId.h"

#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <string>

namespace {

TEST(UniqueId, IsACanonicalUuidInLowerCase)
{
    const platform::UniqueId id = platform::createUniqueId();
    ASSERT_TRUE(id);
    ASSERT_EQ(36u, std::strlen(id.get()));
    for (std::size_t i = 0; i < 36; ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23)
            EXPECT_EQ('-', id.get()[i]);
        else
            EXPECT_TRUE(std::strchr("0123456789abcdef", id.get()[i])) << id.get();
    }
}

TEST(UniqueId, DiffersEachTimeAlsoInItsFirstSixteenCharacters)
{
    std::set<std::string> heads;
    for (int i = 0; i < 1000; ++i)
        heads.insert(std::string(platform::createUniqueId().get(), 16));
    EXPECT_EQ(1000u, heads.size());
}

TEST(UniqueId, IsNullWithoutMemory)
{
    SystemCallFaults faults;
    faults.fail(SystemCall::Duplicate, 0, ENOMEM);
    EXPECT_FALSE(platform::createUniqueId());
}

} // namespace
