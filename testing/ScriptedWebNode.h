// The web port of a DataNode inside the test process: it serves a file's bytes to WebHDFS OPEN requests as a real one
// does. It checks every byte that reaches it (a deviation fails the test) and can be told to answer anything else.
//
// Faults at a byte (break off, reset, stall, flip, fragment) are those of the ScriptedPeer that it is built on:
// `peer().setSendFault(...)`.
#ifndef TESTING_SCRIPTEDWEBNODE_H
#define TESTING_SCRIPTEDWEBNODE_H

#include "testing/ScriptedPeer.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// A request as it arrived.
struct WebRequest {
    std::size_t connection; ///< index of the peer's connection
    std::uint64_t offset;   ///< in the file
    std::uint64_t length;
};

/// What is sent for one request.
struct WebAnswer {
    std::string head; ///< with the blank line
    std::string body;
    bool closesBehind; ///< false: another request is taken
};

/// The head that a DataNode of Hadoop 3 sends in front of `length` bytes: 164 bytes and one more for each further
/// digit.
std::string webHead(std::uint64_t length);
/// A head of `size` bytes with the blank line, at least 40; status 200.
std::string webHeadOfSize(std::size_t size);

class ScriptedWebNode
{
public:
    /// Serves `bytes` as the file's.
    explicit ScriptedWebNode(const std::string &bytes, const std::string &address = "127.0.0.1");

    /// What requests must name from now on.
    void expect(const std::string &path, const std::string &user, const std::string &nameNode);

    /// Has the last word about what is sent. Null: nothing is altered.
    typedef std::function<void(const WebRequest &, WebAnswer *)> Alter;
    void alter(const Alter &alter);

    /// How a connection is ended instead of served, right behind the connect or behind the request; all but the resets
    /// orderly.
    enum Conduct { Serves, ClosesAtOnce, ResetsAtOnce, ClosesAfterRequest, ResetsAfterRequest };
    /// For the next connections, one for each in this order.
    void nextConnections(const std::vector<Conduct> &conducts);
    /// For all that come after those.
    void allConnections(Conduct conduct);

    ScriptedPeer &peer() { return m_peer; }
    int port() const { return m_peer.port(); }
    std::size_t connectionCount() const { return m_peer.connectionCount(); }
    std::vector<WebRequest> requests() const;

private:
    void handle(ScriptedConnection &connection);
    Conduct conductOf(const ScriptedConnection &connection);
    WebRequest receiveRequest(ScriptedConnection &connection);
    WebAnswer answerTo(const WebRequest &request) const;

    mutable std::mutex m_mutex; ///< guards all but the peer
    std::string m_bytes;
    std::string m_requestStart; ///< up to the length's digits
    Alter m_alter;
    std::size_t m_firstNext; ///< index of the connection that m_next begins with
    std::vector<Conduct> m_next;
    Conduct m_all;
    std::vector<WebRequest> m_requests;
    ScriptedPeer m_peer; ///< the last member: its scripts use the others
};

#endif
