#include "rpc/Network.h"

#include "platform/LocalAddresses.h"
#include "platform/Sockets.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const std::size_t kAddressRoom = 50; ///< bytes set aside for one address text

/// Built once and never freed: one block that holds `count` pointers and, behind them, the texts, one after
/// another.
struct LocalAddressList {
    int count;
    char **texts;
};

LocalAddressList localAddresses = {0, nullptr};

bool pack(const std::vector<std::string> &addresses, LocalAddressList *list)
{
    const std::size_t room = addresses.size() * (sizeof(char *) + kAddressRoom);
    // A machine without addresses has a list too, of no entries.
    char **texts = static_cast<char **>(std::malloc(room > 0 ? room : 1));
    if (!texts)
        return false;
    char *position = reinterpret_cast<char *>(texts + addresses.size());
    int count = 0;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        if (addresses[i].size() >= kAddressRoom)
            continue;
        texts[count++] = position;
        std::memcpy(position, addresses[i].c_str(), addresses[i].size() + 1);
        position += addresses[i].size() + 1;
    }
    list->texts = texts;
    list->count = count;
    return true;
}

} // namespace

int initNetwork()
{
    if (localAddresses.texts)
        return 0;
    if (platform::startSockets() != 0)
        return 1;
    std::vector<std::string> addresses;
    if (platform::localIPv4Addresses(&addresses) != 0)
        return 1;
    return pack(addresses, &localAddresses) ? 0 : 1;
}

bool isLocalAddress(const char *address)
{
    for (int i = 0; i < localAddresses.count; ++i) {
        if (std::strcmp(localAddresses.texts[i], address) == 0)
            return true;
    }
    return false;
}
