#include "testing/ScriptedNameNode.h"

#include <gtest/gtest.h>

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>

#include <algorithm>

using namespace hadoop::oracle;

namespace {

const char kProtocol[] = "org.apache.hadoop.hdfs.protocol.ClientProtocol";
const std::size_t kMostBytesOfHeader = 126;

std::uint32_t bigEndian32At(const std::string &bytes, std::size_t position)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes.at(position + i));
    return value;
}

/// Takes `bytes` apart from the front.
class Cursor
{
public:
    explicit Cursor(const std::string &bytes) : m_bytes(bytes), m_position(0) {}

    std::uint64_t varint()
    {
        std::uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            const unsigned char byte = static_cast<unsigned char>(take(1)[0]);
            value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
            if (!(byte & 0x80))
                return value;
        }
        ADD_FAILURE() << "a varint does not end";
        throw ScriptedConnection::Ended();
    }

    std::string take(std::size_t size)
    {
        if (size > m_bytes.size() - m_position) {
            ADD_FAILURE() << "a frame ends " << size - (m_bytes.size() - m_position) << " bytes early";
            throw ScriptedConnection::Ended();
        }
        m_position += size;
        return m_bytes.substr(m_position - size, size);
    }

    std::string takeDelimited() { return take(static_cast<std::size_t>(varint())); }

    std::size_t left() const { return m_bytes.size() - m_position; }

private:
    const std::string &m_bytes;
    std::size_t m_position;
};

/// Decodes `bytes` and checks that the oracle would have written them just so: no unknown field, no other order, no
/// longer form of a number.
void parseExactly(const std::string &bytes, google::protobuf::Message *message)
{
    EXPECT_TRUE(message->ParseFromString(bytes)) << message->GetTypeName();
    EXPECT_EQ(0, message->GetReflection()->GetUnknownFields(*message).field_count()) << message->ShortDebugString();
    EXPECT_EQ(message->SerializePartialAsString(), bytes) << message->ShortDebugString();
}

void checkRpcHeader(const RpcRequestHeaderProto &header)
{
    EXPECT_TRUE(header.has_rpckind());
    EXPECT_EQ(RPC_PROTOCOL_BUFFER, header.rpckind());
    EXPECT_TRUE(header.has_rpcop());
    EXPECT_EQ(RpcRequestHeaderProto::RPC_FINAL_PACKET, header.rpcop());
    EXPECT_TRUE(header.has_retrycount());
    EXPECT_EQ(-1, header.retrycount());
    EXPECT_FALSE(header.has_traceinfo() || header.has_callercontext() || header.has_stateid());
}

void checkClientId(const std::string &clientId)
{
    EXPECT_EQ(16u, clientId.size());
    for (std::size_t i = 0; i < clientId.size(); ++i) {
        if (i == 8 || i == 13)
            EXPECT_EQ('-', clientId[i]) << clientId;
        else
            EXPECT_NE(std::string::npos, std::string("0123456789abcdef").find(clientId[i])) << clientId;
    }
}

/// Of all calls only addBlock is sent again as it was, with its call id.
bool isRepetition(const NameNodeCall &earlier, const NameNodeCall &call)
{
    return call.method == "addBlock" && earlier.method == call.method && earlier.callId == call.callId &&
           earlier.request == call.request;
}

/// Checks the request of a known method; false for an unknown one.
bool checkRequest(const std::string &method, const std::string &request)
{
    const std::map<std::string, const google::protobuf::Message *> prototypes = {
        {"getListing", &GetListingRequestProto::default_instance()},
        {"getFileInfo", &GetFileInfoRequestProto::default_instance()},
        {"mkdirs", &MkdirsRequestProto::default_instance()},
        {"delete", &DeleteRequestProto::default_instance()},
        {"rename", &RenameRequestProto::default_instance()},
        {"setReplication", &SetReplicationRequestProto::default_instance()},
        {"setPermission", &SetPermissionRequestProto::default_instance()},
        {"setOwner", &SetOwnerRequestProto::default_instance()},
        {"getFsStats", &GetFsStatusRequestProto::default_instance()},
        {"getBlockLocations", &GetBlockLocationsRequestProto::default_instance()},
        {"create", &CreateRequestProto::default_instance()},
        {"addBlock", &AddBlockRequestProto::default_instance()},
        {"abandonBlock", &AbandonBlockRequestProto::default_instance()},
        {"complete", &CompleteRequestProto::default_instance()},
        {"fsync", &FsyncRequestProto::default_instance()},
    };
    const auto prototype = prototypes.find(method);
    if (prototype == prototypes.end())
        return false;
    const std::unique_ptr<google::protobuf::Message> message(prototype->second->New());
    parseExactly(request, message.get());
    return true;
}

} // namespace

