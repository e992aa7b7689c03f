// The physical limit of a read over loopback: a child process sends a file with sendfile, and this one receives it with
// receives of 64 KiB into one buffer. Prints WALL CPU, seconds, for each run.
#include "benchmark/Clock.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const std::size_t kStep = 64 * 1024;

void sendFiles(int listener, char **files, int count)
{
    const int client = ::accept(listener, nullptr, nullptr);
    for (int i = 0; i < count; ++i) {
        const int file = ::open(files[i], O_RDONLY);
        struct stat status;
        off_t offset = 0;
        if (file < 0 || ::fstat(file, &status) != 0)
            ::_exit(1);
        while (offset<status.st_size && ::sendfile(client, file, &offset, kStep)> 0) {
        }
        ::close(file);
    }
    ::_exit(0);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3) {
        std::fputs("usage: plain_receiver RUNS FILE...\n", stderr);
        return 2;
    }
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), size) != 0 || ::listen(listener, 1) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        return 1;
    std::vector<char> buffer(kStep);
    for (int run = 0; run < std::atoi(argv[1]); ++run) {
        const pid_t sender = ::fork();
        if (sender == 0)
            sendFiles(listener, argv + 2, argc - 2);
        const Clock clock;
        const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(connection, reinterpret_cast<sockaddr *>(&address), size) != 0)
            return 1;
        while (::recv(connection, buffer.data(), buffer.size(), 0) > 0) {
        }
        std::printf("%.6f %.6f\n", clock.wall(), clock.cpu());
        ::close(connection);
        int status;
        ::waitpid(sender, &status, 0);
        if (status != 0)
            return 1;
    }
    return 0;
}
