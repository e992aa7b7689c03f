#include "testing/ScriptedPeer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

int peerPatienceMilliseconds()
{
    const char *seconds = std::getenv("QUORHDFS_TEST_PATIENCE");
    return std::max(20000, seconds ? std::atoi(seconds) * 1000 / 3 : 0);
}

ScriptedConnection::ScriptedConnection(ScriptedPeer *peer, peer_socket::Socket socket, std::size_t index)
    : m_peer(peer), m_socket(socket), m_index(index), m_sendFault(Fault::none()), m_receiveFault(Fault::none()),
      m_fragment(0), m_over(false)
{
}

ScriptedConnection::~ScriptedConnection()
{
    closeSocket();
}

bool ScriptedConnection::wait(peer_socket::Event event, int milliseconds)
{
    const int patience = milliseconds < 0 ? peerPatienceMilliseconds() : milliseconds;
    const peer_socket::Waited waited = peer_socket::waitFor(m_socket, event, m_peer->m_wake, patience);
    if (waited == peer_socket::Woken)
        throw Ended();
    if (waited == peer_socket::Ready)
        return true;
    if (milliseconds < 0) {
        ADD_FAILURE() << "connection " << m_index << " of the scripted peer waited in vain for its client";
        reset();
    }
    return false;
}

std::size_t ScriptedConnection::receiveSome(char *buffer, std::size_t size)
{
    if (m_receiveFault.kind != Fault::None) {
        const std::uint64_t before = m_received.size();
        if (m_receiveFault.kind == Fault::Flip) {
            if (before <= m_receiveFault.position)
                size = std::min<std::uint64_t>(size, m_receiveFault.position - before + 1);
        } else if (before >= m_receiveFault.position) {
            const Fault fault = m_receiveFault;
            m_receiveFault = Fault::none();
            apply(fault);
        } else {
            size = std::min<std::uint64_t>(size, m_receiveFault.position - before);
        }
    }
    for (;;) {
        wait(peer_socket::Readable, -1);
        const std::ptrdiff_t count = peer_socket::receiveNow(m_socket, buffer, size);
        if (count == peer_socket::kNotNow)
            continue;
        if (count == 0)
            return 0;
        std::lock_guard<std::mutex> lock(m_peer->m_mutex);
        m_received.append(buffer, static_cast<std::size_t>(count));
        // What the client sent stands in the record; the script sees the changed byte.
        if (m_receiveFault.kind == Fault::Flip && m_received.size() == m_receiveFault.position + 1)
            buffer[count - 1] = static_cast<char>(buffer[count - 1] ^ m_receiveFault.mask);
        return static_cast<std::size_t>(count);
    }
}

std::string ScriptedConnection::receive(std::size_t size)
{
    std::string bytes;
    char buffer[64 * 1024];
    while (bytes.size() < size) {
        const std::size_t count = receiveSome(buffer, std::min(sizeof buffer, size - bytes.size()));
        if (count == 0)
            throw Ended();
        bytes.append(buffer, count);
    }
    return bytes;
}

bool ScriptedConnection::waitForMore()
{
    wait(peer_socket::Readable, -1);
    return peer_socket::hasByte(m_socket);
}

std::string ScriptedConnection::receiveToEnd()
{
    std::string bytes;
    char buffer[64 * 1024];
    for (;;) {
        const std::size_t count = receiveSome(buffer, sizeof buffer);
        if (count == 0)
            return bytes;
        bytes.append(buffer, count);
    }
}

bool ScriptedConnection::isSilentFor(int milliseconds)
{
    return !wait(peer_socket::Readable, milliseconds);
}

void ScriptedConnection::sendSome(const char *bytes, std::size_t size)
{
    while (size > 0) {
        const std::size_t piece = m_fragment > 0 ? std::min(m_fragment, size) : size;
        const std::ptrdiff_t count = peer_socket::sendNow(m_socket, bytes, piece);
        if (count == peer_socket::kNotNow) {
            wait(peer_socket::Writable, -1);
            continue;
        }
        if (count == 0)
            throw Ended();
        {
            std::lock_guard<std::mutex> lock(m_peer->m_mutex);
            m_sent.append(bytes, static_cast<std::size_t>(count));
        }
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

void ScriptedConnection::send(const std::string &bytes)
{
    std::string out = bytes;
    std::size_t done = 0;
    const std::uint64_t before = m_sent.size();
    if (m_sendFault.kind != Fault::None && m_sendFault.position >= before &&
        m_sendFault.position - before < out.size()) {
        const std::size_t position = static_cast<std::size_t>(m_sendFault.position - before);
        if (m_sendFault.kind == Fault::Flip) {
            out[position] = static_cast<char>(out[position] ^ m_sendFault.mask);
        } else {
            sendSome(out.data(), position);
            done = position;
            const Fault fault = m_sendFault;
            m_sendFault = Fault::none();
            apply(fault);
        }
    }
    sendSome(out.data() + done, out.size() - done);
}

void ScriptedConnection::apply(const Fault &fault)
{
    switch (fault.kind) {
    case Fault::Close:
        close();
    case Fault::Reset:
        reset();
    case Fault::Stall:
        stall();
        break;
    case Fault::Flip:
    case Fault::None:
        break;
    }
}

void ScriptedConnection::drain()
{
    char buffer[64 * 1024];
    m_receiveFault = Fault::none();
    // Without the limit of patience: a client may keep a connection as long as its test runs.
    while (!wait(peer_socket::Readable, 1000) || receiveSome(buffer, sizeof buffer) > 0) {
    }
}

void ScriptedConnection::close()
{
    peer_socket::endSending(m_socket);
    drain();
    throw Ended();
}

void ScriptedConnection::closeAtOnce()
{
    closeSocket();
    throw Ended();
}

void ScriptedConnection::reset()
{
    peer_socket::resetOnClose(m_socket);
    closeSocket();
    throw Ended();
}

void ScriptedConnection::stall()
{
    std::unique_lock<std::mutex> lock(m_peer->m_mutex);
    const unsigned before = m_peer->m_resumes;
    m_peer->m_changed.wait(lock, [this, before] { return m_peer->m_stopping || m_peer->m_resumes != before; });
    if (m_peer->m_stopping)
        throw Ended();
}

void ScriptedConnection::pause(int milliseconds)
{
    std::unique_lock<std::mutex> lock(m_peer->m_mutex);
    m_peer->m_changed.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return m_peer->m_stopping; });
    if (m_peer->m_stopping)
        throw Ended();
}

