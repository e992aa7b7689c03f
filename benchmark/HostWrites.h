// What a host writes through the plug-in, measured.
//
// Each line on standard input starts one run; standard output gets a line when the run has been measured and what it
// wrote has been deleted again. So whoever measures decides what happens between two runs.
#ifndef BENCHMARK_HOSTWRITES_H
#define BENCHMARK_HOSTWRITES_H

#include "benchmark/Host.h"

#include <cstdint>

/// A file to write: sizes in bytes.
struct FileToWrite {
    const char *path;
    std::uint64_t size;
    quint16 replication;
    std::uint32_t blockSize;
};

/// Runs of: the file written in calls of `callSize` bytes and closed. Prints WALL CPU.
void writeInTurns(Host &host, const FileToWrite &file, std::uint32_t callSize);

/// Runs of: `count` files of 4 KiB made in a new directory, replication 1, one after the other. Prints WALL CPU.
void writeSmallFilesInTurns(Host &host, const char *directory, int count);

/// Runs of: the plug-in's copy operation. Prints WALL CPU.
void copyInTurns(Host &host, const char *source, const char *target);

/// By how much this process grew at most while the file was written as in writeInTurns: prints bytes. One run.
void growthOfWrite(Host &host, const FileToWrite &file, std::uint32_t callSize);

/// The same of a copy.
void growthOfCopy(Host &host, const char *source, const char *target);

#endif
