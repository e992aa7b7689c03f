// A TCP server inside the test process that plays a script to every connection: it records each byte that reaches it
// and can break off, reset, stall, fragment or lie at any byte of what it sends.
//
// A test constructs the peer, gives it scripts and faults, lets the product connect to `address()` and `port()`, and
// looks at `received()` afterwards. Scripts run on threads of the peer's own, one for each connection. Whatever
// happens, the destructor ends them and closes every descriptor; a peer that waits longer than its patience for its
// client fails the test and resets the connection, so that neither side hangs.
#ifndef TESTING_SCRIPTEDPEER_H
#define TESTING_SCRIPTEDPEER_H

#include "testing/PeerSocket.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// How long a script waits for its client before the test counts as failed: 20 seconds, or a third of what the test may
/// take (QUORHDFS_TEST_PATIENCE).
int peerPatienceMilliseconds();

/// What goes wrong at one place of the bytes that a connection sends (or receives): byte `position` is the first one
/// that is not sent (not read) any more, or the one that arrives changed.
struct Fault {
    enum Kind {
        None,
        Close, ///< orderly end: nothing more is sent, what still arrives is read and recorded
        Reset, ///< the connection is reset
        Stall, ///< nothing more is sent until `ScriptedPeer::resume`, or until the peer is destroyed
        Flip   ///< the bits of `mask` are inverted in the byte at `position`; all else goes on as scripted
    };
    Kind kind;
    std::uint64_t position;
    unsigned char mask;

    static Fault none() { return Fault{None, 0, 0}; }
    static Fault closeAt(std::uint64_t position) { return Fault{Close, position, 0}; }
    static Fault resetAt(std::uint64_t position) { return Fault{Reset, position, 0}; }
    static Fault stallAt(std::uint64_t position) { return Fault{Stall, position, 0}; }
    static Fault flipAt(std::uint64_t position, unsigned char mask) { return Fault{Flip, position, mask}; }
};

class ScriptedPeer;

/// One accepted connection, in the hands of its script. Each function that cannot go on (the client has closed or reset
/// the connection, a fault ended it, the peer is being destroyed) throws Ended; a script need not catch it.
class ScriptedConnection
{
public:
    /// Thrown to end a script. No failure by itself: the test asserts what was received and what its client got.
    struct Ended {
    };

    ~ScriptedConnection();
    ScriptedConnection(const ScriptedConnection &) = delete;
    ScriptedConnection &operator=(const ScriptedConnection &) = delete;

    /// Position of this connection in the order in which they were accepted, from 0.
    std::size_t index() const { return m_index; }

    /// Exactly `size` bytes.
    std::string receive(std::size_t size);
    /// True when another byte has arrived, false when the client has ended the connection.
    bool waitForMore();
    /// Everything up to the client's end of the connection, however it ends it.
    std::string receiveToEnd();
    /// True when nothing arrives (and the client does not close) within `milliseconds`.
    bool isSilentFor(int milliseconds);

    void send(const std::string &bytes);

    /// Ends this direction in an orderly way and records what still arrives until the client closes. Then ends the
    /// script.
    [[noreturn]] void close();
    /// Closes the descriptor at once; what the client sends from now on is answered with a reset. Then ends the script.
    [[noreturn]] void closeAtOnce();
    /// Resets the connection. Then ends the script.
    [[noreturn]] void reset();
    /// Waits for `ScriptedPeer::resume`.
    void stall();
    /// Waits; for the few tests whose subject is time.
    void pause(int milliseconds);

private:
    friend class ScriptedPeer;
    ScriptedConnection(ScriptedPeer *peer, peer_socket::Socket socket, std::size_t index);

    /// Waits until `event` holds. False when `milliseconds` (-1: its patience, with a test failure) have passed.
    bool wait(peer_socket::Event event, int milliseconds);
    std::size_t receiveSome(char *buffer, std::size_t size);
    void sendSome(const char *bytes, std::size_t size);
    void apply(const Fault &fault);
    void drain();
    void closeSocket();

    ScriptedPeer *m_peer;
    peer_socket::Socket m_socket;
    const std::size_t m_index;
    Fault m_sendFault;
    Fault m_receiveFault;
    std::size_t m_fragment;
    std::string m_received; ///< guarded by the peer's mutex
    std::string m_sent;     ///< guarded by the peer's mutex; what the client was really sent
    bool m_over;            ///< guarded by the peer's mutex; the script has ended and the descriptor is closed
    std::thread m_thread;
};

class ScriptedPeer
{
public:
    typedef std::function<void(ScriptedConnection &)> Script;

    /// Listens at a numeric IPv4 or IPv6 address of this machine, at `port` or at a free one.
    explicit ScriptedPeer(const std::string &address = "127.0.0.1", int port = 0);
    /// Ends all scripts, closes all connections, joins all threads.
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer &) = delete;
    ScriptedPeer &operator=(const ScriptedPeer &) = delete;

    const std::string &address() const { return m_address; }
    int port() const { return m_port; }

    /// What is played to the next connections, one script for each in the order given; the last one given serves all
    /// that follow. Without any, connections are only read and recorded. When a script returns, its connection ends as
    /// by `close`.
    void addScript(Script script);

    /// For connections accepted from now on: what goes wrong on each of them, and how many bytes each `send` of theirs
    /// passes on at most (0: no limit). `connection` (-1: all) limits the fault to one of them.
    void setSendFault(const Fault &fault, int connection = -1);
    void setReceiveFault(const Fault &fault, int connection = -1);
    void setFragmentSize(std::size_t bytes);

    /// Lets everything that stalls go on.
    void resume();

    std::size_t connectionCount() const;
    /// Every byte that reached connection `index` so far. Bytes that the client sent and the script has not read
    /// are not in it before the connection is over.
    std::string received(std::size_t index = 0) const;
    /// Every byte that connection `index` was sent so far, faults included.
    std::string sent(std::size_t index = 0) const;

    /// Waits until `count` connections were accepted and are over: their scripts ended and their descriptors closed.
    /// After waiting for its patience it fails the test.
    void waitUntilOver(std::size_t count);

    /// Stops accepting: the port refuses connections from now on.
    void stopListening();

private:
    friend class ScriptedConnection;
    void acceptConnections();
    void joinFinished();
    void run(ScriptedConnection *connection, const Script &script);

    std::string m_address;
    int m_port;
    peer_socket::Socket m_listener;
    peer_socket::Wake m_wake;         ///< raised once the peer is being destroyed
    peer_socket::Wake m_stopListener; ///< raised once the peer no longer accepts
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopping;
    unsigned m_resumes;
    std::vector<Script> m_scripts;
    Fault m_sendFault;
    int m_sendFaultConnection;
    Fault m_receiveFault;
    int m_receiveFaultConnection;
    std::size_t m_fragment;
    std::vector<std::unique_ptr<ScriptedConnection>> m_connections;
    std::thread m_acceptor;
};

/// A port that refuses connections and that nobody else can take meanwhile.
class RefusingPort
{
public:
    explicit RefusingPort(const std::string &address = "127.0.0.1");
    ~RefusingPort();
    RefusingPort(const RefusingPort &) = delete;
    RefusingPort &operator=(const RefusingPort &) = delete;
    int port() const { return m_port; }

private:
    peer_socket::Socket m_socket;
    int m_port;
};

#endif
