#ifndef HOST_MARROWBY_TIMES_H
#define HOST_MARROWBY_TIMES_H

#include <cstdint>
#include <string>

/// Milliseconds since 1970 as `hdfs dfs -ls` shows them: "2026-11-21 07:05", in local time.
std::string listedTime(std::uint64_t milliseconds);

/// As `hdfs dfs -stat` shows them: "2026-11-21 07:05:09", in UTC.
std::string statTime(std::uint64_t milliseconds);

#endif
