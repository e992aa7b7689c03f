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

/// What a DataNode does behind its answer, before it hears from the client again.
enum WhatFollows {
    DataFollow,    ///< it goes on sending
    NothingFollows ///< it waits: no byte that is not the answer's may be waited for
};

/// Receives an answer into `*memory`, which grows as needed. `*message` reads from there when it is AnswerReceived. The
/// length is read out of 4 bytes, which an answer has together with what follows: what is not part of it is put back.
OpAnswer receiveOpAnswer(DataNodeStream *stream, QByteArray *memory, pb_istream_t *message, WhatFollows whatFollows);

#endif
