#ifndef PLATFORM_LOCALADDRESSES_H
#define PLATFORM_LOCALADDRESSES_H

#include <string>
#include <vector>

namespace platform {

/// Collects the numeric IPv4 addresses of this machine's interfaces, in the system's order, into
/// `*addresses`. 0 = done, 1 = the system could not be asked (`*addresses` is left empty).
int localIPv4Addresses(std::vector<std::string> *addresses);

} // namespace platform

#endif
