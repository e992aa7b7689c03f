#include "rpc/ClientProtocol.h"

#include "testing/LogCapture.h"
#include "testing/NamespaceMessages.h"
#include "testing/ScriptedNameNode.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>

namespace oracle = hadoop::oracle;

namespace {

const char kNotConnected[] = "Not connected any more to NameNode";
const char kSendFailed[] = "TCPIP send failed";
const char kReceiveFailed[] = "TCPIP received failed";
const char kMissingField[] = "missing required field";

std::string text(const ByteString &bytes)
{
    return std::string(bytes.data, bytes.size);
}

std::vector<std::string> names(const HdfsFileStatus *head)
{
    std::vector<std::string> names;
    for (; head; head = head->next)
        names.push_back(text(head->path));
    return names;
}

class ClientProtocolTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false,
                                        false, 0, 0));
    }
    ~ClientProtocolTest() override { ClientProtocol::freeListing(records); }

    HdfsFileStatus *getListing(const QByteArray &path)
    {
        ClientProtocol::freeListing(records);
        count = 4711;
        records = ClientProtocol::getListing(&connection, path, &count);
        return records;
    }

    HdfsFileStatus *fileInfo(const QByteArray &path)
    {
        ClientProtocol::freeListing(records);
        failed = false;
        records = ClientProtocol::fileInfo(&connection, path, &failed);
        return records;
    }

    std::int32_t fileExists(const QByteArray &path)
    {
        exists = true;
        isFile = false;
        return ClientProtocol::fileExists(&connection, path, &exists, &isFile);
    }

    void answerWithPage(const std::vector<std::string> &entries, std::uint32_t remaining)
    {
        nameNode.answer("getListing", listingPage(entries, remaining));
    }

    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
    HdfsFileStatus *records = nullptr;
    std::int32_t count = 4711;
    bool failed = false;
    bool exists = false;
    bool isFile = false;
};

// --- getListing ---

TEST_F(ClientProtocolTest, AListingHasTheEntriesInTheNameNodesOrder)
{
    answerWithPage({"b", "a", "\xe6\xb1\x89 \xc3\xbc", std::string(255, 'n')}, 0);
    ASSERT_TRUE(getListing("/some/directory"));
    EXPECT_EQ((std::vector<std::string>{"b", "a", "\xe6\xb1\x89 \xc3\xbc", std::string(255, 'n')}), names(records));
    EXPECT_EQ(4, count);
    ASSERT_EQ(1u, nameNode.calls().size());
    const auto request = nameNode.calls()[0].as<oracle::GetListingRequestProto>();
    EXPECT_EQ("/some/directory", request.src());
    EXPECT_EQ("", request.startafter());
    EXPECT_TRUE(request.has_startafter());
    EXPECT_TRUE(request.has_needlocation());
    EXPECT_FALSE(request.needlocation());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, AListingOfSeveralPagesGoesOnBehindTheLastName)
{
    answerWithPage({"a", "b"}, 1000);
    answerWithPage({"c"}, 4);
    answerWithPage({"d", "e", "f", "g"}, 0);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c", "d", "e", "f", "g"}), names(records));
    EXPECT_EQ(7, count);
    const std::vector<NameNodeCall> calls = nameNode.calls();
    ASSERT_EQ(3u, calls.size());
    const char *const startAfter[] = {"", "b", "c"};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(static_cast<int>(i), calls[i].callId);
        EXPECT_EQ("/d", calls[i].as<oracle::GetListingRequestProto>().src());
        EXPECT_EQ(startAfter[i], calls[i].as<oracle::GetListingRequestProto>().startafter());
    }
}

TEST_F(ClientProtocolTest, AListingOfThirtyFiveHundredEntriesIsComplete)
{
    std::vector<std::string> all;
    for (int i = 0; i < 3500; ++i)
        all.push_back("entry-" + std::to_string(10000 + i));
    nameNode.respond("getListing", [all](ScriptedConnection &peer, const NameNodeCall &call) {
        const std::string after = call.as<oracle::GetListingRequestProto>().startafter();
        const auto begin = std::upper_bound(all.begin(), all.end(), after);
        const auto end = begin + std::min<std::ptrdiff_t>(1000, all.end() - begin);
        peer.send(ScriptedNameNode::frame(
            call, listingPage(std::vector<std::string>(begin, end), static_cast<std::uint32_t>(all.end() - end))));
    });
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(all, names(records));
    EXPECT_EQ(3500, count);
    EXPECT_EQ(4u, nameNode.calls().size());
}

