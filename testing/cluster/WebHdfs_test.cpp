// Reading through the web ports of the real DataNodes: what they answer, and which files they take a name for. Every
// place in a file is what Reading_test.cpp is about.
#include "testing/cluster/RealClusterTest.h"

#include "io/DataNodeSocket.h"
#include "testing/OpenDescriptors.h"
#include "testing/SocketOptions.h"
#include "testing/SystemCallFaults.h"

#include <algorithm>
#include <random>

namespace {

const std::uint32_t kPart = 1000;

class RealWebHdfs : public RealClusterTest
{
protected:
    RealWebHdfs() : m_nextPart(kPart) { connection->useWebHdfs = true; }

    /// A file of `length` bytes in one block with one replica; it holds the pattern from the offset returned on, which
    /// no other file of this test begins with.
    std::int64_t makeFile(const QByteArray &path, std::int64_t length = kPart)
    {
        const std::int64_t offset = m_nextPart;
        m_nextPart += std::max<std::int64_t>(length, kPart);
        cluster.client({"pattern-part", path, QByteArray::number(qint64(offset)), QByteArray::number(qint64(length))});
        return offset;
    }

    /// Where the bytes that a whole file's read gives stand in the pattern: tells which file they come from. -1: the
    /// read failed.
    std::int64_t readPart(HdfsFileReader *reader)
    {
        std::vector<char> buffer(kPart);
        reader->position = 0;
        const std::uint32_t count = reader->read(buffer.data(), kPart, nullptr);
        if (count == kReadFailed)
            return -1;
        EXPECT_EQ(kPart, count);
        for (std::int64_t offset = 0; offset < m_nextPart; ++offset) {
            if (firstDifferenceFromPattern(buffer.data(), kPart, offset) < 0)
                return offset;
        }
        ADD_FAILURE() << "bytes of no file";
        return -2;
    }

    /// The first line of what a DataNode answers to the same request as a read of `length` bytes sends.
    std::string statusLine(const Reader &reader, const std::string &path, std::uint32_t length) const
    {
        const std::string answer = ask(*reader->blocks[0]->firstLocation, path, length);
        return answer.substr(0, answer.find('\r'));
    }

    /// All of a DataNode's answer, up to its end of the connection.
    std::string ask(const DataNodeLocation &node, const std::string &path, std::uint32_t length) const
    {
        const std::string request = "GET /webhdfs/v1" + path + "?op=OPEN&user.name=" + connection->user.toStdString() +
                                    "&namenoderpcaddress=" + connection->host.toStdString() + ":" +
                                    std::to_string(connection->port) + "&length=" + std::to_string(length) +
                                    "&offset=0 HTTP/1.1\r\nUser-Agent: Marrowby\r\nAccept: */*\r\n\r\n";
        TcpSocket socket;
        std::string answer;
        if (socket.connectTo(node.hostName().data, static_cast<std::int32_t>(node.infoPort), 0) == 0 &&
            socket.sendAll(request.data(), static_cast<std::uint32_t>(request.size())) == 0) {
            char byte;
            while (socket.receiveExactly(&byte, 1) == 0)
                answer += byte;
        }
        socket.close();
        return answer;
    }

    std::vector<std::string> refusal(const Reader &reader) const
    {
        return {"Warning WebHDFS: TCPIP received failed (2)", "ERROR WebHDFS: All the data nodes that contains block " +
                                                                  std::to_string(reader->blocks[0]->blockId) +
                                                                  " are down"};
    }

    /// What a read says when a DataNode may take the reader's name for another one.
    static std::string warning(const Reader &reader)
    {
        return "Warning WebHDFS: data nodes may take this name for another one: " + reader->path.toStdString();
    }

private:
    std::int64_t m_nextPart;
};

} // namespace

// Answers.