void NameNodeCall::checkParsed(bool parsed)
{
    EXPECT_TRUE(parsed);
}

ScriptedNameNode::ScriptedNameNode(const std::string &address, int port) : m_peer(address, port)
{
    m_peer.addScript([this](ScriptedConnection &connection) { serve(connection); });
}

void ScriptedNameNode::respond(const std::string &method, Responder responder)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[method].push_back(std::move(responder));
}

void ScriptedNameNode::answer(const std::string &method, const google::protobuf::Message &message)
{
    const std::string encoded = lengthDelimited(message);
    respond(method, [encoded](ScriptedConnection &connection, const NameNodeCall &call) {
        connection.send(frame(successHeader(call), encoded));
    });
}

void ScriptedNameNode::answerException(const std::string &method, const std::string &className,
                                       const std::string &message)
{
    respond(method, [className, message](ScriptedConnection &connection, const NameNodeCall &call) {
        connection.send(frame(exceptionHeader(call, className, message), std::string()));
    });
}

void ScriptedNameNode::answerBytes(const std::string &method, const std::string &bytes)
{
    respond(method, [bytes](ScriptedConnection &connection, const NameNodeCall &) { connection.send(bytes); });
}

void ScriptedNameNode::answerEmptyFrame(const std::string &method)
{
    answerBytes(method, bigEndian32(0));
}

void ScriptedNameNode::answerClose(const std::string &method)
{
    respond(method, [](ScriptedConnection &connection, const NameNodeCall &) { connection.close(); });
}

void ScriptedNameNode::forget(const std::string &method)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers.erase(method);
}

std::vector<NameNodeIntroduction> ScriptedNameNode::introductions() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<NameNodeIntroduction> introductions = m_introductions;
    std::sort(introductions.begin(), introductions.end(),
              [](const NameNodeIntroduction &a, const NameNodeIntroduction &b) { return a.connection < b.connection; });
    return introductions;
}

std::vector<NameNodeCall> ScriptedNameNode::calls() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

std::vector<NameNodeCall> ScriptedNameNode::calls(const std::string &method) const
{
    std::vector<NameNodeCall> wanted = calls();
    wanted.erase(std::remove_if(wanted.begin(), wanted.end(),
                                [&method](const NameNodeCall &call) { return call.method != method; }),
                 wanted.end());
    return wanted;
}

RpcResponseHeaderProto ScriptedNameNode::successHeader(const NameNodeCall &call)
{
    RpcResponseHeaderProto header;
    header.set_callid(static_cast<std::uint32_t>(call.callId));
    header.set_status(RpcResponseHeaderProto::SUCCESS);
    header.set_serveripcversionnum(9);
    header.set_clientid(call.clientId);
    header.set_retrycount(-1);
    header.set_stateid(4711);
    header.set_routerfederatedstate("a newer server's");
    return header;
}

RpcResponseHeaderProto ScriptedNameNode::exceptionHeader(const NameNodeCall &call, const std::string &className,
                                                         const std::string &message)
{
    RpcResponseHeaderProto header = successHeader(call);
    header.set_status(RpcResponseHeaderProto::ERROR);
    header.set_exceptionclassname(className);
    header.set_errormsg(message);
    header.set_errordetail(RpcResponseHeaderProto::ERROR_APPLICATION);
    return header;
}

std::string ScriptedNameNode::frame(const NameNodeCall &call, const google::protobuf::Message &message)
{
    return frame(successHeader(call), lengthDelimited(message));
}

std::string ScriptedNameNode::frame(const RpcResponseHeaderProto &header, const std::string &afterHeader)
{
    const std::string body = lengthDelimited(header) + afterHeader;
    return bigEndian32(static_cast<std::uint32_t>(body.size())) + body;
}

void ScriptedNameNode::serve(ScriptedConnection &connection)
{
    const std::string clientId = takeIntroduction(connection);
    while (connection.waitForMore()) {
        const NameNodeCall call = takeCall(connection, clientId);
        const Responder responder = responderFor(call.method);
        if (responder) {
            responder(connection, call);
            continue;
        }
        ADD_FAILURE() << "no answer to " << call.method << " was queued";
        connection.send(frame(exceptionHeader(call, "NoAnswer", "no answer was queued"), std::string()));
    }
}

