// CRC-32C over chunks: one after the other, and several at once as computeChunkChecksums does it.
#include "io/Checksums.h"
#include "rpc/WireBytes.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

const std::uint32_t kLength = 500 * 1024; ///< about what one packet carries, and small enough for the caches

void oneAfterTheOther(benchmark::State &state)
{
    const std::uint32_t chunk = static_cast<std::uint32_t>(state.range(0));
    const std::vector<unsigned char> data(kLength, 0x5A);
    std::vector<unsigned char> checksums(kLength / chunk * kChecksumSize);
    for (auto _ : state) {
        unsigned char *out = checksums.data();
        Crc32cState crc;
        for (std::uint32_t at = 0; at < kLength; at += chunk) {
            crc.reset();
            crc.update(data.data() + at, static_cast<std::int32_t>(chunk));
            out = writeBigEndian32(out, crc.value());
        }
        benchmark::DoNotOptimize(checksums.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kLength);
}

void severalAtOnce(benchmark::State &state)
{
    const std::uint32_t chunk = static_cast<std::uint32_t>(state.range(0));
    const std::vector<unsigned char> data(kLength, 0x5A);
    std::vector<unsigned char> checksums(kLength / chunk * kChecksumSize);
    Crc32cState crc;
    for (auto _ : state) {
        computeChunkChecksums(&crc, checksums.data(), data.data(), kChecksumCrc32c, chunk, kLength);
        benchmark::DoNotOptimize(checksums.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kLength);
}

/// One checksum over all: every step waits for the one before it, which is what a processor cannot overlap.
void oneOverAll(benchmark::State &state)
{
    const std::vector<unsigned char> data(kLength, 0x5A);
    for (auto _ : state) {
        Crc32cState crc;
        crc.update(data.data(), static_cast<std::int32_t>(kLength));
        benchmark::DoNotOptimize(crc.value());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kLength);
}

BENCHMARK(oneOverAll);
BENCHMARK(oneAfterTheOther)->Arg(512)->Arg(1024);
BENCHMARK(severalAtOnce)->Arg(512)->Arg(1024);

} // namespace

BENCHMARK_MAIN();
