// What the tests of the sockets have in common.
#ifndef PLATFORM_SOCKETSTEST_H
#define PLATFORM_SOCKETSTEST_H

#include "platform/Sockets.h"

#include "testing/ScriptedPeer.h"
#include "testing/SocketOptions.h"

#include <gtest/gtest.h>

inline sockaddr_in loopback(int port)
{
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

inline int connectTo(platform::SocketHandle handle, int port)
{
    const sockaddr_in address = loopback(port);
    return platform::connectSocket(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

class SocketsTest : public ::testing::Test
{
protected:
    SocketsTest() : m_handle(platform::openSocket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {}
    ~SocketsTest() override { platform::closeSocket(m_handle); }

    void connectToPeer() { ASSERT_EQ(0, connectTo(m_handle, m_peer.port())); }

    ScriptedPeer m_peer;
    platform::SocketHandle m_handle;
};

#endif
