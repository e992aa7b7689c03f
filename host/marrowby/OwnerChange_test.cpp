#include "host/marrowby/OwnerChange.h"

#include "host/marrowby/Errors.h"

#include <gtest/gtest.h>

namespace {

/// "owner|group", or what is wrong.
QByteArray parsed(const char *text)
{
    try {
        const OwnerChange change = OwnerChange::parse(text);
        return change.owner + '|' + change.group;
    } catch (const UsageError &error) {
        return error.text();
    }
}

} // namespace

TEST(OwnerChange, OwnerAndGroupMayStandAlone)
{
    EXPECT_EQ(parsed("alice"), "alice|");
    EXPECT_EQ(parsed("alice:staff"), "alice|staff");
    EXPECT_EQ(parsed("alice:"), "alice|");
    EXPECT_EQ(parsed(":staff"), "|staff");
}

TEST(OwnerChange, NamesOfDirectoriesAreNames)
{
    EXPECT_EQ(parsed("alice@EXAMPLE.COM:st_aff-1.2"), "alice@EXAMPLE.COM|st_aff-1.2");
    EXPECT_EQ(parsed("a+b:c/d"), "a+b|c/d");
    EXPECT_EQ(parsed("root.supergroup"), "root.supergroup|");
    EXPECT_EQ(parsed(" alice "), "alice|");
}

TEST(OwnerChange, NothingIsNotEnough)
{
    EXPECT_EQ(parsed(":"), "':' does not specify owner or group.");
    EXPECT_EQ(parsed(""), "'' does not specify owner or group.");
}

TEST(OwnerChange, OtherCharactersAreRefused)
{
    for (const char *text : {"a b", "a#b", "a:b:c", "a$:b",
                             "gr\xC3\xB6\xC3\x9F"
                             "e",
                             "a\\b", "a*"})
        EXPECT_EQ(parsed(text), '\'' + QByteArray(text) + "' does not match expected pattern for [owner][:group].");
}
