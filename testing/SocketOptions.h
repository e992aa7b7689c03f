// What the system says about a socket of the product's.
#ifndef TESTING_SOCKETOPTIONS_H
#define TESTING_SOCKETOPTIONS_H

#include "platform/Sockets.h"

/// Whether a socket shows as its pending error that the peer has reset the connection. Wine takes note of a reset by
/// itself, and the error is gone then.
bool showsResets();

/// Whether one receive with MSG_WAITALL brings all that it asks for. On Wine it may take more of them.
bool waitsForAll();

/// TCP_NODELAY.
bool isNagleOff(platform::SocketHandle handle);

/// Whether child processes get the socket, too.
bool isInherited(platform::SocketHandle handle);

/// The port that it is connected to over IPv4.
std::uint16_t peerPort(platform::SocketHandle handle);

#endif
