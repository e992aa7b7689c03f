// What writing costs at least: the bytes sent over loopback in the pieces that a packet carries, to a child process
// that receives and forgets them; one pass of checksums over them; one copy of them into the memory of a block. Each
// line on standard input starts one run; standard output gets WALL CPU of the sending and CPU of the checksums and of
// the copy, seconds.
#include "benchmark/Clock.h"
#include "benchmark/Noise.h"
#include "io/Checksums.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const std::size_t kBlock = 128 * 1024 * 1024;
const std::size_t kPacket = 500 * 1024;
const std::size_t kCall = 1024 * 1024;
const std::size_t kReceive = 64 * 1024;
const std::uint32_t kChunk = 1024;

/// Does `work` with a pointer to, and the length of, each of the pieces that `size` bytes come in, when the bytes of a
/// block are used again and again.
template <typename Work> void inPieces(std::vector<char> &block, std::size_t size, std::size_t piece, Work work)
{
    for (std::size_t start = 0; start < size; start += block.size()) {
        const std::size_t end = std::min(block.size(), size - start);
        for (std::size_t at = 0; at < end; at += piece)
            work(block.data() + at, std::min(piece, end - at));
    }
}

void sendAll(int socket, const char *bytes, std::size_t length)
{
    while (length > 0) {
        const ssize_t sent = ::send(socket, bytes, length, MSG_NOSIGNAL);
        if (sent <= 0)
            std::exit(1);
        bytes += sent;
        length -= static_cast<std::size_t>(sent);
    }
}

void receiveAndForget(int listener)
{
    std::vector<char> buffer(kReceive);
    const int sender = ::accept(listener, nullptr, nullptr);
    while (::recv(sender, buffer.data(), buffer.size(), 0) > 0) {
    }
    ::_exit(0);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fputs("usage: plain_sender SIZE\n", stderr);
        return 2;
    }
    const std::size_t size = std::strtoull(argv[1], nullptr, 10);
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t addressSize = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), addressSize) != 0 || ::listen(listener, 1) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &addressSize) != 0)
        return 1;
    std::vector<char> block = noise(kBlock);
    const std::vector<char> call = noise(kCall);
    while (std::getchar() != EOF) {
        const pid_t sink = ::fork();
        if (sink == 0)
            receiveAndForget(listener);
        const Clock sending;
        const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
        const int on = 1;
        ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (::connect(connection, reinterpret_cast<sockaddr *>(&address), addressSize) != 0)
            return 1;
        inPieces(block, size, kPacket, [&](char *bytes, std::size_t length) { sendAll(connection, bytes, length); });
        ::shutdown(connection, SHUT_WR);
        char nothing;
        ::recv(connection, &nothing, sizeof nothing, 0); // the sink has received all
        const double wall = sending.wall();
        const double cpu = sending.cpu();
        ::close(connection);
        int status;
        ::waitpid(sink, &status, 0);
        if (status != 0)
            return 1;

        const Clock checking;
        Crc32cState state;
        std::vector<unsigned char> checksums(kPacket / kChunk * kChecksumSize);
        inPieces(block, size, kPacket, [&](char *bytes, std::size_t length) {
            computeChunkChecksums(&state, checksums.data(), bytes, kChecksumCrc32c, kChunk,
                                  static_cast<std::uint32_t>(length));
        });
        const double checksumCpu = checking.cpu();

        const Clock copying;
        inPieces(block, size, kCall, [&](char *bytes, std::size_t length) {
            std::memcpy(bytes, call.data(), length);
            asm volatile("" : : "r"(bytes) : "memory"); // no copy may be left out
        });
        const double copyCpu = copying.cpu();
        std::printf("%.6f %.6f %.6f %.6f\n", wall, cpu, checksumCpu, copyCpu);
        std::fflush(stdout);
    }
    return 0;
}
