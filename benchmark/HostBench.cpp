// A host that loads the plug-in and measures one kind of work through its interface. Prints one line for each run:
// WALL CPU [EXTRA...], seconds; the memory measurements print bytes. Ends with 1 when any of the work fails.
#include "benchmark/Clock.h"
#include "benchmark/Host.h"
#include "benchmark/HostWrites.h"
#include "rpc/HdfsFileStatus.h"

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <random>
#include <string>
#include <vector>

namespace {

std::size_t heapBytes()
{
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// The whole file in calls of `callSize` bytes.
void read(Host &host, const char *path, std::uint32_t callSize, int runs)
{
    std::vector<char> buffer(callSize);
    for (int run = 0; run < runs; ++run) {
        HdfsFileReader *reader = host.open(path);
        const qint64 length = host.hdfs->fileLength(reader);
        const Clock clock;
        qint64 done = 0;
        while (done < length) {
            const quint32 count = host.hdfs->read(reader, buffer.data(), callSize, nullptr);
            if (count == 0 || count >= kFirstReadError)
                Host::fail("read");
            done += count;
        }
        std::printf("%.6f %.6f\n", clock.wall(), clock.cpu());
        host.hdfs->deleteReader(reader);
    }
}

/// `count` reads of 4 KiB at places that are the same in each run of each client.
void random(Host &host, const char *path, int count, int runs)
{
    char buffer[4096];
    for (int run = 0; run < runs; ++run) {
        HdfsFileReader *reader = host.open(path);
        const std::uint64_t places = static_cast<std::uint64_t>(host.hdfs->fileLength(reader)) - sizeof buffer;
        std::mt19937_64 generator(1);
        const Clock clock;
        for (int i = 0; i < count; ++i) {
            host.hdfs->setPosition(reader, static_cast<qint64>(generator() % places));
            if (host.hdfs->read(reader, buffer, sizeof buffer, nullptr) != sizeof buffer)
                Host::fail("read");
        }
        std::printf("%.6f %.6f\n", clock.wall(), clock.cpu());
        host.hdfs->deleteReader(reader);
    }
}

/// Extra: entries, bytes of their records, bytes of heap that the listing holds.
void list(Host &host, const char *path, int runs)
{
    for (int run = 0; run < runs; ++run) {
        const std::size_t before = heapBytes();
        const Clock clock;
        qint32 count = 0;
        HdfsFileStatus *head = host.hdfs->getListing(host.connection, path, &count);
        const double wall = clock.wall();
        const double cpu = clock.cpu();
        if (count < 0)
            Host::fail("listing");
        std::size_t records = 0;
        for (const HdfsFileStatus *entry = head; entry; entry = entry->next)
            records += sizeof *entry + entry->path.size + entry->owner.size + entry->group.size + 3;
        std::printf("%.6f %.6f %d %zu %zu\n", wall, cpu, count, records, heapBytes() - before);
        host.hdfs->freeListing(head);
    }
}

void stat(Host &host, const char *path, int count, int runs)
{
    for (int run = 0; run < runs; ++run) {
        std::vector<double> times;
        const Clock all;
        for (int i = 0; i < count; ++i) {
            const Clock one;
            HdfsFileStatus *status = host.hdfs->fileInfo(host.connection, path, nullptr);
            if (!status)
                Host::fail("fileInfo");
            host.hdfs->freeListing(status);
            times.push_back(one.wall());
        }
        const double cpu = all.cpu();
        std::nth_element(times.begin(), times.begin() + count / 2, times.end());
        std::printf("%.9f %.6f\n", times[static_cast<std::size_t>(count) / 2], cpu);
    }
}

/// Heap of an open reader and of the connection, with the block list: bytes.
void open(Host &host, const char *path)
{
    const std::size_t before = heapBytes();
    HdfsFileReader *reader = host.open(path);
    std::printf("%zu\n", heapBytes() - before);
    host.hdfs->deleteReader(reader);
}

/// PATH SIZE REPLICATION BLOCKSIZE
FileToWrite fileToWrite(char **arguments)
{
    return {arguments[0], std::strtoull(arguments[1], nullptr, 10), static_cast<quint16>(std::atoi(arguments[2])),
            static_cast<std::uint32_t>(std::strtoul(arguments[3], nullptr, 10))};
}

/// What stands behind them.
std::uint32_t callSize(char **arguments)
{
    return static_cast<std::uint32_t>(std::strtoul(arguments[4], nullptr, 10));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc < 4) {
        std::fputs(
            "usage: host_bench LIBRARY read PATH CALLSIZE RUNS | random PATH COUNT RUNS | list PATH RUNS |\n"
            "                          stat PATH COUNT RUNS | open PATH |\n"
            "                          write PATH SIZE REPLICATION BLOCKSIZE CALLSIZE | small DIRECTORY COUNT |\n"
            "                          copy SOURCE TARGET |\n"
            "                          write-memory PATH SIZE REPLICATION BLOCKSIZE CALLSIZE |\n"
            "                          copy-memory SOURCE TARGET\n"
            "write, small and copy do one run for each line on standard input.\n",
            stderr);
        return 2;
    }
    Host host(argv[1]);
    const std::string what = argv[2];
    const char *path = argv[3];
    const int first = argc > 4 ? std::atoi(argv[4]) : 1;
    const int second = argc > 5 ? std::atoi(argv[5]) : 1;
    if (what == "read")
        read(host, path, static_cast<std::uint32_t>(first), second);
    else if (what == "random")
        random(host, path, first, second);
    else if (what == "list")
        list(host, path, first);
    else if (what == "stat")
        stat(host, path, first, second);
    else if (what == "open")
        open(host, path);
    else if (what == "write" && argc == 8)
        writeInTurns(host, fileToWrite(argv + 3), callSize(argv + 3));
    else if (what == "small" && argc == 5)
        writeSmallFilesInTurns(host, path, first);
    else if (what == "copy" && argc == 5)
        copyInTurns(host, path, argv[4]);
    else if (what == "write-memory" && argc == 8)
        growthOfWrite(host, fileToWrite(argv + 3), callSize(argv + 3));
    else if (what == "copy-memory" && argc == 5)
        growthOfCopy(host, path, argv[4]);
    else
        return 2;
    return 0;
}
