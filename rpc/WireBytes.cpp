#include "rpc/WireBytes.h"

unsigned char *writeVarint32(unsigned char *out, std::uint32_t value)
{
    while (value > 0x7F) {
        *out++ = static_cast<unsigned char>(value | 0x80);
        value >>= 7;
    }
    *out++ = static_cast<unsigned char>(value);
    return out;
}

int readVarint64(const unsigned char *in, std::uint64_t *value)
{
    std::uint64_t result = 0;
    for (int i = 0; i < kMaxVarintSize; ++i) {
        result |= static_cast<std::uint64_t>(in[i] & 0x7F) << (7 * i);
        if (!(in[i] & 0x80)) {
            *value = result;
            return i + 1;
        }
    }
    return 0;
}

unsigned char *writeBigEndian32(unsigned char *out, std::uint32_t value)
{
    out[0] = static_cast<unsigned char>(value >> 24);
    out[1] = static_cast<unsigned char>(value >> 16);
    out[2] = static_cast<unsigned char>(value >> 8);
    out[3] = static_cast<unsigned char>(value);
    return out + 4;
}

unsigned char *writeBigEndian16(unsigned char *out, std::uint16_t value)
{
    out[0] = static_cast<unsigned char>(value >> 8);
    out[1] = static_cast<unsigned char>(value);
    return out + 2;
}

std::uint32_t readBigEndian32(const unsigned char *in)
{
    return static_cast<std::uint32_t>(in[0]) << 24 | static_cast<std::uint32_t>(in[1]) << 16 |
           static_cast<std::uint32_t>(in[2]) << 8 | in[3];
}

std::uint16_t readBigEndian16(const unsigned char *in)
{
    return static_cast<std::uint16_t>(in[0] << 8 | in[1]);
}
