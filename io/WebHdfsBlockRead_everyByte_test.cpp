// Every byte of an answer through WebHDFS, and every system call, gone wrong.
#include "io/WebHdfsBlockRead.h"

#include "platform/Sockets.h"
#include "testing/LogCapture.h"
#include "testing/OpenDescriptors.h"
#include "testing/ScriptedWebFile.h"
#include "testing/SystemCallFaults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

namespace {

const std::int64_t kPosition = 5;
const std::uint32_t kLength = 80;

class EveryWebByte : public ::testing::Test
{
protected:
    EveryWebByte() : file({96}), head(webHead(kLength).size()), whole(head + kLength), reader(file.open())
    {
        expectRight("without a fault");
        file.web().peer().waitUntilOver(1);
        receivedSize = file.web().peer().received(0).size();
        descriptors.reset(new OpenDescriptors);
    }

    ~EveryWebByte() override
    {
        file.web().peer().waitUntilOver(file.webConnectionCount());
        EXPECT_EQ(0, descriptors->opened());
    }

    ReadOutcome read() { return readAt(reader.get(), kPosition, kLength); }

    void expectRight(const std::string &when)
    {
        const ReadOutcome outcome = read();
        EXPECT_EQ(kLength, outcome.result) << when;
        EXPECT_TRUE(file.bytes().substr(kPosition, kLength) == outcome.bytes) << when;
        EXPECT_EQ(kPosition + kLength, reader->position) << when;
        EXPECT_TRUE(log.takes({})) << when;
    }

    void expectFailed(const std::string &when)
    {
        EXPECT_EQ(kReadFailed, read().result) << when;
        EXPECT_EQ(kPosition, reader->position) << when;
        EXPECT_TRUE(log.takes(
            {"Warning WebHDFS: *", "ERROR WebHDFS: All the data nodes that contains block 1073741825 are down"}))
            << when;
    }

    /// The fault on the next connection only; the attempt after it meets a sound DataNode.
    void faultOnce(const Fault &fault)
    {
        file.web().peer().setSendFault(fault, static_cast<int>(file.webConnectionCount()));
    }

    LogCapture log;
    ScriptedWebFile file;
    std::size_t head;
    std::size_t whole;        ///< of the answer
    std::size_t receivedSize; ///< what the client sends
    std::unique_ptr<HdfsFileReader> reader;
    std::unique_ptr<OpenDescriptors> descriptors;
};

} // namespace

TEST_F(EveryWebByte, EndOfTheConnectionAtAnyByteIsGotOver)
{
    for (std::size_t byte = 0; byte <= whole; ++byte) {
        faultOnce(Fault::closeAt(byte));
        expectRight("close at byte " + std::to_string(byte));
        faultOnce(Fault::resetAt(byte));
        expectRight("reset at byte " + std::to_string(byte));
    }
}

TEST_F(EveryWebByte, EndOfEveryConnectionAtAnyByteFailsTheRead)
{
    for (std::size_t byte = 0; byte < whole; ++byte) {
        file.web().peer().setSendFault(Fault::closeAt(byte));
        expectFailed("close at byte " + std::to_string(byte));
        file.web().peer().setSendFault(Fault::resetAt(byte));
        expectFailed("reset at byte " + std::to_string(byte));
    }
}

TEST_F(EveryWebByte, EndOfACrumblingConnectionAtAnyByteIsGotOver)
{
    for (std::size_t byte = 0; byte <= whole; ++byte) {
        file.web().peer().setFragmentSize(1 + byte % 3);
        faultOnce(Fault::closeAt(byte));
        expectRight("close at byte " + std::to_string(byte));
    }
}

TEST_F(EveryWebByte, DataNodeThatStallsAtAnyByteIsWaitedFor)
{
    std::atomic<bool> over(false);
    std::thread resuming([this, &over] {
        while (!over) {
            std::this_thread::sleep_for(std::chrono::microseconds(500));
            file.web().peer().resume();
        }
    });
    const std::size_t before = file.webConnectionCount();
    for (std::size_t byte = 0; byte < whole; ++byte) {
        faultOnce(Fault::stallAt(byte));
        expectRight("stall at byte " + std::to_string(byte));
    }
    EXPECT_EQ(before + whole, file.webConnectionCount()) << "no attempt is lost";
    over = true;
    resuming.join();
    file.web().peer().resume();
}