TEST_F(RealWebHdfs, HeadIsAsLongAsReadsExpectIt)
{
    for (std::uint32_t length : {1, 9, 10, 99, 1000}) {
        const QByteArray path = directory() + "/head" + QByteArray::number(length);
        makeFile(path, length);
        const Reader reader = open(path);
        ASSERT_TRUE(reader != nullptr);
        const std::string answer = ask(*reader->blocks[0]->firstLocation, path.toStdString(), length);
        EXPECT_EQ("HTTP/1.1 200 OK\r\n", answer.substr(0, 17));
        EXPECT_EQ(163 + std::to_string(length).size(), answer.find("\r\n\r\n") + 4) << answer;
        EXPECT_EQ(answer.find("\r\n\r\n") + 4 + length, answer.size());
    }
}

TEST_F(RealWebHdfs, FilesOfFewBytesAreReadWithTheFirstReceiveAlone)
{
    for (std::uint32_t length : {1u, 2u, 9u, 10u, 13u, 14u, 15u, 16u, 17u, 99u, 100u, 101u, 511u, 512u, 513u}) {
        const QByteArray path = directory() + "/few" + QByteArray::number(length);
        const std::int64_t offset = makeFile(path, length);
        const Reader reader = open(path);
        ASSERT_TRUE(reader != nullptr);
        const SystemCallFaults calls;
        std::vector<char> buffer(length);
        ASSERT_EQ(length, reader->read(buffer.data(), length, nullptr));
        EXPECT_EQ(-1, firstDifferenceFromPattern(buffer.data(), length, offset)) << length;
        // Where a receive does not wait for all 180 bytes, another one finds that a shorter answer has ended.
        const std::size_t size = 163 + std::to_string(length).size() + length;
        const bool isOneReceive = waitsForAll() ? size <= 180 : size == 180;
        EXPECT_EQ(isOneReceive ? 1 : 2, std::min(2, calls.count(SystemCall::Receive))) << length;
        // Parts of it, too: each is an answer of its own.
        for (std::uint32_t start = 0; start < std::min(length, 20u); ++start) {
            reader->position = start;
            ASSERT_EQ(length - start, reader->read(buffer.data(), length, nullptr));
            EXPECT_EQ(-1, firstDifferenceFromPattern(buffer.data(), length - start, offset + start)) << length;
        }
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, EmptyFileIsNotAskedFor)
{
    cluster.dfs({"-touchz", directory() + "/empty"});
    const Reader reader = open(directory() + "/empty");
    ASSERT_TRUE(reader != nullptr);
    const SystemCallFaults calls;
    char byte;
    EXPECT_EQ(0u, reader->read(&byte, 1, nullptr));
    EXPECT_EQ(0, calls.count(SystemCall::Connect));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, GivesTheSameBytesAsTheDataTransferProtocol)
{
    const std::int64_t kLength = 3 * kMiB + 700001;
    const Reader reader = open(cluster.patternFile("four-blocks", kLength, FileLayout(kMiB, 3)));
    ASSERT_TRUE(reader != nullptr);
    const std::uint32_t seed = std::random_device()();
    std::mt19937 random(seed);
    for (int i = 0; i < 50; ++i) {
        const std::int64_t offset = std::uniform_int_distribution<std::int64_t>(0, kLength - 1)(random);
        const std::uint32_t length =
            static_cast<std::uint32_t>(std::uniform_int_distribution<std::int64_t>(1, kLength - offset)(random));
        connection->useWebHdfs = true;
        const QByteArray web = readAt(reader.get(), offset, length);
        connection->useWebHdfs = false;
        ASSERT_TRUE(web == readAt(reader.get(), offset, length)) << length << " at " << offset << ", seed " << seed;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, NameNodeMayBeNamedInAnyWayThatDataNodesUnderstand)
{
    const QByteArray path = cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3));
    for (const char *host : {"localhost", "127.0.0.1"}) {
        const std::unique_ptr<NameNodeConnection> own = cluster.connect("alice", host);
        own->useWebHdfs = true;
        const Reader reader(HdfsFileReader::open(own.get(), path));
        ASSERT_TRUE(reader != nullptr);
        EXPECT_TRUE(readsPattern(reader.get(), kMiB - 10, 100)) << host;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, RequestIsMadeInTheUsersName)
{
    const QByteArray path = directory() + "/mine";
    const std::int64_t offset = makeFile(path);
    cluster.dfs({"-chmod", "600", path});
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(offset, readPart(reader.get()));
    EXPECT_TRUE(log.holds({}));

    const QByteArray owner = connection->user;
    connection->user = "alice";
    EXPECT_EQ("HTTP/1.1 403 Forbidden", statusLine(reader, path.toStdString(), kPart));
    EXPECT_EQ(-1, readPart(reader.get()));
    EXPECT_TRUE(log.takes(refusal(reader)));
    connection->user = owner;
    EXPECT_EQ(offset, readPart(reader.get()));
}

TEST_F(RealWebHdfs, ConnectionsAreClosedByTheDataNodeSoThatKeepingThemCostsAQuietAttempt)
{
    const Reader reader = open(cluster.patternFile("four-blocks", 3 * kMiB + 700001, FileLayout(kMiB, 3)));
    ASSERT_TRUE(reader != nullptr);
    connection->keepDataNodeConnection = true;
    const OpenDescriptors before;
    for (std::uint32_t i = 0; i < 20; ++i)
        ASSERT_TRUE(readsPattern(reader.get(), i * 150000, 150000 + i));
    // And from one transport to the other on a connection that was kept.
    for (std::uint32_t i = 0; i < 10; ++i) {
        connection->useWebHdfs = i % 2 == 0;
        ASSERT_TRUE(readsPattern(reader.get(), i * 300000, 1 + i * 10000));
    }
    connection->keepDataNodeConnection = false;
    closeDataNodeSocketUnlessKept(connection.get());
    EXPECT_EQ(0, before.opened());
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, LongPathIsReadAsFarAsTheNameNodeTakesIt)
{
    QByteArray path = directory();
    while (path.size() < 440)
        path += "/" + QByteArray(std::min(200, 460 - path.size()), 'p');
    const std::int64_t offset = makeFile(path);
    const Reader reader = open(path);
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(offset, readPart(reader.get()));
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, PathBeyondWhatADataNodeTakesIsRefused)
{
    makeFile(directory() + "/short");
    const Reader reader = open(directory() + "/short");
    ASSERT_TRUE(reader != nullptr);
    for (int length : {4000, 4096, 8192, 100000}) {
        reader->path = "/" + QByteArray(length, 'p');
        EXPECT_EQ(-1, readPart(reader.get())) << length;
        EXPECT_TRUE(log.takes(refusal(reader)));
    }
}

// Names. They go into the request as they are, so it is the DataNode that makes something of them.

TEST_F(RealWebHdfs, NamesOfCharactersWithoutAMeaningInAPathAreRead)
{
    for (const char *name : {"a&b", "a+b", "a=b", "a;b",   "a,b", "a@b", "a!b",  "a$b", "a*b", "~a",
                             "(a)", "[a]", "{a}", "\"a\"", "'a'", "<a>", "a\\b", "a|b", "a^b", "a`b"}) {
        const QByteArray path = directory() + "/" + name;
        const std::int64_t offset = makeFile(path);
        const Reader reader = open(path);
        ASSERT_TRUE(reader != nullptr) << name;
        EXPECT_EQ("HTTP/1.1 200 OK", statusLine(reader, path.toStdString(), kPart)) << name;
        EXPECT_EQ(offset, readPart(reader.get())) << name;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, NamesThatAreNoPathOrAnotherOneAreRefusedWhenThereIsNoFileOfThatName)
{
    const struct {
        const char *name;
        const char *status;
    } names[] = {
        {"a b", "HTTP/1.1 400 No Host"},
        {"a\tb", "HTTP/1.1 400 No Host"},
        {"a\nb", "HTTP/1.1 400 No Host"},
        {"a\r\nb", "HTTP/1.1 400 No Host"},
        {"100%", "HTTP/1.1 400 Bad Request"},
        {"a%zz", "HTTP/1.1 400 Bad Request"},
        {"a%41b", "HTTP/1.1 404 Not Found"},
        {"a%2Fb", "HTTP/1.1 404 Not Found"},
        {"a%00b", "HTTP/1.1 404 Not Found"},
        {"a?b", "HTTP/1.1 400 Bad Request"},
        {"a#b", "HTTP/1.1 400 Bad Request"},
        {"a?op=OPEN", "HTTP/1.1 400 Bad Request"},
        {"a?op=OPEN HTTP/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        {"\xC3\xA4", "HTTP/1.1 404 Not Found"},
        {"\xE2\x82\xAC", "HTTP/1.1 404 Not Found"},
        {"\xF0\x9F\x90\x98", "HTTP/1.1 404 Not Found"},
    };
    for (const auto &entry : names) {
        const QByteArray path = directory() + "/" + entry.name;
        makeFile(path);
        const Reader reader = open(path);
        ASSERT_TRUE(reader != nullptr) << entry.name;
        EXPECT_EQ(entry.status, statusLine(reader, path.toStdString(), kPart)) << entry.name;
        const SystemCallFaults calls;
        EXPECT_EQ(-1, readPart(reader.get())) << entry.name;
        EXPECT_EQ(3, calls.count(SystemCall::Connect)) << entry.name;
        std::vector<std::string> lines = refusal(reader);
        if (std::string(entry.name).find_first_of("%?#\xC3\xE2\xF0") != std::string::npos)
            lines.insert(lines.begin(), warning(reader));
        EXPECT_TRUE(log.takes(lines)) << entry.name;
        EXPECT_EQ(0, reader->position);

        connection->useWebHdfs = false;
        EXPECT_LE(std::int64_t(kPart), readPart(reader.get())) << entry.name;
        connection->useWebHdfs = true;
    }
}

TEST_F(RealWebHdfs, NamesThatMeanAnotherFileThatIsThereGiveItsBytesWithAWarning)
{
    // Nothing in the answer tells them from the right ones.
    const struct {
        const char *name;
        const char *taken;
    } names[] = {
        {"a%41b", "aAb"},
        {"a%20b", "a b"},
        {"a%3Fb", "a?b"},
        {"a%2541b", "a%41b"},
        {"a%2Fb", "a/b"},
        {"a%C3%A4", "a\xC3\xA4"},
        {"\xC3\xA4", "\xC3\x83\xC2\xA4"}, // its bytes taken for Latin-1
        {"a?op=OPEN&b", "a"},
    };
    int count = 0;
    for (const auto &entry : names) {
        // A folder for each: one name's file must not be another one's.
        const QByteArray folder = directory() + "/" + QByteArray::number(++count) + "/";
        const std::int64_t other = makeFile(folder + entry.taken);
        const std::int64_t own = makeFile(folder + entry.name);
        const Reader reader = open(folder + entry.name);
        ASSERT_TRUE(reader != nullptr) << entry.name;
        EXPECT_EQ(other, readPart(reader.get())) << entry.name;
        EXPECT_TRUE(log.takes({warning(reader)}));
        connection->useWebHdfs = false;
        EXPECT_EQ(own, readPart(reader.get())) << entry.name;
        connection->useWebHdfs = true;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(RealWebHdfs, ParametersInANameOrAUserComeBeforeOurs)
{
    const std::int64_t offset = makeFile(directory() + "/a", 3 * kPart);
    makeFile(directory() + "/a?op=OPEN&offset=5&b", 3 * kPart);
    const Reader named = open(directory() + "/a?op=OPEN&offset=5&b");
    ASSERT_TRUE(named != nullptr);
    EXPECT_EQ(offset + 5, readPart(named.get()));
    EXPECT_TRUE(log.takes({warning(named)}));

    const Reader reader = open(directory() + "/a");
    ASSERT_TRUE(reader != nullptr);
    connection->user += "&offset=7";
    EXPECT_EQ(offset + 7, readPart(reader.get()));
    EXPECT_TRUE(log.takes({warning(reader)}));
}

TEST_F(RealWebHdfs, OtherFileThatIsTooShortIsNoticed)
{
    makeFile(directory() + "/aAb", 10);
    makeFile(directory() + "/a%41b");
    const Reader reader = open(directory() + "/a%41b");
    ASSERT_TRUE(reader != nullptr);
    EXPECT_EQ(-1, readPart(reader.get()));
    EXPECT_TRUE(log.takes({warning(reader), "Warning WebHDFS: TCPIP received failed (4)", refusal(reader)[1]}));
}
