// What a thread has ordered of SystemCallFaults, for the functions that the linker puts in the place of the system's:
// one source of them for each system.
#ifndef TESTING_SYSTEMCALLPLAN_H
#define TESTING_SYSTEMCALLPLAN_H

#include "platform/Sockets.h"
#include "testing/SystemCallFaults.h"

#include <cstdint>
#include <string>

namespace system_call_plan {

/// Counts one call of this thread. True when it has to fail, with `*error` as it was ordered.
bool mustFail(SystemCall call, int *error);

/// True every second time for a call that is to be interrupted.
bool mustInterrupt(SystemCall call);

/// Takes note of an address that a connect is made to.
void noteConnect(const sockaddr *address);

/// How many of `size` bytes a send may pass on.
std::size_t allowedToSend(std::size_t size);

/// How many bytes a receive may bring that has room for `size` in all. Takes note of `firstSize`, the room of its first
/// place.
std::size_t allowedToReceive(std::size_t size, std::size_t firstSize);

/// True when names resolve to what was ordered: `*list` is set then.
bool resolve(const char *service, addrinfo **list);
/// True when the list was one of `resolve`'s: it is freed then.
bool release(addrinfo *list);

/// The system's number of this thread, not 0; takes no memory.
std::uint64_t currentThread();

/// `inet_pton` and `inet_ntop`, which are declared elsewhere on each system.
bool isAddress(int family, const char *text, void *address);
std::string textOf(int family, const void *address);

} // namespace system_call_plan

#endif
