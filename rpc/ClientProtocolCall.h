// One ClientProtocol call: the frame that goes out and the response that comes back.
#ifndef RPC_CLIENTPROTOCOLCALL_H
#define RPC_CLIENTPROTOCOLCALL_H

#include "rpc/NameNodeConnection.h"
#include "rpc/PbText.h"

#include <cstddef>
#include <cstdint>

/// Most bytes of an encoded request message, by operation.
const std::size_t kPathRequestLimit = 500; ///< getListing, rename, getBlockLocations
const std::size_t kRequestLimit = 1000;    ///< every other request with fields
const std::size_t kEmptyRequestLimit = 10; ///< requests without fields

/// Built, encoded, sent and received in this order, once; `send` may be repeated for a retry of the very same
/// frame.
class ClientProtocolCall
{
public:
    /// Takes the next call id and writes the call's headers.
    ClientProtocolCall(NameNodeConnection *connection, const char *methodName);

    /// False when the headers could not be written (logged).
    bool isStarted() const { return m_request != nullptr; }

    /// Encodes the request message into at most `limit` bytes (kRequestLimit at the most) and closes the frame. False
    /// after logging "Encoding failed: %1".
    bool encode(PbFieldList fields, const void *message, std::size_t limit);

    /// Sends the frame; a failure is logged as "TCPIP send failed". The response is awaited all the same: its
    /// failing receive ends the call.
    bool send();

    /// Receives the response. On true `*stream` starts at the response message; on false the failure has been logged.
    bool receive(pb_istream_t *stream);

private:
    static const std::size_t kFrameLengthSize = 4;
    static const std::size_t kMessageLengthRoom = 5;

    NameNodeConnection *m_connection;
    unsigned char *m_request; ///< where the request's length and message go, behind the headers
    std::uint32_t m_frameSize;
    unsigned char m_frame[kFrameLengthSize + kCallHeadersRoom + kMessageLengthRoom + kRequestLimit];
};

/// True when the NameNode can be called; otherwise logs "Not connected any more to NameNode".
bool isConnectedToNameNode(NameNodeConnection *connection);

#endif
