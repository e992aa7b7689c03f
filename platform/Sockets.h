// Blocking TCP sockets of the operating system, one function for each call that the transport makes.
// Nothing here knows a protocol or keeps state; TcpSocket builds on it.
#ifndef PLATFORM_SOCKETS_H
#define PLATFORM_SOCKETS_H

#ifdef _WIN32
// The rest of Windows' headers makes macros of everyday words: ERROR, min, max.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef NOGDI
#define NOGDI
#endif
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <netdb.h>
#include <sys/socket.h>
#endif

#include <cstdint>
#include <string>

namespace platform {

/// A socket of this system, widened. All bits set means that there is no socket.
typedef std::uint64_t SocketHandle;
const SocketHandle kInvalidSocket = ~static_cast<SocketHandle>(0);

/// Starts the system's socket library where it has to be started. 0 = ready, 1 = failed.
int startSockets();

/// `socket`; kInvalidSocket on failure. The descriptor is not inherited by child processes.
SocketHandle openSocket(int family, int type, int protocol);

/// `connect`; 0 on success, -1 on failure. Completes a connect that a signal interrupted.
int connectSocket(SocketHandle handle, const struct sockaddr *address, std::size_t addressSize);

/// `closesocket` or `close`; also for kInvalidSocket, which does nothing. Leaves lastSocketError as it was: a failed
/// call may be reported after its socket has been closed.
void closeSocket(SocketHandle handle);

/// Sets TCP_NODELAY.
void setNoDelay(SocketHandle handle);

/// Lets a blocking receive wait until `bytes` are there (SO_RCVLOWAT), or as many as it asks for when those are fewer:
/// a long one is woken less often. 1 is the usual state. Does nothing where there is no such thing.
void setReceiveLowWater(SocketHandle handle, std::uint32_t bytes);

/// Asks Windows for its short way through the loopback interface (SIO_LOOPBACK_FAST_PATH); does nothing
/// where there is no such thing. The outcome does not matter.
void requestLoopbackFastPath(SocketHandle handle);

/// The error pending on a socket (SO_ERROR), 0 for none, -1 when it cannot be asked.
int pendingError(SocketHandle handle);

/// Bytes that can be received without blocking (FIONREAD).
std::int32_t bytesReadable(SocketHandle handle);

/// One `send`. Returns the bytes taken by the system, -1 on error. Never raises SIGPIPE.
std::int64_t sendOnce(SocketHandle handle, const char *buffer, std::uint32_t length);

/// One blocking `recv`. Returns the bytes received, 0 on orderly close, -1 on error.
std::int64_t receiveOnce(SocketHandle handle, char *buffer, std::uint32_t length);

/// One `recv` that waits for the whole length (MSG_WAITALL). Returns as receiveOnce.
std::int64_t receiveWhole(SocketHandle handle, char *buffer, std::uint32_t length);

/// As receiveOnce, but waits no longer than `milliseconds` for the first byte and returns kTimedOut then.
const std::int64_t kTimedOut = -2;
std::int64_t receiveWithin(SocketHandle handle, char *buffer, std::uint32_t length, int milliseconds);

/// As receiveWithin, into two places: what does not fit into `buffer` goes to `behind`, up to `behindLength` bytes.
/// kNoLimit waits without limit.
const int kNoLimit = -1;
std::int64_t receiveScattered(SocketHandle handle, char *buffer, std::uint32_t length, char *behind,
                              std::uint32_t behindLength, int milliseconds);

/// The error number of this thread's last failed socket call (WSAGetLastError, errno).
int lastSocketError();

/// The system's own text for a socket error number, in the local 8-bit encoding.
std::string socketErrorText(int error);

} // namespace platform

#endif
