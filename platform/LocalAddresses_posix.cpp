#include "platform/LocalAddresses.h"

#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace platform {

int localIPv4Addresses(std::vector<std::string> *addresses)
{
    addresses->clear();
    ifaddrs *interfaces = nullptr;
    if (::getifaddrs(&interfaces) != 0)
        return 1;
    for (const ifaddrs *entry = interfaces; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET)
            continue;
        char text[512] = "";
        ::getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), text, sizeof text, nullptr, 0, NI_NUMERICHOST);
        if (text[0] != '\0')
            addresses->push_back(text);
    }
    ::freeifaddrs(interfaces);
    return 0;
}

} // namespace platform
