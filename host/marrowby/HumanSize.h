#ifndef HOST_MARROWBY_HUMANSIZE_H
#define HOST_MARROWBY_HUMANSIZE_H

#include <cstdint>
#include <string>

/// A number of bytes as `hdfs dfs -ls -h` writes it: "17", "1 K", "1.5 M".
std::string humanSize(std::uint64_t bytes);

#endif