TEST_F(ClientProtocolTest, AnEmptyDirectoryIsNullWithCountZero)
{
    answerWithPage({}, 0);
    EXPECT_EQ(nullptr, getListing("/empty"));
    EXPECT_EQ(0, count);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, AMissingDirectoryLooksLikeAnEmptyOne)
{
    nameNode.answer("getListing", oracle::GetListingResponseProto());
    EXPECT_EQ(nullptr, getListing("/missing"));
    EXPECT_EQ(0, count);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, TheListingOfAFileIsOneEntryWithAnEmptyName)
{
    answerWithPage({""}, 0);
    ASSERT_TRUE(getListing("/file"));
    EXPECT_EQ(1, count);
    EXPECT_EQ(0u, records->path.size);
    EXPECT_EQ(static_cast<std::uint32_t>('F'), records->kind);
}

TEST_F(ClientProtocolTest, AListingWithoutACountIsTheSame)
{
    answerWithPage({"a"}, 0);
    records = ClientProtocol::getListing(&connection, "/d", nullptr);
    EXPECT_EQ(std::vector<std::string>{"a"}, names(records));
    connection.disconnect();
    EXPECT_EQ(nullptr, ClientProtocol::getListing(&connection, "/d", nullptr));
}

TEST_F(ClientProtocolTest, AListingSkipsWhatNewerServersAddToItsEntries)
{
    oracle::GetListingResponseProto page = listingPage({"a", "b"}, 0);
    for (oracle::HdfsFileStatusProto &status : *page.mutable_dirlist()->mutable_partiallisting())
        addNewerFields(&status);
    nameNode.answer("getListing", page);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ((std::vector<std::string>{"a", "b"}), names(records));
    EXPECT_EQ(0640, records->permission);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, APageWithoutEntriesEndsAListingThatClaimsMore)
{
    answerWithPage({}, 17);
    EXPECT_EQ(nullptr, getListing("/d"));
    EXPECT_EQ(0, count);
    nameNode.forget("getListing");
    answerWithPage({"a"}, 17);
    answerWithPage({}, 17);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(1, count);
    EXPECT_EQ(3u, nameNode.calls().size());
}

TEST_F(ClientProtocolTest, APageThatLeadsNowhereEndsAListing)
{
    // The last name of the first page comes again for ever; and a last entry without a name.
    answerWithPage({"a"}, 1);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(2, count);
    EXPECT_EQ(2u, nameNode.calls().size());
    nameNode.forget("getListing");
    answerWithPage({"a", ""}, 1);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(2, count);
    EXPECT_EQ(3u, nameNode.calls().size());
    // Names that go back and forth.
    nameNode.forget("getListing");
    answerWithPage({"a", "b"}, 2);
    answerWithPage({"a"}, 2);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(3, count);
    EXPECT_EQ(5u, nameNode.calls().size());
    // The order is that of unsigned bytes.
    nameNode.forget("getListing");
    answerWithPage({"z"}, 2);
    answerWithPage({"z\x01"}, 2);
    answerWithPage({"\xc3\xa4"}, 0);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(3, count);
    EXPECT_EQ(8u, nameNode.calls().size());
    // Behind a name that is empty it would start all over.
    nameNode.forget("getListing");
    answerWithPage({"a"}, 2);
    answerWithPage({"b", ""}, 1);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(3, count);
    EXPECT_EQ(10u, nameNode.calls().size());
}

TEST_F(ClientProtocolTest, AListingThatFailsOnALaterPageDropsWhatCameBefore)
{
    answerWithPage({"a", "b"}, 5);
    nameNode.answerException("getListing", "java.io.IOException", "gone");
    EXPECT_EQ(nullptr, getListing("/d"));
    EXPECT_EQ(-1, count);
    EXPECT_TRUE(log.holds({"ExceptionClassName=java.io.IOException\nerrorMsg=gone"}));
}

TEST_F(ClientProtocolTest, AListingKeepsTheEntriesInFrontOfOneThatDoesNotDecode)
{
    oracle::GetListingResponseProto page = listingPage({"a", "b", "c"}, 0);
    page.mutable_dirlist()->mutable_partiallisting(1)->clear_length();
    nameNode.answer("getListing", page);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(std::vector<std::string>{"a"}, names(records));
    EXPECT_EQ(1, count);
    EXPECT_TRUE(log.holds({std::string("WARNING: List Decoding failed: ") + kMissingField}));
}

