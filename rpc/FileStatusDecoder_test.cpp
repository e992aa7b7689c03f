#include "rpc/FileStatusDecoder.h"

#include "rpc/MemoryStream.h"

#include "testing/NamespaceMessages.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace oracle = hadoop::oracle;

namespace {

oracle::HdfsFileStatusProto fileStatus()
{
    oracle::HdfsFileStatusProto status = ::fileStatus("name");
    status.set_length(0x123456789ABCull);
    status.mutable_permission()->set_perm(01640);
    return status;
}

class FileStatusDecoder : public ::testing::Test
{
protected:
    ~FileStatusDecoder() override { freeFileStatusList(list.head); }

    bool append(const std::string &bytes)
    {
        stream = memoryStream(bytes.data(), bytes.size());
        return appendFileStatus(&stream, &list);
    }
    bool append(const oracle::HdfsFileStatusProto &status) { return append(status.SerializePartialAsString()); }

    FileStatusList list;
    pb_istream_t stream;
};

std::string text(const ByteString &bytes)
{
    EXPECT_EQ('\0', bytes.data[bytes.size]);
    return std::string(bytes.data, bytes.size);
}

TEST_F(FileStatusDecoder, TakesOverEveryField)
{
    ASSERT_TRUE(append(fileStatus()));
    ASSERT_EQ(1, list.count);
    EXPECT_EQ(list.head, list.tail);
    const HdfsFileStatus &record = *list.head;
    EXPECT_EQ(static_cast<std::uint32_t>('F'), record.kind);
    EXPECT_EQ("name", text(record.path));
    EXPECT_EQ(1700000000123ull, record.modificationTime);
    EXPECT_EQ(0x123456789ABCull, record.length);
    EXPECT_EQ(3, record.replication);
    EXPECT_EQ(134217728ull, record.blockSize);
    EXPECT_EQ("owner", text(record.owner));
    EXPECT_EQ("group", text(record.group));
    EXPECT_EQ(01640, record.permission);
    EXPECT_EQ(1700000000456ull, record.accessTime);
    EXPECT_EQ(nullptr, record.next);
}

TEST_F(FileStatusDecoder, SkipsWhatNewerServersAdd)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    addNewerFields(&status);
    ASSERT_TRUE(append(status)) << PB_GET_ERROR(&stream);
    EXPECT_EQ("name", text(list.head->path));
    EXPECT_EQ("group", text(list.head->group));
    EXPECT_EQ(0x123456789ABCull, list.head->length);
}

TEST_F(FileStatusDecoder, ADirectoryHasNoLengthWhateverTheServerSays)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    status.set_filetype(oracle::HdfsFileStatusProto::IS_DIR);
    ASSERT_TRUE(append(status));
    EXPECT_EQ(static_cast<std::uint32_t>('D'), list.head->kind);
    EXPECT_EQ(0u, list.head->length);
}

TEST_F(FileStatusDecoder, EverythingThatIsNoDirectoryIsAFile)
{
    for (auto type : {oracle::HdfsFileStatusProto::IS_SYMLINK, oracle::HdfsFileStatusProto::TYPE_OF_A_NEWER_SERVER}) {
        oracle::HdfsFileStatusProto status = fileStatus();
        status.set_filetype(type);
        ASSERT_TRUE(append(status));
        EXPECT_EQ(static_cast<std::uint32_t>('F'), list.tail->kind);
        EXPECT_EQ(0x123456789ABCull, list.tail->length);
    }
}

TEST_F(FileStatusDecoder, MissingOptionalFieldsAreZero)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    status.clear_block_replication();
    status.clear_blocksize();
    ASSERT_TRUE(append(status));
    EXPECT_EQ(0, list.head->replication);
    EXPECT_EQ(0u, list.head->blockSize);
}

TEST_F(FileStatusDecoder, CutsReplicationAndPermissionToSixteenBits)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    status.set_block_replication(0x12345);
    status.mutable_permission()->set_perm(0xABC01FF);
    ASSERT_TRUE(append(status));
    EXPECT_EQ(0x2345, list.head->replication);
    EXPECT_EQ(0x01FF, list.head->permission);
}

TEST_F(FileStatusDecoder, TextsMayBeEmptyOrHoldAnyByte)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    const std::string odd("a/b\0c\xFF\n", 7);
    status.set_path(odd);
    status.set_owner("");
    status.set_group("");
    ASSERT_TRUE(append(status));
    EXPECT_EQ(odd, text(list.head->path));
    EXPECT_EQ("", text(list.head->owner));
    EXPECT_EQ("", text(list.head->group));
}

