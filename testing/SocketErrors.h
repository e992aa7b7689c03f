// Socket errors as this system numbers and words them, which is how they stand in the host's log.
#ifndef TESTING_SOCKETERRORS_H
#define TESTING_SOCKETERRORS_H

#include <string>

/// An error of <cerrno>: "NUMBER\n  TEXT". 0 is that of an orderly close.
std::string socketErrorOf(int error);

/// The error of a connection that the peer has reset. "*", which stands for any (LogCapture), where the system takes a
/// reset for a close now and then.
std::string resetError();

#endif
