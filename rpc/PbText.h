// How texts and bytes cross between protobuf messages and this program: nanopb leaves every string and bytes
// field to callbacks, and these are all of them.
#ifndef RPC_PBTEXT_H
#define RPC_PBTEXT_H

#include "rpc/HdfsFileStatus.h"

#include <QtCore/QByteArray>

#include <pb_decode.h>
#include <pb_encode.h>

/// What nanopb's encoder and decoder take as a message's field list; the type has another name in
/// each of its series.
template <class Function> struct PbFieldListOf;
template <class Stream, class Fields, class Message> struct PbFieldListOf<bool (*)(Stream, Fields, Message)> {
    typedef Fields Type;
};
typedef PbFieldListOf<decltype(&pb_encode)>::Type PbFieldList;

/// Collects a field's bytes as a view into the memory that the stream reads from; it lives as long as that
/// memory. Of a field that comes twice the last one counts.
pb_callback_t collectTo(ByteString *view);

/// The last byte string that a decode of a message without the field leaves behind.
inline ByteString emptyByteString()
{
    const ByteString empty = {"", 0};
    return empty;
}

/// Send a text or bytes as the field's value. The argument must outlive the encoding.
pb_callback_t sendCString(const char *text);
pb_callback_t sendBytes(const QByteArray *bytes);
pb_callback_t sendBytes(const ByteString *bytes);

/// Sends "org.apache.hadoop.hdfs.protocol.ClientProtocol".
pb_callback_t sendProtocolName();

/// Decodes `*message`, which its `_init_default` has set up. nanopb's plain pb_decode would set all defaults once more,
/// field by field, which for a small message costs as much as the decoding.
template <class Fields, class Message> bool decodeInitialised(pb_istream_t *stream, Fields fields, Message *message)
{
    return pb_decode_noinit(stream, fields, message);
}

/// Decodes one nested message at a time: `function` is called with a stream of just that message.
pb_callback_t decodeEach(bool (*function)(pb_istream_t *, const pb_field_t *, void **), void *argument);

/// Sends whatever `function` writes for the field: a repeated one has a tag in front of each value. The argument must
/// outlive the encoding.
pb_callback_t sendEach(bool (*function)(pb_ostream_t *, const pb_field_t *, void *const *), const void *argument);

#endif
