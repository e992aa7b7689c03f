#include "io/OpAnswer.h"

#include "rpc/MemoryStream.h"
#include "rpc/ReceiveAnnounced.h"
#include "rpc/WireBytes.h"

OpAnswer receiveOpAnswer(DataNodeStream *stream, QByteArray *memory, pb_istream_t *message)
{
    const std::uint32_t kStartSize = 4;
    unsigned char start[kMaxVarintSize] = {0};
    if (stream->receiveExactly(start, kStartSize) != 0)
        return AnswerLengthNotReceived;
    std::uint64_t length = 0;
    const std::uint32_t lengthSize = static_cast<std::uint32_t>(readVarint64(start, &length));
    if (length == 0 || lengthSize > kStartSize)
        return AnswerLengthErroneous;
    // Of an answer of one or two bytes the others are the first of what follows.
    stream->putBack(start + lengthSize, kStartSize - lengthSize);
    if (receiveAnnounced(*stream, memory, static_cast<std::uint32_t>(length)) != 0)
        return AnswerNotReceived;
    *message = memoryStream(memory->constData(), static_cast<std::size_t>(length));
    return AnswerReceived;
}
