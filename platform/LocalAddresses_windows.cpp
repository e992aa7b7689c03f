#include "platform/LocalAddresses.h"

#include "platform/Sockets.h"

#include <iphlpapi.h>

namespace platform {

namespace {

/// Asks for `*buffer`'s size first and fills it then, as the system wants to be asked. Null when it says no.
const IP_ADAPTER_ADDRESSES *askForAdapters(std::vector<char> *buffer)
{
    const ULONG flags = GAA_FLAG_INCLUDE_PREFIX;
    ULONG size = 0;
    if (::GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, nullptr, &size) != ERROR_BUFFER_OVERFLOW)
        return nullptr;
    buffer->resize(size);
    IP_ADAPTER_ADDRESSES *adapters = reinterpret_cast<IP_ADAPTER_ADDRESSES *>(buffer->data());
    if (::GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, adapters, &size) != 0)
        return nullptr;
    return adapters;
}

} // namespace

int localIPv4Addresses(std::vector<std::string> *addresses)
{
    addresses->clear();
    std::vector<char> buffer;
    const IP_ADAPTER_ADDRESSES *adapter = askForAdapters(&buffer);
    if (!adapter)
        return 1;
    for (; adapter; adapter = adapter->Next) {
        for (const IP_ADAPTER_UNICAST_ADDRESS *entry = adapter->FirstUnicastAddress; entry; entry = entry->Next) {
            const SOCKET_ADDRESS &address = entry->Address;
            if (address.lpSockaddr->sa_family != AF_INET)
                continue;
            char text[512] = "";
            ::getnameinfo(address.lpSockaddr, address.iSockaddrLength, text, sizeof text, nullptr, 0, NI_NUMERICHOST);
            if (text[0] != '\0')
                addresses->push_back(text);
        }
    }
    return 0;
}

} // namespace platform
