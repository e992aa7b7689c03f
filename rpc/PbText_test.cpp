#include "rpc/PbText.h"

#include "rpc/MemoryStream.h"

#include "ClientProtocolMessages.pb.h"
#include "HdfsMessages.pb.h"
#include "IpcMessages.pb.h"

#include "testing/proto/OracleClientProtocol.pb.h"
#include "testing/proto/OracleHdfs.pb.h"
#include "testing/proto/OracleIpc.pb.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace oracle = hadoop::oracle;

namespace {

template <class Message> std::string encode(PbFieldList fields, const Message &message, bool *encoded = nullptr)
{
    pb_byte_t bytes[2000];
    pb_ostream_t stream = pb_ostream_from_buffer(bytes, sizeof bytes);
    const bool done = pb_encode(&stream, fields, &message);
    if (encoded)
        *encoded = done;
    else
        EXPECT_TRUE(done) << PB_GET_ERROR(&stream);
    return std::string(reinterpret_cast<const char *>(bytes), stream.bytes_written);
}

pb_istream_t streamOf(const std::string &bytes)
{
    return memoryStream(bytes.data(), bytes.size());
}

std::string text(const ByteString &bytes)
{
    return std::string(bytes.data, bytes.size);
}

TEST(PbText, SendsTextsOfEachKindAsTheOracleDoes)
{
    const QByteArray user("some\0one", 8);
    const ByteString group = {"gr\0up", 5};
    SetOwnerRequestProto request = SetOwnerRequestProto_init_default;
    request.src = sendCString("/a/path");
    request.username = sendBytes(&user);
    request.groupname = sendBytes(&group);
    oracle::SetOwnerRequestProto expected;
    expected.set_src("/a/path");
    expected.set_username("some\0one", 8);
    expected.set_groupname("gr\0up", 5);
    EXPECT_EQ(expected.SerializeAsString(), encode(SetOwnerRequestProto_fields, request));
}

TEST(PbText, SendsEmptyTextsAndLeavesOutFieldsWithoutACallback)
{
    const QByteArray empty;
    SetOwnerRequestProto request = SetOwnerRequestProto_init_default;
    request.src = sendCString("");
    request.username = sendBytes(&empty);
    oracle::SetOwnerRequestProto expected;
    expected.set_src("");
    expected.set_username("");
    EXPECT_EQ(expected.SerializeAsString(), encode(SetOwnerRequestProto_fields, request));
}

TEST(PbText, SendsTheNameOfTheProtocol)
{
    RequestHeaderProto header = RequestHeaderProto_init_default;
    header.methodName = sendCString("mkdirs");
    header.declaringClassProtocolName = sendProtocolName();
    header.clientProtocolVersion = 1;
    oracle::RequestHeaderProto expected;
    expected.set_methodname("mkdirs");
    expected.set_declaringclassprotocolname("org.apache.hadoop.hdfs.protocol.ClientProtocol");
    expected.set_clientprotocolversion(1);
    EXPECT_EQ(expected.SerializeAsString(), encode(RequestHeaderProto_fields, header));
}

TEST(PbText, FailsToSendWhatDoesNotFit)
{
    const QByteArray longName(3000, 'x');
    GetFileInfoRequestProto request = GetFileInfoRequestProto_init_default;
    request.src = sendBytes(&longName);
    bool encoded = true;
    encode(GetFileInfoRequestProto_fields, request, &encoded);
    EXPECT_FALSE(encoded);
}

TEST(PbText, CollectsAViewIntoTheMemoryOfTheStream)
{
    oracle::TokenProto token;
    token.set_identifier(std::string("id\0\xFF", 4));
    token.set_password("");
    token.set_kind("kind");
    token.set_service("127.0.0.1:1");
    const std::string bytes = token.SerializeAsString();
    ByteString identifier = emptyByteString(), password = emptyByteString(), kind = emptyByteString();
    TokenProto decoded = TokenProto_init_default;
    decoded.identifier = collectTo(&identifier);
    decoded.password = collectTo(&password);
    decoded.kind = collectTo(&kind);
    pb_istream_t stream = streamOf(bytes);
    ASSERT_TRUE(pb_decode(&stream, TokenProto_fields, &decoded));
    EXPECT_EQ(std::string("id\0\xFF", 4), text(identifier));
    EXPECT_EQ("", text(password));
    EXPECT_EQ("kind", text(kind));
    EXPECT_GE(identifier.data, bytes.data());
    EXPECT_LE(identifier.data + identifier.size, bytes.data() + bytes.size());
}

TEST(PbText, CollectsTheLastOfAFieldThatComesTwice)
{
    oracle::GetFileInfoRequestProto first, second;
    first.set_src("first");
    second.set_src("the second");
    const std::string bytes = first.SerializeAsString() + second.SerializeAsString();
    ByteString source = emptyByteString();
    GetFileInfoRequestProto decoded = GetFileInfoRequestProto_init_default;
    decoded.src = collectTo(&source);
    pb_istream_t stream = streamOf(bytes);
    ASSERT_TRUE(pb_decode(&stream, GetFileInfoRequestProto_fields, &decoded));
    EXPECT_EQ("the second", text(source));
}

TEST(PbText, DoesNotReadBehindAFieldThatClaimsMoreThanThereIs)
{
    const std::string bytes = std::string("\x0A\x7F", 2) + "short";
    ByteString source = emptyByteString();
    GetFileInfoRequestProto decoded = GetFileInfoRequestProto_init_default;
    decoded.src = collectTo(&source);
    pb_istream_t stream = streamOf(bytes);
    EXPECT_FALSE(pb_decode(&stream, GetFileInfoRequestProto_fields, &decoded));
    EXPECT_EQ("", text(source));
}

bool collectPerm(pb_istream_t *stream, const pb_field_t *, void **argument)
{
    HdfsFileStatusProto status = HdfsFileStatusProto_init_default;
    if (!pb_decode(stream, HdfsFileStatusProto_fields, &status))
        return false;
    static_cast<std::vector<std::uint32_t> *>(*argument)->push_back(status.permission.perm);
    return true;
}

oracle::HdfsFileStatusProto statusWithPermission(std::uint32_t permission)
{
    oracle::HdfsFileStatusProto status;
    status.set_filetype(oracle::HdfsFileStatusProto::IS_FILE);
    status.set_path("x");
    status.set_length(1);
    status.mutable_permission()->set_perm(permission);
    status.set_owner("o");
    status.set_group("g");
    status.set_modification_time(1);
    status.set_access_time(2);
    return status;
}

TEST(PbText, HandsEachNestedMessageToTheCallback)
{
    oracle::DirectoryListingProto listing;
    for (std::uint32_t permission : {0644u, 0755u, 01777u})
        *listing.add_partiallisting() = statusWithPermission(permission);
    listing.set_remainingentries(0);
    const std::string bytes = listing.SerializeAsString();
    std::vector<std::uint32_t> permissions;
    DirectoryListingProto decoded = DirectoryListingProto_init_default;
    decoded.partialListing = decodeEach(collectPerm, &permissions);
    pb_istream_t stream = streamOf(bytes);
    ASSERT_TRUE(pb_decode(&stream, DirectoryListingProto_fields, &decoded));
    EXPECT_EQ((std::vector<std::uint32_t>{0644, 0755, 01777}), permissions);
}

TEST(Schemas, LeaveOutTheLastBlockLengthOfAnFsyncThatHasNone)
{
    FsyncRequestProto request = FsyncRequestProto_init_default;
    request.src = sendCString("/file");
    request.client = sendCString("client");
    oracle::FsyncRequestProto expected;
    expected.set_src("/file");
    expected.set_client("client");
    const std::string bytes = encode(FsyncRequestProto_fields, request);
    EXPECT_EQ(expected.SerializeAsString(), bytes);
    oracle::FsyncRequestProto received;
    ASSERT_TRUE(received.ParseFromString(bytes));
    EXPECT_FALSE(received.has_lastblocklength());
    EXPECT_EQ(-1, received.lastblocklength());
}

TEST(Schemas, HaveTheDefaultsOfAFileStatus)
{
    const std::string bytes = statusWithPermission(0644).SerializeAsString();
    HdfsFileStatusProto status = HdfsFileStatusProto_init_default;
    pb_istream_t stream = streamOf(bytes);
    ASSERT_TRUE(pb_decode(&stream, HdfsFileStatusProto_fields, &status));
    EXPECT_EQ(-1, status.childrenNum);
    EXPECT_EQ(0u, status.block_replication);
    EXPECT_EQ(0u, status.blocksize);
    EXPECT_EQ(0u, status.fileId);
}

TEST(Schemas, HaveTheDefaultsOfAResponseHeader)
{
    oracle::RpcResponseHeaderProto header;
    header.set_callid(3);
    header.set_status(oracle::RpcResponseHeaderProto::SUCCESS);
    const std::string bytes = header.SerializeAsString();
    RpcResponseHeaderProto decoded = RpcResponseHeaderProto_init_default;
    pb_istream_t stream = streamOf(bytes);
    ASSERT_TRUE(pb_decode(&stream, RpcResponseHeaderProto_fields, &decoded));
    EXPECT_EQ(-1, decoded.retryCount);
    EXPECT_EQ(3u, decoded.callId);
}

// Requests of the operations that write files; their layout is fixed with the others.
TEST(Schemas, WriteCreateAddBlockAbandonAndCompleteAsTheOracleDoes)
{
    CreateRequestProto create = CreateRequestProto_init_default;
    create.src = sendCString("/f");
    create.masked.perm = 0644;
    create.clientName = sendCString("client");
    create.createFlag = 3;
    create.createParent = true;
    create.replication = 2;
    create.blockSize = std::uint64_t(5) << 32;
    oracle::CreateRequestProto expectedCreate;
    expectedCreate.set_src("/f");
    expectedCreate.mutable_masked()->set_perm(0644);
    expectedCreate.set_clientname("client");
    expectedCreate.set_createflag(3);
    expectedCreate.set_createparent(true);
    expectedCreate.set_replication(2);
    expectedCreate.set_blocksize(std::uint64_t(5) << 32);
    EXPECT_EQ(expectedCreate.SerializeAsString(), encode(CreateRequestProto_fields, create));

    AddBlockRequestProto addBlock = AddBlockRequestProto_init_default;
    addBlock.src = sendCString("/f");
    addBlock.clientName = sendCString("client");
    addBlock.has_previous = true;
    addBlock.previous.poolId = sendCString("BP-1");
    addBlock.previous.blockId = 7;
    addBlock.previous.generationStamp = 8;
    addBlock.previous.has_numBytes = true;
    addBlock.previous.numBytes = 9;
    addBlock.has_fileId = true;
    addBlock.fileId = 16390;
    oracle::AddBlockRequestProto expectedAddBlock;
    expectedAddBlock.set_src("/f");
    expectedAddBlock.set_clientname("client");
    expectedAddBlock.mutable_previous()->set_poolid("BP-1");
    expectedAddBlock.mutable_previous()->set_blockid(7);
    expectedAddBlock.mutable_previous()->set_generationstamp(8);
    expectedAddBlock.mutable_previous()->set_numbytes(9);
    expectedAddBlock.set_fileid(16390);
    EXPECT_EQ(expectedAddBlock.SerializeAsString(), encode(AddBlockRequestProto_fields, addBlock));

    AbandonBlockRequestProto abandon = AbandonBlockRequestProto_init_default;
    abandon.b.poolId = sendCString("BP-1");
    abandon.b.blockId = 0x8000000000000001;
    abandon.b.generationStamp = 8;
    abandon.src = sendCString("/f");
    abandon.holder = sendCString("client");
    oracle::AbandonBlockRequestProto expectedAbandon;
    expectedAbandon.mutable_b()->set_poolid("BP-1");
    expectedAbandon.mutable_b()->set_blockid(0x8000000000000001);
    expectedAbandon.mutable_b()->set_generationstamp(8);
    expectedAbandon.set_src("/f");
    expectedAbandon.set_holder("client");
    EXPECT_EQ(expectedAbandon.SerializeAsString(), encode(AbandonBlockRequestProto_fields, abandon));

    CompleteRequestProto complete = CompleteRequestProto_init_default;
    complete.src = sendCString("/f");
    complete.clientName = sendCString("client");
    oracle::CompleteRequestProto expectedComplete;
    expectedComplete.set_src("/f");
    expectedComplete.set_clientname("client");
    EXPECT_EQ(expectedComplete.SerializeAsString(), encode(CompleteRequestProto_fields, complete));
}

} // namespace

TEST(PbText, ANumberWhereATextIsExpectedIsRefusedAndLeavesNoView)
{
    // Field 4 (exceptionClassName) of a response header as a varint: nanopb offers it to the text's callback.
    const std::string bytes("\x20\x05", 2);
    ByteString view = emptyByteString();
    RpcResponseHeaderProto header = RpcResponseHeaderProto_init_default;
    header.exceptionClassName = collectTo(&view);
    pb_istream_t stream = memoryStream(bytes.data(), bytes.size());
    EXPECT_FALSE(pb_decode_noinit(&stream, RpcResponseHeaderProto_fields, &header));
    EXPECT_EQ(0u, view.size);
}
