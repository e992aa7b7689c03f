// A NameNode inside the test process. It takes in the connection preamble, the connection context and calls, checks
// each byte of them (a deviation fails the test), and answers a call from what was queued for its method.
//
// All of ScriptedPeer holds: faults at any byte of the responses are ordered through `peer()`. The preamble and the
// context are not answered, so byte 0 that a connection sends is the first of its first response.
#ifndef TESTING_SCRIPTEDNAMENODE_H
#define TESTING_SCRIPTEDNAMENODE_H

#include "testing/ScriptedPeer.h"

#include "testing/proto/OracleClientProtocol.pb.h"
#include "testing/proto/OracleHdfs.pb.h"
#include "testing/proto/OracleIpc.pb.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// What a connection opened with.
struct NameNodeIntroduction {
    std::size_t connection;     ///< index of the connection
    unsigned char authProtocol; ///< 0 none, 0xDF SASL
    std::string user;
    std::string clientId;
};

/// One call as it arrived.
struct NameNodeCall {
    std::size_t connection; ///< index of the connection
    std::string method;
    std::int32_t callId;
    std::string clientId;
    std::string request;   ///< the request message, encoded
    std::size_t frameSize; ///< bytes of the whole frame with its length

    /// The request as a message; the test fails when it is not one.
    template <class Message> Message as() const
    {
        Message message;
        checkParsed(message.ParseFromString(request));
        return message;
    }

private:
    static void checkParsed(bool parsed);
};

class ScriptedNameNode
{
public:
    /// Plays one answer. May send nothing, end the connection, stall.
    typedef std::function<void(ScriptedConnection &, const NameNodeCall &)> Responder;

    explicit ScriptedNameNode(const std::string &address = "127.0.0.1", int port = 0);
    ScriptedNameNode(const ScriptedNameNode &) = delete;
    ScriptedNameNode &operator=(const ScriptedNameNode &) = delete;

    ScriptedPeer &peer() { return m_peer; }
    int port() const { return m_peer.port(); }

    /// Queues an answer to the calls of `method`. Each answer serves one call, the one queued last serves all that
    /// follow. A call of a method without an answer fails the test and is answered with an exception.
    void respond(const std::string &method, Responder responder);

    /// A success with this message.
    void answer(const std::string &method, const google::protobuf::Message &message);
    /// A remote exception. `status` ERROR leaves the connection as it is.
    void answerException(const std::string &method, const std::string &className, const std::string &message);
    /// These bytes, whatever they are; then the connection goes on.
    void answerBytes(const std::string &method, const std::string &bytes);
    /// A frame of length 0.
    void answerEmptyFrame(const std::string &method);
    /// No byte: an orderly close.
    void answerClose(const std::string &method);

    /// Drops all queued answers of a method.
    void forget(const std::string &method);

    /// In the order of the connections.
    std::vector<NameNodeIntroduction> introductions() const;
    /// In the order of their arrival.
    std::vector<NameNodeCall> calls() const;
    std::vector<NameNodeCall> calls(const std::string &method) const;

    /// A whole response frame: length, delimited header, delimited message. The header carries the fields of newer
    /// servers too.
    static std::string frame(const NameNodeCall &call, const google::protobuf::Message &message);
    static std::string frame(const hadoop::oracle::RpcResponseHeaderProto &header, const std::string &afterHeader);
    static hadoop::oracle::RpcResponseHeaderProto successHeader(const NameNodeCall &call);
    static hadoop::oracle::RpcResponseHeaderProto
    exceptionHeader(const NameNodeCall &call, const std::string &className, const std::string &message);

private:
    void serve(ScriptedConnection &connection);
    std::string takeIntroduction(ScriptedConnection &connection);
    NameNodeCall takeCall(ScriptedConnection &connection, const std::string &clientId);
    Responder responderFor(const std::string &method);

    mutable std::mutex m_mutex;
    std::map<std::string, std::deque<Responder>> m_answers;
    std::vector<NameNodeIntroduction> m_introductions;
    std::vector<NameNodeCall> m_calls;
    ScriptedPeer m_peer; ///< last: its threads use all of the above
};

/// The building blocks of frames.
std::string bigEndian32(std::uint32_t value);
std::string lengthDelimited(const std::string &bytes);
std::string lengthDelimited(const google::protobuf::Message &message);

#endif