TEST_F(FileStatusDecoder, TextsStandBehindTheRecordInTheOrderPathOwnerGroup)
{
    ASSERT_TRUE(append(fileStatus()));
    const char *behind = reinterpret_cast<const char *>(list.head + 1);
    EXPECT_EQ(0, std::memcmp(behind, "name\0owner\0group\0", 17));
    EXPECT_EQ(behind, list.head->path.data);
    EXPECT_EQ(behind + 5, list.head->owner.data);
    EXPECT_EQ(behind + 11, list.head->group.data);
}

TEST_F(FileStatusDecoder, MakesOneBlockForARecord)
{
    const std::string bytes = fileStatus().SerializeAsString();
    SystemCallFaults faults;
    ASSERT_TRUE(append(bytes));
    EXPECT_EQ(1, faults.count(SystemCall::Allocate));
}

TEST_F(FileStatusDecoder, ChainsRecordsInTheirOrder)
{
    for (const char *name : {"one", "two", "three"}) {
        oracle::HdfsFileStatusProto status = fileStatus();
        status.set_path(name);
        ASSERT_TRUE(append(status));
    }
    EXPECT_EQ(3, list.count);
    EXPECT_EQ("one", text(list.head->path));
    EXPECT_EQ("two", text(list.head->next->path));
    EXPECT_EQ("three", text(list.head->next->next->path));
    EXPECT_EQ(list.tail, list.head->next->next);
    EXPECT_EQ(nullptr, list.tail->next);
}

TEST_F(FileStatusDecoder, LeavesTheListAloneWhenThereIsNoMemory)
{
    ASSERT_TRUE(append(fileStatus()));
    const std::string bytes = fileStatus().SerializeAsString();
    SystemCallFaults faults;
    faults.fail(SystemCall::Allocate, 0, 0);
    EXPECT_FALSE(append(bytes));
    EXPECT_STREQ("out of memory", PB_GET_ERROR(&stream));
    EXPECT_EQ(1, list.count);
    EXPECT_EQ(list.head, list.tail);
    EXPECT_EQ(nullptr, list.tail->next);
}

TEST_F(FileStatusDecoder, NeedsEveryRequiredField)
{
    typedef oracle::HdfsFileStatusProto Status;
    for (void (Status::*clear)() :
         {&Status::clear_filetype, &Status::clear_path, &Status::clear_length, &Status::clear_permission,
          &Status::clear_owner, &Status::clear_group, &Status::clear_modification_time, &Status::clear_access_time}) {
        Status status = fileStatus();
        (status.*clear)();
        EXPECT_FALSE(append(status)) << status.ShortDebugString();
        EXPECT_TRUE(PB_GET_ERROR(&stream));
    }
    EXPECT_EQ(0, list.count);
}

TEST_F(FileStatusDecoder, RefusesEveryMessageThatIsCutShort)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    addNewerFields(&status);
    const std::string bytes = status.SerializeAsString();
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        // A buffer of just that size, so that the sanitizers see a byte too many.
        const std::string cut = bytes.substr(0, size);
        if (append(cut)) {
            // Cut between two fields behind the last required one: a valid message.
            EXPECT_EQ("name", text(list.tail->path));
        }
    }
    EXPECT_FALSE(append(bytes.substr(0, 20)));
}

TEST_F(FileStatusDecoder, SurvivesEveryByteChanged)
{
    oracle::HdfsFileStatusProto status = fileStatus();
    addNewerFields(&status);
    const std::string bytes = status.SerializeAsString();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        for (int mask : {0x01, 0x80, 0xFF, 0x07}) {
            std::string changed = bytes;
            changed[i] = static_cast<char>(changed[i] ^ mask);
            const std::int32_t before = list.count;
            EXPECT_EQ(append(changed) ? before + 1 : before, list.count);
        }
    }
}

TEST(FreeFileStatusList, DoesNothingForNull)
{
    freeFileStatusList(nullptr);
}

// The host reads the record directly.
TEST(HdfsFileStatus, HasTheLayoutThatTheHostReads)
{
    ASSERT_EQ(8u, sizeof(void *));
    EXPECT_EQ(0u, offsetof(HdfsFileStatus, kind));
    EXPECT_EQ(8u, offsetof(HdfsFileStatus, path));
    EXPECT_EQ(24u, offsetof(HdfsFileStatus, modificationTime));
    EXPECT_EQ(32u, offsetof(HdfsFileStatus, length));
    EXPECT_EQ(40u, offsetof(HdfsFileStatus, replication));
    EXPECT_EQ(48u, offsetof(HdfsFileStatus, blockSize));
    EXPECT_EQ(56u, offsetof(HdfsFileStatus, owner));
    EXPECT_EQ(72u, offsetof(HdfsFileStatus, group));
    EXPECT_EQ(88u, offsetof(HdfsFileStatus, permission));
    EXPECT_EQ(96u, offsetof(HdfsFileStatus, accessTime));
    EXPECT_EQ(104u, offsetof(HdfsFileStatus, next));
}

} // namespace
