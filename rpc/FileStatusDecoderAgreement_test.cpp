// Records are decoded field by field for speed. This holds that decoding against nanopb's own, with the message's field
// list, on messages that have been damaged in every way that random changes find.
#include "rpc/FileStatusDecoder.h"
#include "rpc/MemoryStream.h"
#include "rpc/PbText.h"

#include "HdfsMessages.pb.h"
#include "testing/proto/OracleHdfs.pb.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

namespace oracle = hadoop::oracle;

namespace {

std::string text(const ByteString &bytes)
{
    return std::string(bytes.data, bytes.size);
}

/// What a record would hold, as one text; empty when the message does not decode.
std::string decodedByFieldList(const std::string &message)
{
    ByteString path = emptyByteString();
    ByteString owner = emptyByteString();
    ByteString group = emptyByteString();
    HdfsFileStatusProto status = HdfsFileStatusProto_init_default;
    status.path = collectTo(&path);
    status.owner = collectTo(&owner);
    status.group = collectTo(&group);
    pb_istream_t stream = memoryStream(message.data(), message.size());
    if (!pb_decode(&stream, HdfsFileStatusProto_fields, &status))
        return std::string();
    const bool isDirectory = status.fileType == 1;
    return std::string(isDirectory ? "D" : "F") + " " + text(path) + " " + text(owner) + " " + text(group) + " " +
           std::to_string(isDirectory ? 0 : status.length) + " " + std::to_string(status.permission.perm & 0xFFFF) +
           " " + std::to_string(status.modification_time) + " " + std::to_string(status.access_time) + " " +
           std::to_string(status.block_replication & 0xFFFF) + " " + std::to_string(status.blocksize);
}

std::string decodedToRecord(const std::string &message)
{
    FileStatusList list;
    pb_istream_t stream = memoryStream(message.data(), message.size());
    const bool decoded = appendFileStatus(&stream, &list);
    const std::unique_ptr<HdfsFileStatus, void (*)(HdfsFileStatus *)> record(list.head, freeFileStatusList);
    if (!decoded) {
        EXPECT_EQ(nullptr, list.head);
        return std::string();
    }
    return std::string(1, static_cast<char>(record->kind)) + " " + text(record->path) + " " + text(record->owner) +
           " " + text(record->group) + " " + std::to_string(record->length) + " " + std::to_string(record->permission) +
           " " + std::to_string(record->modificationTime) + " " + std::to_string(record->accessTime) + " " +
           std::to_string(record->replication) + " " + std::to_string(record->blockSize);
}

/// Whether a field is there that a record does not keep: of those the field list checks the inside, too.
bool hasDroppedField(const std::string &message)
{
    pb_istream_t stream = memoryStream(message.data(), message.size());
    pb_wire_type_t wireType;
    std::uint32_t tag;
    bool atEnd = false;
    while (pb_decode_tag(&stream, &wireType, &tag, &atEnd)) {
        if (tag == HdfsFileStatusProto_symlink_tag || tag == HdfsFileStatusProto_locations_tag ||
            tag == HdfsFileStatusProto_fileId_tag || tag == HdfsFileStatusProto_childrenNum_tag)
            return true;
        if (!pb_skip_field(&stream, wireType))
            return false;
    }
    return false;
}

std::string wholeMessage()
{
    oracle::HdfsFileStatusProto status;
    status.set_filetype(oracle::HdfsFileStatusProto::IS_FILE);
    status.set_path("part-00017");
    status.set_length(300);
    status.mutable_permission()->set_perm(0644);
    status.set_owner("alice");
    status.set_group("staff");
    status.set_modification_time(1700000000123ull);
    status.set_access_time(1700000000456ull);
    status.set_block_replication(3);
    status.set_blocksize(1 << 27);
    status.set_storagepolicy(7);
    return status.SerializeAsString();
}

} // namespace

TEST(FileStatusDecoderAgreement, AWholeMessageGivesTheSameRecordEitherWay)
{
    const std::string message = wholeMessage();
    EXPECT_EQ("F part-00017 alice staff 300 420 1700000000123 1700000000456 3 134217728", decodedToRecord(message));
    EXPECT_EQ(decodedByFieldList(message), decodedToRecord(message));
}

TEST(FileStatusDecoderAgreement, AMessageCutAnywhereIsTakenOrRefusedEitherWay)
{
    const std::string message = wholeMessage();
    for (std::size_t size = 0; size < message.size(); ++size)
        EXPECT_EQ(decodedByFieldList(message.substr(0, size)), decodedToRecord(message.substr(0, size))) << size;
}

TEST(FileStatusDecoderAgreement, DamagedMessagesGiveTheSameRecordEitherWay)
{
    std::mt19937 random(20261121);
    const std::string whole = wholeMessage();
    int taken = 0;
    int refused = 0;
    for (int round = 0; round < 200000; ++round) {
        std::string message = whole;
        const int changes = 1 + static_cast<int>(random() % 3);
        for (int i = 0; i < changes; ++i) {
            const std::size_t at = random() % message.size();
            switch (random() % 4) {
            case 0:
                message[at] = static_cast<char>(random());
                break;
            case 1:
                message[at] = static_cast<char>(message[at] ^ (1 << random() % 8));
                break;
            case 2:
                message.insert(at, 1, static_cast<char>(random()));
                break;
            default:
                message.erase(at, 1);
                break;
            }
        }
        const std::string expected = decodedByFieldList(message);
        const std::string record = decodedToRecord(message);
        if (expected != record) {
            ASSERT_TRUE(expected.empty() && hasDroppedField(message))
                << "round " << round << ": \"" << expected << "\" but \"" << record << "\"\n"
                << testing::PrintToString(std::vector<int>(message.begin(), message.end()));
        }
        ++(record.empty() ? refused : taken);
    }
    // The changes must have led both ways, or nothing was compared.
    EXPECT_GT(taken, 10000);
    EXPECT_GT(refused, 10000);
}