TEST_F(ClientProtocolTest, AListingWhoseNumberOfRemainingEntriesIsMissingEndsWithWhatItHas)
{
    oracle::GetListingResponseProto page = listingPage({"a"}, 0);
    page.mutable_dirlist()->clear_remainingentries();
    nameNode.answer("getListing", page);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(1, count);
    EXPECT_TRUE(log.holds({std::string("WARNING: List Decoding failed: ") + kMissingField}));
}

TEST_F(ClientProtocolTest, NamesWithASlashOrANulAreTakenAsTheyAre)
{
    answerWithPage({"a/b", std::string("n\0l", 3), std::string(70000, 'l')}, 0);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ((std::vector<std::string>{"a/b", std::string("n\0l", 3), std::string(70000, 'l')}), names(records));
}

TEST_F(ClientProtocolTest, AListingGivesItsBufferBack)
{
    answerWithPage(std::vector<std::string>(2000, "a name of some length"), 0);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(2000, count);
    EXPECT_LE(connection.responseBuffer.capacity(), 16 * 1024);
}

TEST_F(ClientProtocolTest, AListingTakesOneBlockForEachEntry)
{
    answerWithPage(std::vector<std::string>(500, "name"), 0);
    SystemCallFaults faults;
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(500, faults.count(SystemCall::Allocate));
}

TEST_F(ClientProtocolTest, AListingWithoutMemoryForAnEntryEndsInFrontOfIt)
{
    answerWithPage({"a", "b", "c"}, 0);
    SystemCallFaults faults;
    faults.fail(SystemCall::Allocate, 1, 0);
    ASSERT_TRUE(getListing("/d"));
    EXPECT_EQ(std::vector<std::string>{"a"}, names(records));
    EXPECT_TRUE(log.holds({"WARNING: List Decoding failed: out of memory"}));
}

TEST_F(ClientProtocolTest, TheLongestListingRequestHasFiveHundredBytes)
{
    // src: tag, length of two bytes, path; startAfter: tag, length; needLocation: tag, value.
    nameNode.answer("getListing", oracle::GetListingResponseProto());
    EXPECT_EQ(nullptr, getListing(QByteArray(493, 'p')));
    EXPECT_EQ(0, count);
    EXPECT_EQ(500u, nameNode.calls().at(0).request.size());
    EXPECT_EQ(nullptr, getListing(QByteArray(494, 'p')));
    EXPECT_EQ(-1, count);
    EXPECT_TRUE(log.holds({"Encoding failed: stream full"}));
    EXPECT_EQ(1u, nameNode.calls().size());
}

// --- fileExists and fileInfo ---

TEST_F(ClientProtocolTest, AFileExistsAndIsOne)
{
    nameNode.answer("getFileInfo", fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE));
    EXPECT_EQ(0, fileExists("/a/file"));
    EXPECT_TRUE(exists);
    EXPECT_TRUE(isFile);
    EXPECT_EQ("/a/file", nameNode.calls().at(0).as<oracle::GetFileInfoRequestProto>().src());
}

TEST_F(ClientProtocolTest, ADirectoryAndALinkExistAndAreNoFiles)
{
    for (auto type : {oracle::HdfsFileStatusProto::IS_DIR, oracle::HdfsFileStatusProto::IS_SYMLINK,
                      oracle::HdfsFileStatusProto::TYPE_OF_A_NEWER_SERVER}) {
        nameNode.forget("getFileInfo");
        nameNode.answer("getFileInfo", fileInfoOf(type));
        isFile = true;
        exists = false;
        EXPECT_EQ(0, ClientProtocol::fileExists(&connection, "/x", &exists, &isFile));
        EXPECT_TRUE(exists);
        EXPECT_FALSE(isFile);
    }
}

TEST_F(ClientProtocolTest, AMissingPathDoesNotExist)
{
    nameNode.answer("getFileInfo", oracle::GetFileInfoResponseProto());
    isFile = true;
    exists = true;
    EXPECT_EQ(0, ClientProtocol::fileExists(&connection, "/missing", &exists, &isFile));
    EXPECT_FALSE(exists);
    EXPECT_FALSE(isFile);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, AFailedQuestionLeavesExistsFalseAndTheOtherUntouched)
{
    nameNode.answerException("getFileInfo", "C", "m");
    isFile = true;
    exists = true;
    EXPECT_EQ(1, ClientProtocol::fileExists(&connection, "/x", &exists, &isFile));
    EXPECT_FALSE(exists);
    EXPECT_TRUE(isFile);
    EXPECT_TRUE(log.takes({"ExceptionClassName=C\nerrorMsg=m"}));
}

