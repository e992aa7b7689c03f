// Receiving as many bytes as the peer has announced, without believing the announcement.
#ifndef RPC_RECEIVEANNOUNCED_H
#define RPC_RECEIVEANNOUNCED_H

#include <QtCore/QByteArray>

#include <algorithm>
#include <cstdint>
#include <new>

/// Receives `length` bytes into the head of `*buffer`, which grows with what arrives and not with what was announced;
/// it never shrinks. `Receiver` has TcpSocket's `receiveExactly`. 0 = received, 1 = failed, also when there is not
/// enough memory.
template <class Receiver> int receiveAnnounced(Receiver &receiver, QByteArray *buffer, std::uint32_t length)
{
    const std::uint32_t kFirstStep = 64 * 1024;
    const std::uint32_t kMostBytes = 0x7FFFFFC0; // what a QByteArray holds
    if (length > kMostBytes)
        return 1;
    std::uint32_t received = 0;
    while (received < length) {
        const std::uint32_t step = std::min(length - received, std::max(kFirstStep, received));
        const std::uint32_t room = received + step;
        try {
            if (static_cast<std::uint32_t>(buffer->size()) < room)
                buffer->resize(static_cast<int>(room));
        } catch (const std::bad_alloc &) {
            return 1;
        }
        if (receiver.receiveExactly(buffer->data() + received, step) != 0)
            return 1;
        received = room;
    }
    return 0;
}

#endif
