#include "rpc/ResponseStream.h"

#include <algorithm>
#include <cstring>

int ResponseStream::receiveExactly(void *buffer, std::uint32_t length)
{
    char *position = static_cast<char *>(buffer);
    for (;;) {
        const std::uint32_t part = std::min(length, m_end - m_start);
        if (part > 0)
            std::memcpy(position, m_ahead + m_start, part);
        m_start += part;
        position += part;
        length -= part;
        if (length == 0)
            return 0;
        if (length >= sizeof m_ahead)
            return m_socket->receiveExactly(position, length);
        const std::int64_t received = platform::receiveOnce(m_socket->handle, m_ahead, sizeof m_ahead);
        if (received <= 0)
            return 1;
        m_start = 0;
        m_end = static_cast<std::uint32_t>(received);
    }
}