TEST_F(ClientProtocolTest, AnAnswerThatDoesNotDecodeIsNoAnswerToFileExists)
{
    oracle::GetFileInfoResponseProto response = fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE);
    response.mutable_fs()->clear_filetype();
    nameNode.answer("getFileInfo", response);
    EXPECT_EQ(2, fileExists("/x"));
    EXPECT_FALSE(exists);
    EXPECT_TRUE(log.holds({std::string("WARNING: fileExists Decoding failed: ") + kMissingField}));
}

TEST_F(ClientProtocolTest, FileInfoGivesOneRecord)
{
    nameNode.answer("getFileInfo", fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE));
    ASSERT_TRUE(fileInfo("/a/file"));
    EXPECT_FALSE(failed);
    EXPECT_EQ(static_cast<std::uint32_t>('F'), records->kind);
    EXPECT_EQ("owner", text(records->owner));
    EXPECT_EQ(nullptr, records->next);
    EXPECT_EQ("/a/file", nameNode.calls().at(0).as<oracle::GetFileInfoRequestProto>().src());
}

TEST_F(ClientProtocolTest, FileInfoMayBeAskedWithoutAFlag)
{
    nameNode.answer("getFileInfo", fileInfoOf(oracle::HdfsFileStatusProto::IS_DIR));
    records = ClientProtocol::fileInfo(&connection, "/d", nullptr);
    ASSERT_TRUE(records);
    EXPECT_EQ(static_cast<std::uint32_t>('D'), records->kind);
    connection.disconnect();
    EXPECT_EQ(nullptr, ClientProtocol::fileInfo(&connection, "/d", nullptr));
}

TEST_F(ClientProtocolTest, FileInfoOfAMissingPathIsNullAndNoFailure)
{
    nameNode.answer("getFileInfo", oracle::GetFileInfoResponseProto());
    failed = true;
    EXPECT_EQ(nullptr, ClientProtocol::fileInfo(&connection, "/missing", &failed));
    EXPECT_FALSE(failed);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, FileInfoFailsWithTheCall)
{
    nameNode.answerException("getFileInfo", "C", "m");
    EXPECT_EQ(nullptr, fileInfo("/x"));
    EXPECT_TRUE(failed);
    EXPECT_TRUE(log.holds({"ExceptionClassName=C\nerrorMsg=m"}));
}

TEST_F(ClientProtocolTest, FileInfoFailsForAnAnswerThatDoesNotDecode)
{
    oracle::GetFileInfoResponseProto response = fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE);
    response.mutable_fs()->clear_access_time();
    nameNode.answer("getFileInfo", response);
    EXPECT_EQ(nullptr, fileInfo("/x"));
    EXPECT_TRUE(failed);
    EXPECT_TRUE(log.holds({std::string("WARNING: FileInfo Decoding failed: ") + kMissingField}));
}

TEST_F(ClientProtocolTest, FileInfoFailsSilentlyWithoutMemory)
{
    nameNode.answer("getFileInfo", fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE));
    SystemCallFaults faults;
    faults.fail(SystemCall::Allocate, 0, 0);
    EXPECT_EQ(nullptr, fileInfo("/x"));
    EXPECT_TRUE(failed);
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, FileInfoFindsItsRecordBehindFieldsThatItDoesNotKnow)
{
    // A field 15 of each kind in front of the record.
    const std::string unknown = std::string("\x78\x05", 2) + std::string("\x7A\x03xyz", 5) +
                                std::string("\x7D\x01\x02\x03\x04", 5) +
                                std::string("\x79\x01\x02\x03\x04\x05\x06\x07\x08", 9);
    const std::string message =
        unknown + fileInfoOf(oracle::HdfsFileStatusProto::IS_FILE).SerializeAsString() + unknown;
    nameNode.respond("getFileInfo", [message](ScriptedConnection &peer, const NameNodeCall &call) {
        peer.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), lengthDelimited(message)));
    });
    ASSERT_TRUE(fileInfo("/x"));
    EXPECT_EQ("owner", text(records->owner));
    EXPECT_EQ(0, fileExists("/x"));
    EXPECT_TRUE(exists);
}

TEST_F(ClientProtocolTest, OnADeadConnectionTheAnswerIsAwaitedAllTheSame)
{
    connection.disconnect();
    EXPECT_EQ(1, fileExists("/x"));
    EXPECT_FALSE(exists);
    EXPECT_TRUE(log.takes({kNotConnected, kReceiveFailed}));
    EXPECT_EQ(nullptr, fileInfo("/x"));
    EXPECT_TRUE(failed);
    EXPECT_TRUE(log.takes({kNotConnected, kReceiveFailed}));
    EXPECT_TRUE(nameNode.calls().empty());
    // Nothing was called: no id is used up.
    EXPECT_EQ(0, connection.nextCallId);
}

