#include "platform/UniqueId.h"

#include <windows.h>

#include <rpc.h>

namespace platform {

void UniqueIdDeleter::operator()(char *text) const
{
    RPC_CSTR rpcText = reinterpret_cast<RPC_CSTR>(text);
    ::RpcStringFreeA(&rpcText);
}

UniqueId createUniqueId()
{
    UUID uuid;
    const RPC_STATUS status = ::UuidCreate(&uuid);
    // Without a network card an identifier is unique on this machine only: a random one all the same.
    if (status != RPC_S_OK && status != RPC_S_UUID_LOCAL_ONLY)
        return UniqueId();
    RPC_CSTR text = nullptr;
    if (::UuidToStringA(&uuid, &text) != RPC_S_OK)
        return UniqueId();
    return UniqueId(reinterpret_cast<char *>(text));
}

} // namespace platform
