#include "io/OpAnswer.h"

#include "rpc/MemoryStream.h"
#include "rpc/ReceiveAnnounced.h"
#include "rpc/WireBytes.h"

namespace {

const std::uint32_t kStartSize = 4;

/// Whether the first `size` bytes of an answer are all of it.
bool isComplete(const unsigned char *start, std::uint32_t size)
{
    std::uint64_t length = 0;
    const std::uint32_t lengthSize = static_cast<std::uint32_t>(readVarint64(start, &length));
    return lengthSize <= size && length <= size - lengthSize;
}

} // namespace

OpAnswer receiveOpAnswer(DataNodeStream *stream, QByteArray *memory, pb_istream_t *message, WhatFollows whatFollows)
{
    unsigned char start[kMaxVarintSize] = {0};
    const std::uint32_t step = whatFollows == DataFollow ? kStartSize : 1;
    std::uint32_t size = 0;
    do {
        if (stream->receiveExactly(start + size, step) != 0)
            return AnswerLengthNotReceived;
        size += step;
    } while (size < kStartSize && !isComplete(start, size));

    std::uint64_t length = 0;
    const std::uint32_t lengthSize = static_cast<std::uint32_t>(readVarint64(start, &length));
    if (length == 0 || lengthSize > kStartSize)
        return AnswerLengthErroneous;
    // Of an answer of one or two bytes the others are the first of what follows.
    stream->putBack(start + lengthSize, size - lengthSize);
    if (receiveAnnounced(*stream, memory, static_cast<std::uint32_t>(length)) != 0)
        return AnswerNotReceived;
    *message = memoryStream(memory->constData(), static_cast<std::size_t>(length));
    return AnswerReceived;
}
