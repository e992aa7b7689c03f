#include "host/marrowby/WriteSettings.h"

#include "host/marrowby/Errors.h"

#include <gtest/gtest.h>

namespace {

std::string refusalOf(const std::vector<std::string> &properties)
{
    try {
        WriteSettings::from(properties);
    } catch (const UsageError &error) {
        return error.what();
    }
    return "accepted";
}

qint64 blockSizeOf(const std::string &text)
{
    return WriteSettings::from({"dfs.blocksize=" + text}).blockSize;
}

} // namespace

TEST(WriteSettings, WithoutPropertiesTheyAreThoseOfTheClusterClients)
{
    const WriteSettings settings = WriteSettings::from({});
    EXPECT_EQ(settings.blockSize, 134217728);
    EXPECT_EQ(settings.replication, 3);
    EXPECT_EQ(settings.bytesPerChecksum, 0u);
}

TEST(WriteSettings, EveryPropertyIsTaken)
{
    const WriteSettings settings =
        WriteSettings::from({"dfs.blocksize=1048576", "dfs.replication=2", "dfs.bytes-per-checksum=512"});
    EXPECT_EQ(settings.blockSize, 1048576);
    EXPECT_EQ(settings.replication, 2);
    EXPECT_EQ(settings.bytesPerChecksum, 512u);
}

TEST(WriteSettings, TheLastOneOfANameCountsAndOtherNamesDoNot)
{
    EXPECT_EQ(WriteSettings::from({"dfs.replication=1", "dfs.replication=2"}).replication, 2);
    EXPECT_EQ(WriteSettings::from({"dfs.replication", "replication=9", "dfs.replication.max=x"}).replication, 3);
}

TEST(WriteSettings, SizesMayHaveAPrefix)
{
    EXPECT_EQ(blockSizeOf("64k"), 65536);
    EXPECT_EQ(blockSizeOf("3M"), 3145728);
    EXPECT_EQ(blockSizeOf(" 2g "), 2147483648);
}

TEST(WriteSettings, WhatIsNoNumberIsRefusedInTheWordsOfTheClusterClient)
{
    EXPECT_EQ(refusalOf({"dfs.blocksize=abc"}),
              "Invalid size prefix 'c' in 'abc'. Allowed prefixes are k, m, g, t, p, e(case insensitive)");
    EXPECT_EQ(refusalOf({"dfs.blocksize=xk"}), "For input string: \"x\"");
    EXPECT_EQ(refusalOf({"dfs.blocksize="}), "For input string: \"\"");
    EXPECT_EQ(refusalOf({"dfs.replication=x"}), "For input string: \"x\"");
    EXPECT_EQ(refusalOf({"dfs.replication=1k"}), "For input string: \"1k\"");
    EXPECT_EQ(refusalOf({"dfs.bytes-per-checksum=1k"}), "For input string: \"1k\"");
    EXPECT_EQ(refusalOf({"dfs.blocksize=8e"}), "8e does not fit in a Long");
    EXPECT_EQ(refusalOf({"dfs.blocksize=99999999999999999999"}), "For input string: \"99999999999999999999\"");
}

TEST(WriteSettings, WhatThePlugInCannotDoIsRefused)
{
    EXPECT_EQ(refusalOf({"dfs.blocksize=0"}), "Invalid values: dfs.blocksize (=0) must be above 0 and below 4g.");
    EXPECT_EQ(refusalOf({"dfs.blocksize=-1k"}), "Invalid values: dfs.blocksize (=-1024) must be above 0 and below 4g.");
    EXPECT_EQ(refusalOf({"dfs.blocksize=4g"}),
              "Invalid values: dfs.blocksize (=4294967296) must be above 0 and below 4g.");
    EXPECT_EQ(blockSizeOf("4194303k"), 4294966272);
    EXPECT_EQ(refusalOf({"dfs.blocksize=1000"}), "Invalid values: dfs.blocksize (=1000) must be a multiple of 1024.");
    EXPECT_EQ(refusalOf({"dfs.bytes-per-checksum=0"}),
              "Invalid values: dfs.bytes-per-checksum (=0) must be above 0 and below 4g.");
    EXPECT_EQ(refusalOf({"dfs.replication=32768"}),
              "Invalid values: dfs.replication (=32768) must be from 1 to 32767.");
    EXPECT_EQ(refusalOf({"dfs.replication=-1"}), "Invalid values: dfs.replication (=-1) must be from 1 to 32767.");
}

TEST(WriteSettings, AChecksumMustDivideTheBlock)
{
    EXPECT_EQ(refusalOf({"dfs.bytes-per-checksum=3072", "dfs.blocksize=1m"}),
              "Invalid values: dfs.bytes-per-checksum (=3072) must divide block size (=1048576).");
    EXPECT_EQ(refusalOf({"dfs.bytes-per-checksum=3072", "dfs.blocksize=3m"}), "accepted");
}