TEST_F(EveryWebByte, DataNodeThatStopsListeningAtAnyByteIsGotOver)
{
    for (std::size_t byte = 0; byte <= receivedSize; ++byte) {
        file.web().peer().setReceiveFault(Fault::closeAt(byte), static_cast<int>(file.webConnectionCount()));
        expectRight("close at byte " + std::to_string(byte));
        file.web().peer().setReceiveFault(Fault::resetAt(byte), static_cast<int>(file.webConnectionCount()));
        expectRight("reset at byte " + std::to_string(byte));
    }
}

TEST_F(EveryWebByte, LieAtAnyByteOfTheHeadIsGotOverOrNotNoticed)
{
    const unsigned char masks[] = {0x01, 0x04, 0x20, 0x80, 0xFF};
    for (std::size_t byte = 0; byte < head; ++byte) {
        const bool isLookedAt = (byte >= 9 && byte < 12) || byte >= head - 4;
        for (unsigned char mask : masks) {
            const std::size_t before = file.webConnectionCount();
            faultOnce(Fault::flipAt(byte, mask));
            expectRight("byte " + std::to_string(byte) + " with mask " + std::to_string(mask));
            EXPECT_EQ(before + (isLookedAt ? 2 : 1), file.webConnectionCount()) << "byte " << byte;
        }
    }
}

TEST_F(EveryWebByte, LieAboutTheDataThemselvesIsNotNoticed)
{
    // There are no checksums on this way.
    for (std::size_t byte = head; byte < whole; ++byte) {
        faultOnce(Fault::flipAt(byte, 0xFF));
        std::string expected = file.bytes().substr(kPosition, kLength);
        expected[byte - head] = static_cast<char>(expected[byte - head] ^ 0xFF);
        EXPECT_EQ(expected, read().bytes) << "byte " << byte;
    }
    EXPECT_TRUE(log.holds({}));
}

TEST_F(EveryWebByte, AnySystemCallMayFailOnce)
{
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket,    SystemCall::Connect,  SystemCall::Send,
                                SystemCall::Receive, SystemCall::SetOption, SystemCall::GetOption};
    for (SystemCall call : calls) {
        for (int ordinal = 0;; ++ordinal) {
            SystemCallFaults faults;
            faults.fail(call, ordinal, call == SystemCall::Resolve ? EAI_AGAIN : ECONNABORTED);
            expectRight("call " + std::to_string(static_cast<int>(call)) + ", ordinal " + std::to_string(ordinal));
            if (!faults.hasFailed(call))
                break;
            ASSERT_LT(ordinal, 100);
        }
    }
}

TEST_F(EveryWebByte, AnySystemCallMayFailFromThereOn)
{
    const SystemCall calls[] = {SystemCall::Resolve, SystemCall::Socket, SystemCall::Connect, SystemCall::Send,
                                SystemCall::Receive};
    for (SystemCall call : calls) {
        for (int ordinal = 0;; ++ordinal) {
            SystemCallFaults faults;
            faults.failFrom(call, ordinal, call == SystemCall::Resolve ? EAI_AGAIN : ECONNABORTED);
            const ReadOutcome outcome = read();
            log.clear();
            if (!faults.hasFailed(call)) {
                EXPECT_TRUE(file.bytes().substr(kPosition, kLength) == outcome.bytes);
                break;
            }
            EXPECT_EQ(kReadFailed, outcome.result) << "call " << static_cast<int>(call) << ", ordinal " << ordinal;
            EXPECT_EQ(kPosition, reader->position);
            ASSERT_LT(ordinal, 100);
        }
    }
}

TEST_F(EveryWebByte, AnswersWithoutEndAreReadAsFarAsNeeded)
{
    ScriptedPeer endless;
    endless.addScript([this](ScriptedConnection &connection) {
        connection.waitForMore();
        connection.send(webHead(kLength) + file.bytes().substr(kPosition, kLength));
        for (;;)
            connection.send(std::string(100000, '!'));
    });
    file.setWebPort(0, endless.port());
    const std::unique_ptr<HdfsFileReader> own = file.open();
    EXPECT_EQ(file.bytes().substr(kPosition, kLength), readAt(own.get(), kPosition, kLength).bytes);
    endless.waitUntilOver(1);
}

TEST_F(EveryWebByte, RubbishOfAnySizeIsRefused)
{
    for (std::size_t size : {0u, 1u, 163u, 164u, 179u, 180u, 181u, 1000u, 1000000u}) {
        for (char filler : {'\0', '\r', '\n', '2', '\xFF'}) {
            file.alter([=](const WebRequest &, WebAnswer *answer) {
                answer->head = std::string(size, filler);
                answer->body.clear();
            });
            expectFailed(std::to_string(size) + " times " + std::to_string(filler));
        }
    }
}
