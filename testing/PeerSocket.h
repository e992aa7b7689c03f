// The sockets of the scripted peers, of their own on each system: they share nothing with the product's, whose calls
// the tests let fail. What the system refuses throws std::runtime_error.
#ifndef TESTING_PEERSOCKET_H
#define TESTING_PEERSOCKET_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace peer_socket {

/// A socket of this system; kNone when there is none.
typedef std::intptr_t Socket;
const Socket kNone = -1;

/// Ends the waits that watch it, all of them and for good, once it is raised.
class Wake
{
public:
    Wake();
    ~Wake();
    Wake(const Wake &) = delete;
    Wake &operator=(const Wake &) = delete;

    void raise();
    /// What the system watches.
    Socket socket() const { return m_socket; }

private:
    Socket m_socket;
};

/// A socket bound to a numeric IPv4 address or to the IPv6 loopback; `*port` 0 asks for a free one, and is the port
/// that it got afterwards. Nobody inherits it.
Socket bindTo(const std::string &address, int *port);
/// False when this machine has no loopback interface with IPv6.
bool hasIPv6Loopback();
void listenAt(Socket socket);
/// A connection that waits at a listener, with Nagle switched off; kNone when none waits.
Socket acceptAt(Socket listener);
void close(Socket socket);

enum Event { Readable, Writable };
enum Waited { Ready, TimedOut, Woken };
/// Waits until `event` holds (or the connection has come to an end), `wake` is raised, or `milliseconds` (-1: any
/// number) have passed. Woken goes before Ready.
Waited waitFor(Socket socket, Event event, const Wake &wake, int milliseconds);

/// Bytes received or sent, which are fewer than `size` when there is no more to be had at once; 0 at the end of the
/// connection, whichever end that is; kNotNow when it would have to wait.
const std::ptrdiff_t kNotNow = -1;
std::ptrdiff_t receiveNow(Socket socket, char *buffer, std::size_t size);
std::ptrdiff_t sendNow(Socket socket, const char *bytes, std::size_t size);
/// Whether a byte is there, and not the end; takes nothing.
bool hasByte(Socket socket);

/// The end of what is sent, in an orderly way.
void endSending(Socket socket);
/// Lets `close` reset the connection.
void resetOnClose(Socket socket);

} // namespace peer_socket

#endif
