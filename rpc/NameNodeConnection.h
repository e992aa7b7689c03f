// The Hadoop IPC connection to the NameNode: preamble and context, the framing of calls and responses.
// Calls are strictly sequential, on one thread; there is no automatic reconnection.
#ifndef RPC_NAMENODECONNECTION_H
#define RPC_NAMENODECONNECTION_H

#include "platform/UniqueId.h"
#include "rpc/ResponseStream.h"
#include "rpc/TcpSocket.h"

#include <QtCore/QByteArray>

#include <pb_decode.h>

#include <cstddef>
#include <cstdint>

/// Most bytes of one IPC header: what keeps its length a varint of one byte.
const std::size_t kIpcHeaderLimit = 126;
/// Room that `writeCallHeaders` may fill: two headers, each behind its length.
const std::size_t kCallHeadersRoom = 2 * (1 + kIpcHeaderLimit);

class NameNodeConnection
{
public:
    NameNodeConnection();
    /// Disconnects.
    ~NameNodeConnection();
    NameNodeConnection(const NameNodeConnection &) = delete;
    NameNodeConnection &operator=(const NameNodeConnection &) = delete;

    /// Connects to the NameNode and introduces `user` (UTF-8). The connection must not be connected.
    /// `preferredAddressIndex` is the address of `host` (Latin-1) to try first; afterwards the member of that
    /// name has the one that was reached. `useSasl` only changes the preamble, there is no SASL exchange. The
    /// two last values are accepted and not used. 0 = connected, 1 = failed (logged, unless no client identifier
    /// could be made).
    std::int32_t connect(const QByteArray &host, std::uint32_t port, const QByteArray &user,
                         std::uint32_t preferredAddressIndex, bool useSasl, bool useWebHdfs, std::uint64_t reserved1,
                         std::uint64_t reserved2);

    /// Closes both sockets and forgets the client identifier. Always 0; nothing to do is fine.
    std::int32_t disconnect();

    /// Whether a call made now would find the NameNode at the other end: false when not connected, when it has closed
    /// the connection, or when something has arrived that no call asked for. Does not wait; may forget a dead socket.
    bool isReadyForACall();

    /// Writes a length-delimited `RpcRequestHeaderProto` with the next call id at `out`, which has room for
    /// 1 + kIpcHeaderLimit bytes. Returns the position behind it, or null after logging "Encoding failed: %1".
    unsigned char *writeRpcRequestHeader(unsigned char *out);

    /// Writes the headers of a ClientProtocol call: `RpcRequestHeaderProto` and `RequestHeaderProto`, each
    /// length-delimited, into kCallHeadersRoom bytes. Returns as writeRpcRequestHeader.
    unsigned char *writeCallHeaders(unsigned char *out, const char *methodName);

    /// Receives one response frame. 0 = the call succeeded and `*stream` (which must be initialised) starts at the
    /// response message, or is left as it was for an empty frame; 1 = receiving failed or the NameNode
    /// answered with an exception (both logged). The stream reads from responseBuffer and ends with the next
    /// call.
    std::int32_t receiveResponse(pb_istream_t *stream);

    /// Gives back the memory of a large response, once everything of it has been decoded.
    void trimResponseBuffer();

    std::uint32_t preferredAddressIndex;
    std::int32_t nextCallId; ///< -3 while the context is written, 0 after `connect`
    std::uint32_t port;
    QByteArray host; ///< Latin-1
    QByteArray user; ///< UTF-8
    TcpSocket nameNodeSocket;
    platform::UniqueId clientId; ///< 16 ASCII characters; null when not connected
    bool useSasl;
    bool keepDataNodeConnection; ///< keep dataNodeSocket open between block operations; false unless set
    bool useWebHdfs;
    bool abandonsFailedBlocks; ///< give a block that could not be written back before the next; false unless set
    QByteArray responseBuffer;
    TcpSocket dataNodeSocket;
    QByteArray dataNodeId; ///< datanodeUuid of the DataNode that dataNodeSocket is connected to; empty: none

private:
    ResponseStream m_responses; ///< from nameNodeSocket
};

#endif
