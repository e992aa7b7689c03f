#include "rpc/MemoryStream.h"

#include <cstring>

namespace {

bool readFromMemory(pb_istream_t *stream, pb_byte_t *buffer, std::size_t count)
{
    const pb_byte_t *position = static_cast<const pb_byte_t *>(stream->state);
    stream->state = const_cast<pb_byte_t *>(position + count);
    if (!buffer)
        return true;
    if (count == 1)
        *buffer = *position;
    else
        std::memcpy(buffer, position, count);
    return true;
}

} // namespace

pb_istream_t memoryStream(const void *bytes, std::size_t size)
{
    pb_istream_t stream = pb_istream_from_buffer(static_cast<const pb_byte_t *>(bytes), size);
    stream.callback = readFromMemory;
    return stream;
}

bool viewBytes(pb_istream_t *stream, std::size_t size, ByteString *view)
{
    // nanopb hands a number that stands where a text is expected to the text's callback too, in a stream over a buffer
    // of its own that is gone afterwards.
    if (stream->callback != readFromMemory)
        PB_RETURN_ERROR(stream, "wrong wire type");
    if (size > stream->bytes_left)
        PB_RETURN_ERROR(stream, "end-of-stream");
    view->data = static_cast<const char *>(stream->state);
    view->size = size;
    stream->state = const_cast<char *>(view->data + size);
    stream->bytes_left -= size;
    return true;
}
