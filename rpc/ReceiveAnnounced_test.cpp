#include "rpc/ReceiveAnnounced.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

/// A socket that holds `available` bytes and then ends.
struct Source {
    explicit Source(std::size_t available_) : available(available_), position(0) {}
    int receiveExactly(void *buffer, std::uint32_t length)
    {
        steps.push_back(length);
        if (length > available - position)
            return 1;
        for (std::uint32_t i = 0; i < length; ++i)
            static_cast<char *>(buffer)[i] = byteAt(position + i);
        position += length;
        return 0;
    }
    static char byteAt(std::size_t position) { return static_cast<char>(position * 7 + position / 256); }

    std::size_t available;
    std::size_t position;
    std::vector<std::uint32_t> steps;
};

TEST(ReceiveAnnounced, TakesExactlyWhatIsAnnounced)
{
    for (std::uint32_t length : {0u, 1u, 65535u, 65536u, 65537u, 131072u, 131073u, 1000000u}) {
        Source source(length + 10);
        QByteArray buffer;
        ASSERT_EQ(0, receiveAnnounced(source, &buffer, length));
        EXPECT_EQ(length, source.position);
        ASSERT_GE(static_cast<std::uint32_t>(buffer.size()), length);
        for (std::uint32_t i = 0; i < length; ++i)
            ASSERT_EQ(Source::byteAt(i), buffer.at(static_cast<int>(i))) << i << " of " << length;
    }
}

TEST(ReceiveAnnounced, GrowsWithWhatArrivesNotWithWhatIsAnnounced)
{
    Source source(100000);
    QByteArray buffer;
    EXPECT_EQ(1, receiveAnnounced(source, &buffer, 0x7FFFFFC0));
    EXPECT_LE(buffer.capacity(), 300000);
}

TEST(ReceiveAnnounced, RefusesWhatNoBufferHolds)
{
    for (std::uint32_t length : {0x7FFFFFC1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        Source source(100000);
        QByteArray buffer;
        EXPECT_EQ(1, receiveAnnounced(source, &buffer, length));
        EXPECT_TRUE(source.steps.empty());
        EXPECT_EQ(0, buffer.capacity());
    }
}

TEST(ReceiveAnnounced, NeverShrinksTheBuffer)
{
    QByteArray buffer(1000, 'x');
    Source source(10);
    ASSERT_EQ(0, receiveAnnounced(source, &buffer, 10));
    EXPECT_EQ(1000, buffer.size());
    EXPECT_EQ('x', buffer.at(10));
}

} // namespace