// --- the operations with a status ---

TEST_F(ClientProtocolTest, MkdirsSendsThePermissionAndTheFlagAsGiven)
{
    oracle::MkdirsResponseProto response;
    response.set_result(true);
    nameNode.answer("mkdirs", response);
    EXPECT_EQ(0, ClientProtocol::mkdirs(&connection, "/a/b", 0755, true));
    EXPECT_EQ(0, ClientProtocol::mkdirs(&connection, "/a/b", 0xFFFFFFFF, false));
    const auto first = nameNode.calls().at(0).as<oracle::MkdirsRequestProto>();
    EXPECT_EQ("/a/b", first.src());
    EXPECT_EQ(0755u, first.masked().perm());
    EXPECT_TRUE(first.createparent());
    const auto second = nameNode.calls().at(1).as<oracle::MkdirsRequestProto>();
    EXPECT_EQ(0xFFFFFFFFu, second.masked().perm());
    EXPECT_TRUE(second.has_createparent());
    EXPECT_FALSE(second.createparent());
}

TEST_F(ClientProtocolTest, DeleteSendsTheFlagAsGiven)
{
    oracle::DeleteResponseProto response;
    response.set_result(true);
    nameNode.answer("delete", response);
    EXPECT_EQ(0, ClientProtocol::delete_(&connection, "/a", true));
    EXPECT_EQ(0, ClientProtocol::delete_(&connection, "/b", false));
    const auto first = nameNode.calls().at(0).as<oracle::DeleteRequestProto>();
    EXPECT_EQ("/a", first.src());
    EXPECT_TRUE(first.recursive());
    EXPECT_FALSE(nameNode.calls().at(1).as<oracle::DeleteRequestProto>().recursive());
}

TEST_F(ClientProtocolTest, DeleteOfAMissingPathIsRefused)
{
    oracle::DeleteResponseProto response;
    response.set_result(false);
    nameNode.answer("delete", response);
    EXPECT_EQ(1, ClientProtocol::delete_(&connection, "/missing", true));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, RenameSendsBothPathsAndSucceedsWhateverTheResultIs)
{
    for (bool result : {true, false}) {
        oracle::RenameResponseProto response;
        response.set_result(result);
        nameNode.forget("rename");
        nameNode.answer("rename", response);
        EXPECT_EQ(0, ClientProtocol::rename(&connection, "/from", "/to"));
    }
    const auto request = nameNode.calls().at(0).as<oracle::RenameRequestProto>();
    EXPECT_EQ("/from", request.src());
    EXPECT_EQ("/to", request.dst());
}

TEST_F(ClientProtocolTest, RenameDoesNotLookAtItsAnswer)
{
    nameNode.respond("rename", [](ScriptedConnection &peer, const NameNodeCall &call) {
        peer.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call), std::string(20, '\xFF')));
    });
    EXPECT_EQ(0, ClientProtocol::rename(&connection, "/from", "/to"));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, SetReplicationWidensItsNumberWithItsSign)
{
    oracle::SetReplicationResponseProto response;
    response.set_result(true);
    nameNode.answer("setReplication", response);
    EXPECT_EQ(0, ClientProtocol::setReplication(&connection, "/f", 3));
    EXPECT_EQ(0, ClientProtocol::setReplication(&connection, "/f", 32767));
    EXPECT_EQ(0, ClientProtocol::setReplication(&connection, "/f", -1));
    EXPECT_EQ("/f", nameNode.calls().at(0).as<oracle::SetReplicationRequestProto>().src());
    EXPECT_EQ(3u, nameNode.calls().at(0).as<oracle::SetReplicationRequestProto>().replication());
    EXPECT_EQ(32767u, nameNode.calls().at(1).as<oracle::SetReplicationRequestProto>().replication());
    EXPECT_EQ(0xFFFFFFFFu, nameNode.calls().at(2).as<oracle::SetReplicationRequestProto>().replication());
}

