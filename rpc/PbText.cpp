#include "rpc/PbText.h"

#include "rpc/MemoryStream.h"

#include <cstring>

namespace {

bool collectBytes(pb_istream_t *stream, const pb_field_t *, void **argument)
{
    return viewBytes(stream, stream->bytes_left, static_cast<ByteString *>(*argument));
}

bool writeField(pb_ostream_t *stream, const pb_field_t *field, const char *data, std::size_t size)
{
    return pb_encode_tag_for_field(stream, field) &&
           pb_encode_string(stream, reinterpret_cast<const pb_byte_t *>(data), size);
}

bool writeCString(pb_ostream_t *stream, const pb_field_t *field, void *const *argument)
{
    const char *text = static_cast<const char *>(*argument);
    return writeField(stream, field, text, std::strlen(text));
}

bool writeQByteArray(pb_ostream_t *stream, const pb_field_t *field, void *const *argument)
{
    const QByteArray *bytes = static_cast<const QByteArray *>(*argument);
    return writeField(stream, field, bytes->constData(), static_cast<std::size_t>(bytes->size()));
}

bool writeByteString(pb_ostream_t *stream, const pb_field_t *field, void *const *argument)
{
    const ByteString *bytes = static_cast<const ByteString *>(*argument);
    return writeField(stream, field, bytes->data, bytes->size);
}

bool writeProtocolName(pb_ostream_t *stream, const pb_field_t *field, void *const *)
{
    static const char kClientProtocol[] = "org.apache.hadoop.hdfs.protocol.ClientProtocol";
    return writeField(stream, field, kClientProtocol, sizeof kClientProtocol - 1);
}

} // namespace

pb_callback_t collectTo(ByteString *view)
{
    return decodeEach(collectBytes, view);
}

pb_callback_t sendCString(const char *text)
{
    return sendEach(writeCString, text);
}

pb_callback_t sendBytes(const QByteArray *bytes)
{
    return sendEach(writeQByteArray, bytes);
}

pb_callback_t sendBytes(const ByteString *bytes)
{
    return sendEach(writeByteString, bytes);
}

pb_callback_t sendProtocolName()
{
    return sendEach(writeProtocolName, nullptr);
}

pb_callback_t decodeEach(bool (*function)(pb_istream_t *, const pb_field_t *, void **), void *argument)
{
    pb_callback_t callback = pb_callback_t();
    callback.funcs.decode = function;
    callback.arg = argument;
    return callback;
}

pb_callback_t sendEach(bool (*function)(pb_ostream_t *, const pb_field_t *, void *const *), const void *argument)
{
    pb_callback_t callback = pb_callback_t();
    callback.funcs.encode = function;
    callback.arg = const_cast<void *>(argument);
    return callback;
}