void ScriptedConnection::closeSocket()
{
    if (m_socket != peer_socket::kNone)
        peer_socket::close(m_socket);
    m_socket = peer_socket::kNone;
}

ScriptedPeer::ScriptedPeer(const std::string &address, int port)
    : m_address(address), m_port(port), m_listener(peer_socket::kNone), m_stopping(false), m_resumes(0),
      m_sendFault(Fault::none()), m_sendFaultConnection(-1), m_receiveFault(Fault::none()),
      m_receiveFaultConnection(-1), m_fragment(0)
{
    m_listener = peer_socket::bindTo(address, &m_port);
    peer_socket::listenAt(m_listener);
    m_acceptor = std::thread(&ScriptedPeer::acceptConnections, this);
}

ScriptedPeer::~ScriptedPeer()
{
    stopListening();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_wake.raise();
    for (const std::unique_ptr<ScriptedConnection> &connection : m_connections) {
        if (connection->m_thread.joinable())
            connection->m_thread.join();
    }
    m_connections.clear();
}

void ScriptedPeer::addScript(Script script)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_scripts.push_back(std::move(script));
}

void ScriptedPeer::setSendFault(const Fault &fault, int connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_sendFault = fault;
    m_sendFaultConnection = connection;
}

void ScriptedPeer::setReceiveFault(const Fault &fault, int connection)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_receiveFault = fault;
    m_receiveFaultConnection = connection;
}

void ScriptedPeer::setFragmentSize(std::size_t bytes)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_fragment = bytes;
}

void ScriptedPeer::resume()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_resumes;
    }
    m_changed.notify_all();
}

std::size_t ScriptedPeer::connectionCount() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.size();
}

std::string ScriptedPeer::received(std::size_t index) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return index < m_connections.size() ? m_connections[index]->m_received : std::string();
}

std::string ScriptedPeer::sent(std::size_t index) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return index < m_connections.size() ? m_connections[index]->m_sent : std::string();
}

void ScriptedPeer::waitUntilOver(std::size_t count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool over = m_changed.wait_for(lock, std::chrono::milliseconds(peerPatienceMilliseconds()), [this, count] {
        if (m_connections.size() < count)
            return false;
        for (std::size_t i = 0; i < count; ++i) {
            if (!m_connections[i]->m_over)
                return false;
        }
        return true;
    });
    if (!over)
        ADD_FAILURE() << "the scripted peer had " << m_connections.size() << " connections, not all of " << count
                      << " are over";
}

void ScriptedPeer::stopListening()
{
    if (!m_acceptor.joinable())
        return;
    m_stopListener.raise();
    m_acceptor.join();
    peer_socket::close(m_listener);
    m_listener = peer_socket::kNone;
}

void ScriptedPeer::acceptConnections()
{
    for (;;) {
        if (peer_socket::waitFor(m_listener, peer_socket::Readable, m_stopListener, -1) == peer_socket::Woken)
            return;
        const peer_socket::Socket socket = peer_socket::acceptAt(m_listener);
        if (socket == peer_socket::kNone)
            continue;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            joinFinished();
            const std::size_t index = m_connections.size();
            std::unique_ptr<ScriptedConnection> connection(new ScriptedConnection(this, socket, index));
            if (m_sendFaultConnection < 0 || m_sendFaultConnection == static_cast<int>(index))
                connection->m_sendFault = m_sendFault;
            if (m_receiveFaultConnection < 0 || m_receiveFaultConnection == static_cast<int>(index))
                connection->m_receiveFault = m_receiveFault;
            connection->m_fragment = m_fragment;
            const Script script = m_scripts.empty() ? Script() : m_scripts[std::min(index, m_scripts.size() - 1)];
            connection->m_thread = std::thread(&ScriptedPeer::run, this, connection.get(), script);
            m_connections.push_back(std::move(connection));
        }
        m_changed.notify_all();
    }
}

void ScriptedPeer::joinFinished()
{
    // A thread that has set m_over does not ask for the mutex again.
    for (const std::unique_ptr<ScriptedConnection> &connection : m_connections) {
        if (connection->m_over && connection->m_thread.joinable())
            connection->m_thread.join();
    }
}

void ScriptedPeer::run(ScriptedConnection *connection, const Script &script)
{
    try {
        if (script)
            script(*connection);
        connection->close();
    } catch (const ScriptedConnection::Ended &) {
    } catch (const std::exception &error) {
        ADD_FAILURE() << "a script of connection " << connection->m_index << " threw: " << error.what();
    }
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        connection->closeSocket();
        connection->m_over = true;
    }
    m_changed.notify_all();
}

RefusingPort::RefusingPort(const std::string &address) : m_socket(peer_socket::kNone), m_port(0)
{
    // Bound and not listening: the system answers a connect with a reset.
    m_socket = peer_socket::bindTo(address, &m_port);
}

RefusingPort::~RefusingPort()
{
    peer_socket::close(m_socket);
}