TEST_F(ClientProtocolTest, SetPermissionThatSucceedsEndsInOne)
{
    nameNode.answer("setPermission", oracle::SetPermissionResponseProto());
    EXPECT_EQ(1, ClientProtocol::setPermission(&connection, "/f", 01750));
    const auto request = nameNode.calls().at(0).as<oracle::SetPermissionRequestProto>();
    EXPECT_EQ("/f", request.src());
    EXPECT_EQ(01750u, request.permission().perm());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, SetOwnerThatSucceedsEndsInOne)
{
    nameNode.answer("setOwner", oracle::SetOwnerResponseProto());
    EXPECT_EQ(1, ClientProtocol::setOwner(&connection, "/f", "J\xc3\xbcrgen", "staff"));
    const auto request = nameNode.calls().at(0).as<oracle::SetOwnerRequestProto>();
    EXPECT_EQ("/f", request.src());
    EXPECT_EQ("J\xc3\xbcrgen", request.username());
    EXPECT_EQ("staff", request.groupname());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(ClientProtocolTest, SetOwnerDoesNotSendAnEmptyName)
{
    nameNode.answer("setOwner", oracle::SetOwnerResponseProto());
    ClientProtocol::setOwner(&connection, "/f", "", "staff");
    ClientProtocol::setOwner(&connection, "/f", "someone", QByteArray());
    ClientProtocol::setOwner(&connection, "/f", "", "");
    const std::vector<NameNodeCall> calls = nameNode.calls();
    ASSERT_EQ(3u, calls.size());
    EXPECT_FALSE(calls[0].as<oracle::SetOwnerRequestProto>().has_username());
    EXPECT_EQ("staff", calls[0].as<oracle::SetOwnerRequestProto>().groupname());
    EXPECT_EQ("someone", calls[1].as<oracle::SetOwnerRequestProto>().username());
    EXPECT_FALSE(calls[1].as<oracle::SetOwnerRequestProto>().has_groupname());
    EXPECT_FALSE(calls[2].as<oracle::SetOwnerRequestProto>().has_username());
    EXPECT_FALSE(calls[2].as<oracle::SetOwnerRequestProto>().has_groupname());
}

TEST_F(ClientProtocolTest, GetFsStatsFillsTheSixCountersInOrder)
{
    oracle::GetFsStatsResponseProto response = fsStats();
    response.set_capacity(std::numeric_limits<std::uint64_t>::max());
    response.set_missing_repl_one_blocks(77);
    response.set_blocks_in_future(88);
    response.set_pending_deletion_blocks(99);
    nameNode.answer("getFsStats", response);
    std::uint64_t counters[ClientProtocol::kFsStatsCount + 1] = {9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(0, ClientProtocol::getFsStats(&connection, counters));
    EXPECT_EQ(std::numeric_limits<std::uint64_t>::max(), counters[0]);
    for (std::uint64_t i = 1; i < 6; ++i)
        EXPECT_EQ(i + 1, counters[i]);
    EXPECT_EQ(9u, counters[6]);
    EXPECT_EQ("", nameNode.calls().at(0).request);
}

TEST_F(ClientProtocolTest, GetFsStatsThatFailsLeavesTheCountersAlone)
{
    std::uint64_t counters[ClientProtocol::kFsStatsCount] = {9, 9, 9, 9, 9, 9};
    nameNode.answerException("getFsStats", "C", "m");
    oracle::GetFsStatsResponseProto response = fsStats();
    response.clear_missing_blocks();
    nameNode.answer("getFsStats", response);
    EXPECT_EQ(5, ClientProtocol::getFsStats(&connection, counters));
    EXPECT_EQ(1, ClientProtocol::getFsStats(&connection, counters));
    for (std::uint64_t counter : counters)
        EXPECT_EQ(9u, counter);
}

TEST_F(ClientProtocolTest, FreeListingDoesNothingForNull)
{
    ClientProtocol::freeListing(nullptr);
}

// --- every operation that returns a status, row by row ---

struct Operation {
    const char *method;
    std::size_t limit;   ///< most bytes of its request, 0: it has no text to fill it with
    const char *warning; ///< what a response that does not decode is logged as; null: it is not decoded
    bool answerHasAResult;
    bool onlyZeroAndOne; ///< rename
    std::function<std::int32_t(NameNodeConnection *, const QByteArray &)> call;
};

void PrintTo(const Operation &operation, std::ostream *out)
{
    *out << operation.method;
}

std::vector<Operation> operations()
{
    typedef NameNodeConnection Connection;
    return {
        {"mkdirs", 1000, "WARNING: mkdir Decoding failed: ", true, false,
         [](Connection *c, const QByteArray &path) { return ClientProtocol::mkdirs(c, path, 0755, true); }},
        {"delete", 1000, "WARNING: delete Decoding failed: ", true, false,
         [](Connection *c, const QByteArray &path) { return ClientProtocol::delete_(c, path, true); }},
        {"rename", 500, nullptr, true, true,
         [](Connection *c, const QByteArray &path) { return ClientProtocol::rename(c, path, "/to"); }},
        {"setReplication", 1000, "WARNING: replicationResponse Decoding failed: ", true, false,
         [](Connection *c, const QByteArray &path) { return ClientProtocol::setReplication(c, path, 2); }},
        {"setPermission", 1000, "WARNING: chmod Decoding failed: ", false, false,
         [](Connection *c, const QByteArray &path) { return ClientProtocol::setPermission(c, path, 0644); }},
        {"setOwner", 1000, "WARNING: chown Decoding failed: ", false, false,
         [](Connection *c, const QByteArray &path) { return ClientProtocol::setOwner(c, path, "user", "group"); }},
        {"getFsStats", 0, "WARNING: fsStats Decoding failed: ", false, false,
         [](Connection *c, const QByteArray &) {
             std::uint64_t counters[ClientProtocol::kFsStatsCount];
             return ClientProtocol::getFsStats(c, counters);
         }},
        {"getFileInfo", 1000, "WARNING: fileExists Decoding failed: ", false, true,
         [](Connection *c, const QByteArray &path) {
             bool exists, isFile;
             return ClientProtocol::fileExists(c, path, &exists, &isFile);
         }},
    };
}

/// Those whose answers say whether it was done.
std::vector<Operation> operationsWithAResult()
{
    std::vector<Operation> chosen;
    for (const Operation &operation : operations()) {
        if (operation.answerHasAResult)
            chosen.push_back(operation);
    }
    return chosen;
}

class StatusOf : public ::testing::TestWithParam<Operation>
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(0, connection.connect("127.0.0.1", static_cast<std::uint32_t>(nameNode.port()), "tester", 0, false,
                                        false, 0, 0));
    }

    const Operation &operation() const { return GetParam(); }
    std::int32_t call(const QByteArray &path = "/path") { return operation().call(&connection, path); }
    /// `code` of the common table as this operation reports it.
    std::int32_t status(std::int32_t code) const { return operation().onlyZeroAndOne ? 1 : code; }
    bool isFileExists() const { return std::string(operation().method) == "getFileInfo"; }

    LogCapture log;
    ScriptedNameNode nameNode;
    NameNodeConnection connection;
};

