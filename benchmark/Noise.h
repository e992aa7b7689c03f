// Bytes to write that no checksum, socket or memory can take a short cut with.
#ifndef BENCHMARK_NOISE_H
#define BENCHMARK_NOISE_H

#include <cstring>
#include <random>
#include <vector>

/// `size` bytes, the same ones every time.
inline std::vector<char> noise(std::size_t size)
{
    std::vector<char> bytes(size);
    std::mt19937_64 generator(1);
    for (std::size_t at = 0; at + sizeof(std::mt19937_64::result_type) <= size;
         at += sizeof(std::mt19937_64::result_type)) {
        const std::mt19937_64::result_type number = generator();
        std::memcpy(bytes.data() + at, &number, sizeof number);
    }
    return bytes;
}

#endif