std::string ScriptedNameNode::takeIntroduction(ScriptedConnection &connection)
{
    const std::string preamble = connection.receive(7);
    EXPECT_EQ("hrpc", preamble.substr(0, 4));
    EXPECT_EQ(9, preamble[4]);
    EXPECT_EQ(0, preamble[5]);
    NameNodeIntroduction introduction;
    introduction.connection = connection.index();
    introduction.authProtocol = static_cast<unsigned char>(preamble[6]);
    EXPECT_TRUE(introduction.authProtocol == 0 || introduction.authProtocol == 0xDF);

    const std::string frame = connection.receive(bigEndian32At(connection.receive(4), 0));
    Cursor cursor(frame);
    const std::string headerBytes = cursor.takeDelimited();
    EXPECT_LE(headerBytes.size(), kMostBytesOfHeader);
    RpcRequestHeaderProto header;
    parseExactly(headerBytes, &header);
    checkRpcHeader(header);
    EXPECT_EQ(-3, header.callid());
    checkClientId(header.clientid());
    IpcConnectionContextProto context;
    parseExactly(cursor.takeDelimited(), &context);
    EXPECT_EQ(0u, cursor.left());
    EXPECT_TRUE(context.has_userinfo());
    EXPECT_TRUE(context.userinfo().has_effectiveuser());
    EXPECT_FALSE(context.userinfo().has_realuser());
    EXPECT_EQ(kProtocol, context.protocol());

    introduction.user = context.userinfo().effectiveuser();
    introduction.clientId = header.clientid();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_introductions.push_back(introduction);
    return introduction.clientId;
}

NameNodeCall ScriptedNameNode::takeCall(ScriptedConnection &connection, const std::string &clientId)
{
    const std::string frame = connection.receive(bigEndian32At(connection.receive(4), 0));
    Cursor cursor(frame);
    const std::string rpcHeaderBytes = cursor.takeDelimited();
    const std::string requestHeaderBytes = cursor.takeDelimited();
    EXPECT_LE(rpcHeaderBytes.size(), kMostBytesOfHeader);
    EXPECT_LE(requestHeaderBytes.size(), kMostBytesOfHeader);
    RpcRequestHeaderProto rpcHeader;
    parseExactly(rpcHeaderBytes, &rpcHeader);
    checkRpcHeader(rpcHeader);
    EXPECT_EQ(clientId, rpcHeader.clientid());
    RequestHeaderProto requestHeader;
    parseExactly(requestHeaderBytes, &requestHeader);
    EXPECT_EQ(kProtocol, requestHeader.declaringclassprotocolname());
    EXPECT_EQ(1u, requestHeader.clientprotocolversion());

    NameNodeCall call;
    call.connection = connection.index();
    call.method = requestHeader.methodname();
    call.callId = rpcHeader.callid();
    call.clientId = rpcHeader.clientid();
    call.request = cursor.takeDelimited();
    call.frameSize = 4 + frame.size();
    EXPECT_EQ(0u, cursor.left());
    EXPECT_TRUE(checkRequest(call.method, call.request)) << "unknown method " << call.method;

    std::lock_guard<std::mutex> lock(m_mutex);
    for (const NameNodeCall &earlier : m_calls)
        EXPECT_FALSE(earlier.clientId == call.clientId && earlier.callId >= call.callId && !isRepetition(earlier, call))
            << "call id " << call.callId << " after " << earlier.callId;
    m_calls.push_back(call);
    return call;
}

ScriptedNameNode::Responder ScriptedNameNode::responderFor(const std::string &method)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto answers = m_answers.find(method);
    if (answers == m_answers.end())
        return Responder();
    const Responder responder = answers->second.front();
    if (answers->second.size() > 1)
        answers->second.pop_front();
    return responder;
}

std::string bigEndian32(std::uint32_t value)
{
    std::string bytes(4, '\0');
    for (int i = 3; i >= 0; --i, value >>= 8)
        bytes[static_cast<std::size_t>(i)] = static_cast<char>(value);
    return bytes;
}

std::string lengthDelimited(const std::string &bytes)
{
    std::string out;
    {
        google::protobuf::io::StringOutputStream stream(&out);
        google::protobuf::io::CodedOutputStream coded(&stream);
        coded.WriteVarint64(bytes.size());
        coded.WriteString(bytes);
    }
    return out;
}

std::string lengthDelimited(const google::protobuf::Message &message)
{
    return lengthDelimited(message.SerializePartialAsString());
}