TEST_P(StatusOf, ACallOnADeadConnectionIsNotConnected)
{
    connection.disconnect();
    EXPECT_EQ(status(2), call());
    if (isFileExists())
        EXPECT_TRUE(log.holds({kNotConnected, kReceiveFailed}));
    else
        EXPECT_TRUE(log.holds({kNotConnected}));
    EXPECT_TRUE(nameNode.calls().empty());
}

TEST_P(StatusOf, ACallWhoseHeadersCannotBeWrittenIsNotStarted)
{
    // A client identifier that fills the header.
    connection.clientId.reset(static_cast<char *>(std::calloc(1, 200)));
    std::memset(connection.clientId.get(), 'c', 150);
    EXPECT_EQ(status(3), call());
    EXPECT_TRUE(log.holds({"Encoding failed: stream full"}));
    EXPECT_EQ(1, connection.nextCallId);
}

TEST_P(StatusOf, ARequestThatIsTooLongIsNotEncodedAndUsesACallIdUp)
{
    if (operation().limit == 0) {
        // The request has no field: it always fits.
        nameNode.answer(operation().method, fsStats());
        EXPECT_EQ(0, call(QByteArray(2000, 'p')));
        return;
    }
    SystemCallFaults faults;
    EXPECT_EQ(status(4), call(QByteArray(static_cast<int>(operation().limit), 'p')));
    EXPECT_TRUE(log.takes({"Encoding failed: stream full"}));
    EXPECT_EQ(0, faults.count(SystemCall::Send));
    EXPECT_EQ(0, faults.count(SystemCall::Receive));
    EXPECT_EQ(1, connection.nextCallId);
    nameNode.answerException(operation().method, "C", "m");
    EXPECT_EQ(status(5), call());
    EXPECT_EQ(1, nameNode.calls().at(0).callId);
}

TEST_P(StatusOf, TheLongestRequestFillsItsLimit)
{
    if (operation().limit == 0)
        nameNode.answer(operation().method, fsStats());
    else
        nameNode.answerException(operation().method, "C", "m");
    int size = static_cast<int>(operation().limit);
    while (call(QByteArray(size, 'p')) == 4 || nameNode.calls().empty())
        --size;
    EXPECT_EQ(operation().limit, nameNode.calls().at(0).request.size());
}

