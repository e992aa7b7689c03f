// What the system says about a socket of the product's.
#ifndef TESTING_SOCKETOPTIONS_H
#define TESTING_SOCKETOPTIONS_H

#include "platform/Sockets.h"

/// TCP_NODELAY.
bool isNagleOff(platform::SocketHandle handle);

/// Whether child processes get the socket, too.
bool isInherited(platform::SocketHandle handle);

/// The port that it is connected to over IPv4.
std::uint16_t peerPort(platform::SocketHandle handle);

#endif
