// A process that is stopped by a signal while it reads from the real DataNodes.
#include "testing/ReceiveHook.h"
#include "testing/cluster/RealClusterTest.h"

#include <chrono>
#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

typedef RealClusterTest RealStoppedReader;

TEST_F(RealStoppedReader, GetsEverythingWhenItGoesOn)
{
    const QByteArray file = cluster.patternFile("gibibyte", kGiB + 2 * kMiB, FileLayout(2 * kGiB, 1));
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // A process of its own, with a connection of its own; its exit status says what it saw.
        const std::unique_ptr<NameNodeConnection> own = cluster.connect();
        const Reader reader(HdfsFileReader::open(own.get(), file));
        bool hasStopped = false;
        ReceiveHook stop([&](std::int64_t received) {
            if (received >= 20 * kMiB && !hasStopped) {
                hasStopped = true;
                ::raise(SIGSTOP);
            }
        });
        const bool right = reader && readsPattern(reader.get(), 777, static_cast<std::uint32_t>(128 * kMiB));
        ::_exit(right && log.texts().empty() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, WUNTRACED));
    ASSERT_TRUE(WIFSTOPPED(status));
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    ASSERT_EQ(0, ::kill(child, SIGCONT));
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status));
}