TEST_P(StatusOf, AFailedSendIsFollowedByAFailedReceive)
{
    // The NameNode never hears of the call; it ends the connection when the client waits.
    SystemCallFaults faults;
    faults.fail(SystemCall::Send, 0, ENOBUFS);
    faults.fail(SystemCall::Receive, 0, ECONNRESET);
    EXPECT_EQ(status(5), call());
    EXPECT_TRUE(log.holds({kSendFailed, kReceiveFailed}));
    EXPECT_EQ(1, faults.count(SystemCall::Receive));
}

TEST_P(StatusOf, APartialSendIsAFailedOne)
{
    SystemCallFaults faults;
    faults.limitSend(5);
    faults.fail(SystemCall::Receive, 0, ECONNRESET);
    EXPECT_EQ(status(5), call());
    EXPECT_TRUE(log.holds({kSendFailed, kReceiveFailed}));
    EXPECT_EQ(1, faults.count(SystemCall::Send));
}

TEST_P(StatusOf, ACallWithoutAnAnswerFails)
{
    nameNode.answerClose(operation().method);
    EXPECT_EQ(status(5), call());
    EXPECT_TRUE(log.holds({kReceiveFailed}));
}

TEST_P(StatusOf, ARemoteExceptionFailsTheCallAndNotTheNext)
{
    nameNode.answerException(operation().method, "org.apache.hadoop.ipc.StandbyException", "standby");
    nameNode.answerException(operation().method, "Second", "again");
    EXPECT_EQ(status(5), call());
    EXPECT_TRUE(log.takes({"ExceptionClassName=org.apache.hadoop.ipc.StandbyException\nerrorMsg=standby"}));
    EXPECT_EQ(status(5), call());
    EXPECT_TRUE(log.takes({"ExceptionClassName=Second\nerrorMsg=again"}));
}

class ResultOf : public StatusOf
{
};

TEST_P(ResultOf, ResultFalseIsRefused)
{
    oracle::DeleteResponseProto no;
    no.set_result(false);
    nameNode.answer(operation().method, no);
    EXPECT_EQ(std::string(operation().method) == "rename" ? 0 : 1, call());
    EXPECT_TRUE(log.holds({}));
}

TEST_P(StatusOf, AnAnswerThatDoesNotDecodeIsWarnedAbout)
{
    nameNode.respond(operation().method, [](ScriptedConnection &peer, const NameNodeCall &call) {
        // A field 3 that claims to be longer than the message.
        peer.send(ScriptedNameNode::frame(ScriptedNameNode::successHeader(call),
                                          lengthDelimited(std::string("\x1A\x7F\x01", 3))));
    });
    if (operation().warning) {
        EXPECT_EQ(isFileExists() ? 2 : 1, call());
        ASSERT_EQ(1u, log.lines().size());
        EXPECT_TRUE(log.holds({operation().warning + std::string("*")}));
        EXPECT_GT(log.texts()[0].size(), std::string(operation().warning).size());
    } else {
        EXPECT_EQ(0, call());
        EXPECT_TRUE(log.holds({}));
    }
}

TEST_P(StatusOf, AnEmptyFrameIsAnEmptyMessage)
{
    nameNode.answerEmptyFrame(operation().method);
    const std::int32_t result = call();
    if (operation().answerHasAResult && operation().warning) {
        EXPECT_EQ(1, result);
        EXPECT_TRUE(log.holds({std::string(operation().warning) + kMissingField}));
    } else if (std::string(operation().method) == "getFsStats") {
        EXPECT_EQ(1, result);
        EXPECT_TRUE(log.holds({std::string(operation().warning) + kMissingField}));
    } else if (isFileExists() || !operation().warning) {
        EXPECT_EQ(0, result);
        EXPECT_TRUE(log.holds({}));
    } else {
        EXPECT_EQ(1, result);
        EXPECT_TRUE(log.holds({}));
    }
}

std::string methodName(const ::testing::TestParamInfo<Operation> &info)
{
    return info.param.method;
}

INSTANTIATE_TEST_SUITE_P(Operations, StatusOf, ::testing::ValuesIn(operations()), methodName);
INSTANTIATE_TEST_SUITE_P(Operations, ResultOf, ::testing::ValuesIn(operationsWithAResult()), methodName);

} // namespace
