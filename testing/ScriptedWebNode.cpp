#include "testing/ScriptedWebNode.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

void expectBytes(ScriptedConnection &connection, const std::string &expected)
{
    const std::string received = connection.receive(expected.size());
    if (received == expected)
        return;
    ADD_FAILURE() << "a request has\n  " << ::testing::PrintToString(received) << "\ninstead of\n  "
                  << ::testing::PrintToString(expected);
    connection.close();
}

/// A decimal number and the byte behind it, which must be `end`.
std::uint64_t receiveNumber(ScriptedConnection &connection, char end)
{
    std::string digits;
    char next;
    while ((next = connection.receive(1)[0]) >= '0' && next <= '9' && digits.size() < 19)
        digits += next;
    if (next != end || digits.empty() || std::to_string(std::stoull(digits)) != digits) {
        ADD_FAILURE() << "a number in a request is \"" << digits << "\" with \"" << next << "\" behind it";
        connection.close();
    }
    return std::stoull(digits);
}

} // namespace

std::string webHead(std::uint64_t length)
{
    return "HTTP/1.1 200 OK\r\naccess-control-allow-methods: GET\r\naccess-control-allow-origin: *\r\n"
           "content-type: application/octet-stream\r\nconnection: close\r\ncontent-length: " +
           std::to_string(length) + "\r\n\r\n";
}

std::string webHeadOfSize(std::size_t size)
{
    const std::string start = "HTTP/1.1 200 OK\r\nx-padding: ";
    const std::string end = "\r\n\r\n";
    return start + std::string(size - start.size() - end.size(), 'x') + end;
}

ScriptedWebNode::ScriptedWebNode(const std::string &bytes, const std::string &address)
    : m_bytes(bytes), m_firstNext(0), m_all(Serves), m_peer(address)
{
    m_peer.addScript([this](ScriptedConnection &connection) { handle(connection); });
}

void ScriptedWebNode::expect(const std::string &path, const std::string &user, const std::string &nameNode)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requestStart = "GET /webhdfs/v1";
    m_requestStart += path + "?op=OPEN&user.name=" + user + "&namenoderpcaddress=" + nameNode + "&length=";
}

void ScriptedWebNode::alter(const Alter &alter)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_alter = alter;
}

void ScriptedWebNode::nextConnections(const std::vector<Conduct> &conducts)
{
    const std::size_t count = m_peer.connectionCount();
    std::lock_guard<std::mutex> lock(m_mutex);
    m_firstNext = count;
    m_next = conducts;
}

void ScriptedWebNode::allConnections(Conduct conduct)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_all = conduct;
}

std::vector<WebRequest> ScriptedWebNode::requests() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

ScriptedWebNode::Conduct ScriptedWebNode::conductOf(const ScriptedConnection &connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t place = connection.index() - m_firstNext;
    return connection.index() >= m_firstNext && place < m_next.size() ? m_next[place] : m_all;
}

void ScriptedWebNode::handle(ScriptedConnection &connection)
{
    const Conduct conduct = conductOf(connection);
    if (conduct == ClosesAtOnce)
        connection.close();
    if (conduct == ResetsAtOnce)
        connection.reset();
    for (;;) {
        const WebRequest request = receiveRequest(connection);
        if (conduct == ClosesAfterRequest)
            connection.close();
        if (conduct == ResetsAfterRequest)
            connection.reset();
        const WebAnswer answer = answerTo(request);
        connection.send(answer.head + answer.body);
        if (answer.closesBehind)
            connection.close();
    }
}

WebRequest ScriptedWebNode::receiveRequest(ScriptedConnection &connection)
{
    std::string start;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        start = m_requestStart;
    }
    expectBytes(connection, start);
    WebRequest request = {connection.index(), 0, 0};
    request.length = receiveNumber(connection, '&');
    expectBytes(connection, "offset=");
    request.offset = receiveNumber(connection, ' ');
    expectBytes(connection, "HTTP/1.1\r\nUser-Agent: Marrowby\r\nAccept: */*\r\n\r\n");
    std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.push_back(request);
    return request;
}

WebAnswer ScriptedWebNode::answerTo(const WebRequest &request) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::size_t offset = std::min<std::uint64_t>(request.offset, m_bytes.size());
    const std::size_t length = std::min<std::uint64_t>(request.length, m_bytes.size() - offset);
    WebAnswer answer = {webHead(length), m_bytes.substr(offset, length), true};
    if (m_alter)
        m_alter(request, &answer);
    return answer;
}
