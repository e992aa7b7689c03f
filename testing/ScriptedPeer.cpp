#include "testing/ScriptedPeer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

/// A socket bound to a numeric address; `*port` is the port that it got.
int bindSocket(const std::string &address, int *port)
{
    sockaddr_storage storage = sockaddr_storage();
    socklen_t size;
    sockaddr_in *v4 = reinterpret_cast<sockaddr_in *>(&storage);
    sockaddr_in6 *v6 = reinterpret_cast<sockaddr_in6 *>(&storage);
    // Not through getaddrinfo: tests replace that one.
    if (address.find(':') == std::string::npos) {
        size = sizeof *v4;
        v4->sin_family = AF_INET;
        v4->sin_port = htons(static_cast<std::uint16_t>(*port));
        in_addr_t value = 0;
        unsigned part[4] = {0, 0, 0, 0};
        std::sscanf(address.c_str(), "%u.%u.%u.%u", &part[0], &part[1], &part[2], &part[3]);
        value = part[0] << 24 | part[1] << 16 | part[2] << 8 | part[3];
        v4->sin_addr.s_addr = htonl(value);
    } else {
        size = sizeof *v6;
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(static_cast<std::uint16_t>(*port));
        v6->sin6_addr = in6addr_loopback;
    }
    const int descriptor = ::socket(storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        fail("socket");
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(descriptor, reinterpret_cast<sockaddr *>(&storage), size) != 0) {
        ::close(descriptor);
        fail("bind " + address);
    }
    ::getsockname(descriptor, reinterpret_cast<sockaddr *>(&storage), &size);
    *port = ntohs(storage.ss_family == AF_INET ? v4->sin_port : v6->sin6_port);
    return descriptor;
}

void signalEvent(int eventDescriptor)
{
    const std::uint64_t one = 1;
    if (::write(eventDescriptor, &one, sizeof one) < 0)
        fail("eventfd");
}

} // namespace

ScriptedConnection::ScriptedConnection(ScriptedPeer *peer, int descriptor, std::size_t index)
    : m_peer(peer), m_descriptor(descriptor), m_index(index), m_sendFault(Fault::none()), m_receiveFault(Fault::none()),
      m_fragment(0), m_over(false)
{
}

ScriptedConnection::~ScriptedConnection()
{
    closeDescriptor();
}

bool ScriptedConnection::wait(short events, int milliseconds)
{
    pollfd watched[2] = {{m_descriptor, events, 0}, {m_peer->m_wake, POLLIN, 0}};
    int ready;
    do {
        ready = ::poll(watched, 2, milliseconds < 0 ? kPeerPatienceMilliseconds : milliseconds);
    } while (ready < 0 && errno == EINTR);
    if (watched[1].revents != 0)
        throw Ended();
    if (ready != 0)
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
        wait(POLLIN, -1);
        const ssize_t count = ::read(m_descriptor, buffer, size);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        if (count <= 0)
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
    wait(POLLIN, -1);
    char byte;
    return ::recv(m_descriptor, &byte, 1, MSG_PEEK) == 1;
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
    return !wait(POLLIN, milliseconds);
}

void ScriptedConnection::sendSome(const char *bytes, std::size_t size)
{
    while (size > 0) {
        const std::size_t piece = m_fragment > 0 ? std::min(m_fragment, size) : size;
        const ssize_t count = ::send(m_descriptor, bytes, piece, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
            wait(POLLOUT, -1);
            continue;
        }
        if (count <= 0)
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
    while (!wait(POLLIN, 1000) || receiveSome(buffer, sizeof buffer) > 0) {
    }
}

void ScriptedConnection::close()
{
    ::shutdown(m_descriptor, SHUT_WR);
    drain();
    throw Ended();
}

void ScriptedConnection::closeAtOnce()
{
    closeDescriptor();
    throw Ended();
}

void ScriptedConnection::reset()
{
    const linger atOnce = {1, 0};
    ::setsockopt(m_descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    closeDescriptor();
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

void ScriptedConnection::closeDescriptor()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

ScriptedPeer::ScriptedPeer(const std::string &address, int port)
    : m_address(address), m_port(port), m_listener(-1), m_wake(-1), m_stopListener(-1), m_stopping(false), m_resumes(0),
      m_sendFault(Fault::none()), m_sendFaultConnection(-1), m_receiveFault(Fault::none()),
      m_receiveFaultConnection(-1), m_fragment(0)
{
    m_listener = bindSocket(address, &m_port);
    if (::listen(m_listener, 128) != 0)
        fail("listen");
    m_wake = ::eventfd(0, EFD_CLOEXEC);
    m_stopListener = ::eventfd(0, EFD_CLOEXEC);
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
    signalEvent(m_wake);
    for (const std::unique_ptr<ScriptedConnection> &connection : m_connections) {
        if (connection->m_thread.joinable())
            connection->m_thread.join();
    }
    m_connections.clear();
    ::close(m_wake);
    ::close(m_stopListener);
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
    const bool over = m_changed.wait_for(lock, std::chrono::milliseconds(kPeerPatienceMilliseconds), [this, count] {
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
    signalEvent(m_stopListener);
    m_acceptor.join();
    ::close(m_listener);
    m_listener = -1;
}

void ScriptedPeer::acceptConnections()
{
    for (;;) {
        pollfd watched[2] = {{m_listener, POLLIN, 0}, {m_stopListener, POLLIN, 0}};
        if (::poll(watched, 2, -1) < 0)
            continue;
        if (watched[1].revents != 0)
            return;
        const int descriptor = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (descriptor < 0)
            continue;
        const int on = 1;
        ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            joinFinished();
            const std::size_t index = m_connections.size();
            std::unique_ptr<ScriptedConnection> connection(new ScriptedConnection(this, descriptor, index));
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
        connection->closeDescriptor();
        connection->m_over = true;
    }
    m_changed.notify_all();
}

RefusingPort::RefusingPort(const std::string &address) : m_descriptor(-1), m_port(0)
{
    // Bound and not listening: the system answers a connect with a reset.
    m_descriptor = bindSocket(address, &m_port);
}

RefusingPort::~RefusingPort()
{
    ::close(m_descriptor);
}
