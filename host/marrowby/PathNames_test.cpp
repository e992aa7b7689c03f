#include "host/marrowby/PathNames.h"

#include "host/marrowby/Errors.h"

#include <gtest/gtest.h>

namespace {

const PathNames names("/user/carol", "localhost:9000");

QByteArray pathOf(const char *argument)
{
    return names.parse(argument).pattern;
}

QByteArray shown(const char *path, const char *argument)
{
    return names.shown(path, names.parse(argument));
}

QByteArray failureOf(const QByteArray &argument)
{
    try {
        names.parse(argument);
    } catch (const Failure &failure) {
        return failure.text();
    } catch (const UsageError &error) {
        return "usage: " + error.text();
    }
    return "accepted";
}

} // namespace

TEST(PathNames, AbsolutePathsStayAndRelativeOnesBeginAtHome)
{
    EXPECT_EQ(pathOf("/"), "/");
    EXPECT_EQ(pathOf("/a/b"), "/a/b");
    EXPECT_EQ(pathOf("f"), "/user/carol/f");
    EXPECT_EQ(pathOf("."), "/user/carol");
    EXPECT_EQ(pathOf(".."), "/user");
    EXPECT_EQ(pathOf("../dave/f"), "/user/dave/f");
}

TEST(PathNames, PathsAreNormalised)
{
    EXPECT_EQ(pathOf("//a///b/"), "/a/b");
    EXPECT_EQ(pathOf("/a/./b/../c"), "/a/c");
    EXPECT_EQ(pathOf("/a/..b/c..d/..."), "/a/..b/c..d/...");
}

TEST(PathNames, AQualifiedPathOfOurNameNodeIsAccepted)
{
    EXPECT_EQ(pathOf("hdfs://localhost:9000/a"), "/a");
    EXPECT_EQ(pathOf("HDFS://LocalHost:9000/a"), "/a");
    EXPECT_EQ(pathOf("hdfs:///a"), "/a");
    EXPECT_EQ(pathOf("hdfs://localhost:9000"), "/user/carol");
    EXPECT_EQ(pathOf("hdfs://localhost:9000/"), "/");
}

TEST(PathNames, OtherFileSystemsAreRefused)
{
    EXPECT_EQ(failureOf("foo://x/y"), "No FileSystem for scheme \"foo\"");
    EXPECT_TRUE(failureOf("hdfs://other:9000/a").startsWith("`hdfs://other:9000/a': is not on the NameNode "));
}

TEST(PathNames, AColonAloneIsNoScheme)
{
    EXPECT_EQ(pathOf("a:b"), "/user/carol/a:b");
    EXPECT_EQ(pathOf("/x://y"), "/x:/y");
}

TEST(PathNames, SenselessPathsAreWrongUsage)
{
    EXPECT_EQ(failureOf(""), "usage: Can not create a Path from an empty string");
    EXPECT_EQ(failureOf("/../x"), "usage: Pathname /../x from hdfs://localhost:9000/../x is not a valid DFS filename.");
}

TEST(PathNames, APathThatIsLongerThanHdfsTakesIsRefused)
{
    EXPECT_EQ(failureOf('/' + QByteArray(7999, 'x')), "accepted");
    EXPECT_EQ(failureOf('/' + QByteArray(8000, 'x')), "a path of 8001 bytes is too long: HDFS takes at most 8000");
}

TEST(PathNames, WhatLeadsOutOfADirectoryIsNoName)
{
    for (const char *name : {"a", "...", "..a", ".a", "a b", "\xFF", "*", "\\"})
        EXPECT_TRUE(isName(name)) << name;
    for (const char *text : {"", ".", "..", "/", "a/b", "../a", "/a", "a/"})
        EXPECT_FALSE(isName(text)) << text;
    EXPECT_FALSE(isName(QByteArray("a\0b", 3)));
}

TEST(PathNames, MessagesCallAMissingPathAsItWasTyped)
{
    EXPECT_EQ(names.parse("./nope/").typed, "./nope/");
    EXPECT_EQ(names.parse("sm\\*").typed, "sm*");
    EXPECT_EQ(names.parse("sm\\**").typed, "sm\\**");
    EXPECT_FALSE(names.parse("sm\\*").hasWildcard);
    EXPECT_TRUE(names.parse("sm\\**").hasWildcard);
}

TEST(PathNames, FoundPathsAreShownInTheFormOfTheArgument)
{
    EXPECT_EQ(shown("/user/carol/f", "/user/carol"), "/user/carol/f");
    EXPECT_EQ(shown("/user/carol/f", "hdfs:///user/carol"), "hdfs:///user/carol/f");
    EXPECT_EQ(shown("/user/carol/f", "hdfs://localhost:9000/user"), "hdfs://localhost:9000/user/carol/f");
}

TEST(PathNames, RelativePathsAreShownAsSeenFromHome)
{
    EXPECT_EQ(shown("/user/carol", "."), ".");
    EXPECT_EQ(shown("/user/carol/f", "./f"), "f");
    EXPECT_EQ(shown("/user/carol/f", "../carol/f"), "f");
    EXPECT_EQ(shown("/user", ".."), "..");
    EXPECT_EQ(shown("/user/carol2", "../*"), "../carol2");
    EXPECT_EQ(shown("/", "../.."), "../..");
    EXPECT_EQ(shown("/tmp/x", "../../tmp"), "../../tmp/x");
}

TEST(PathNames, PathsAreTakenApartAndPutTogether)
{
    EXPECT_EQ(childPath("/", "a"), "/a");
    EXPECT_EQ(childPath("/a", "b"), "/a/b");
    EXPECT_EQ(parentPath("/a/b"), "/a");
    EXPECT_EQ(parentPath("/a"), "/");
    EXPECT_EQ(lastName("/a/b"), "b");
    EXPECT_EQ(lastName("/"), "");
}
