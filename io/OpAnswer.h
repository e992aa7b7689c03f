// How a DataNode answers a request: a message (`BlockOpResponseProto`) behind its length.
#ifndef IO_OPANSWER_H
#define IO_OPANSWER_H

#include "io/DataNodeStream.h"

#include <QtCore/QByteArray>

#include <pb_decode.h>

/// What there is of an answer.
enum OpAnswer {
    AnswerReceived,
    AnswerLengthNotReceived,
    AnswerLengthErroneous, ///< 0, or a varint that does not end within the first 4 bytes
    AnswerNotReceived
};

/// Receives an answer into `*memory`, which grows as needed. `*message` reads from there when it is AnswerReceived. The
/// first receive takes 4 bytes: what is not part of the answer is put back.
OpAnswer receiveOpAnswer(DataNodeStream *stream, QByteArray *memory, pb_istream_t *message);

#endif
