#include "benchmark/HostWrites.h"

#include "benchmark/Clock.h"
#include "benchmark/Noise.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::uint32_t kSmallFile = 4096;
const quint32 kFileMode = 0644;
const quint32 kDirectoryMode = 0755;
/// A replica that a DataNode reports only when its file is deleted already may stay on its disk.
const std::chrono::milliseconds kUntilReported(500);

/// One run of `work` for each line that comes in; `tidyUp` is not measured.
template <typename Work, typename TidyUp> void inTurns(Work work, TidyUp tidyUp)
{
    while (std::getchar() != EOF) {
        const Clock clock;
        work();
        const double wall = clock.wall();
        const double cpu = clock.cpu();
        std::this_thread::sleep_for(kUntilReported);
        tidyUp();
        std::printf("%.6f %.6f\n", wall, cpu);
        std::fflush(stdout);
    }
}

void write(Host &host, const FileToWrite &file, const std::vector<char> &call)
{
    HdfsFileWriter *writer =
        host.hdfs->createWriter(host.connection, file.path, kFileMode, file.replication, file.blockSize);
    if (!writer)
        Host::fail("createWriter");
    for (std::uint64_t left = file.size; left > 0;) {
        const std::uint32_t count = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, call.size()));
        if (host.hdfs->write(writer, call.data(), count) != 0)
            Host::fail("write");
        left -= count;
    }
    if (host.hdfs->closeWriter(writer, nullptr, 0) != 0)
        Host::fail("closeWriter");
    host.hdfs->deleteWriter(writer);
}

void remove(Host &host, const char *path)
{
    if (host.hdfs->delete_(host.connection, path, 1) != 0)
        Host::fail("delete");
}

void copy(Host &host, const char *source, const char *target)
{
    if (host.hdfs->copy(host.connection, source, target) != 0)
        Host::fail("copy");
}

/// A line of this process's /proc/self/status, in bytes.
long long statusBytes(const char *name)
{
    std::FILE *status = std::fopen("/proc/self/status", "r");
    char line[256];
    long long kibibytes = -1;
    while (status && std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, name, std::strlen(name)) == 0)
            kibibytes = std::atoll(line + std::strlen(name));
    }
    if (!status || kibibytes < 0)
        Host::fail(name);
    std::fclose(status);
    return kibibytes * 1024;
}

/// Makes what is resident now the highest that has been seen.
void forgetPeak()
{
    std::FILE *control = std::fopen("/proc/self/clear_refs", "w");
    if (!control || std::fputs("5", control) == EOF || std::fclose(control) != 0)
        Host::fail("/proc/self/clear_refs");
}

template <typename Work> void printGrowth(Work work)
{
    forgetPeak();
    const long long before = statusBytes("VmRSS:");
    work();
    std::printf("%lld\n", statusBytes("VmHWM:") - before);
}

} // namespace

void writeInTurns(Host &host, const FileToWrite &file, std::uint32_t callSize)
{
    const std::vector<char> call = noise(callSize);
    inTurns([&] { write(host, file, call); }, [&] { remove(host, file.path); });
}

void writeSmallFilesInTurns(Host &host, const char *directory, int count)
{
    const std::vector<char> call = noise(kSmallFile);
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i)
        paths.push_back(std::string(directory) + "/small-" + std::to_string(i));
    if (host.hdfs->mkdirs(host.connection, directory, kDirectoryMode, 1) != 0)
        Host::fail("mkdirs");
    inTurns(
        [&] {
            for (const std::string &path : paths)
                write(host, {path.c_str(), kSmallFile, 1, kSmallFile * 256}, call);
        },
        [&] {
            remove(host, directory);
            if (host.hdfs->mkdirs(host.connection, directory, kDirectoryMode, 1) != 0)
                Host::fail("mkdirs");
        });
}

void copyInTurns(Host &host, const char *source, const char *target)
{
    inTurns([&] { copy(host, source, target); }, [&] { remove(host, target); });
}

void growthOfWrite(Host &host, const FileToWrite &file, std::uint32_t callSize)
{
    const std::vector<char> call = noise(callSize);
    printGrowth([&] { write(host, file, call); });
    remove(host, file.path);
}

void growthOfCopy(Host &host, const char *source, const char *target)
{
    printGrowth([&] { copy(host, source, target); });
    remove(host, target);
}
