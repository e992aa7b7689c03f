// Byte order and base-128 varints, as all frames of the Hadoop protocols use them. None of these
// checks room: the caller sizes the buffer.
#ifndef RPC_WIREBYTES_H
#define RPC_WIREBYTES_H

#include <cstdint>

/// The longest base-128 varint, in bytes.
const int kMaxVarintSize = 10;

/// Writes `value` as a varint of 1 to 5 bytes and returns the position behind it.
unsigned char *writeVarint32(unsigned char *out, std::uint32_t value);

/// Reads a varint of up to 10 bytes. Returns the bytes consumed (1 to 10), or 0 when none of the 10 bytes
/// ends it; `*value` is not written then.
int readVarint64(const unsigned char *in, std::uint64_t *value);

/// Write 4 or 2 bytes in network byte order and return the position behind them.
unsigned char *writeBigEndian32(unsigned char *out, std::uint32_t value);
unsigned char *writeBigEndian16(unsigned char *out, std::uint16_t value);

std::uint32_t readBigEndian32(const unsigned char *in);
std::uint16_t readBigEndian16(const unsigned char *in);

#endif
